#pragma once

#include "support/Files.h"
#include "support/Test.h"

#include <QDirIterator>
#include <QProcess>
#include <QTemporaryDir>

namespace TestSupport {

using Texts = std::vector<std::string>;

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;
};

/// The real program with folders of its own.
class TourFixture : public testing::Test
{
protected:
    TourFixture()
    {
        _environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("minimal"));
        // Whatever the tester speaks.
        _environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        _environment.remove(QStringLiteral("LANGUAGE"));
        SetVariable("TMPDIR", Path("tmp"));
        SetVariable("XDG_CONFIG_HOME", Path("config"));
        SetVariable("MACHINESERVICE_OUT_DIR", Path("out"));
        std::filesystem::create_directory(Path("tmp"));
    }

    std::string Path(const std::string& i_name) const { return _dir.path().toStdString() + '/' + i_name; }
    /// A file in the fixture's folder.
    std::string Read(const std::string& i_name) const { return ReadFile(Path(i_name)); }

    /// An empty value takes the variable away.
    void SetVariable(const char* ip_name, const std::string& i_value)
    {
        if (i_value.empty())
            _environment.remove(QLatin1String(ip_name));
        else
            _environment.insert(QLatin1String(ip_name), QString::fromStdString(i_value));
        _process.setProcessEnvironment(_environment);
    }

    void WriteScript(const std::string& i_name, const std::string& i_lines)
    {
        WriteFile(Path(i_name), "#!/bin/sh\n" + i_lines);
        std::filesystem::permissions(Path(i_name), std::filesystem::perms(0700));
    }

    /// A small tetrahedron, "part.stl", which is quickly built.
    std::string MakeMesh()
    {
        std::string text = "solid part\n";
        for (const char* corners : {"0 0 0 vertex 0 9 0 vertex 9 0 0", "0 0 0 vertex 9 0 0 vertex 0 0 9",
                                    "0 0 0 vertex 0 0 9 vertex 0 9 0", "9 0 0 vertex 0 9 0 vertex 0 0 9"})
            text += "facet normal 0 0 0 outer loop vertex " + std::string(corners) + " endloop endfacet\n";
        WriteFile(Path("part.stl"), text + "endsolid part\n");
        return Path("part.stl");
    }

    static Outcome Finish(QProcess& io_process)
    {
        // One that ended while its output was read is not waited for again.
        EXPECT_TRUE(io_process.state() == QProcess::NotRunning || io_process.waitForFinished(120'000));
        return {io_process.exitStatus() == QProcess::NormalExit ? io_process.exitCode() : -1,
                io_process.readAllStandardOutput().toStdString(), io_process.readAllStandardError().toStdString()};
    }

    Outcome Run(const Texts& i_arguments)
    {
        Start(_process, i_arguments);
        return Finish(_process);
    }

    void Start(QProcess& io_process, const Texts& i_arguments)
    {
        QStringList arguments;
        for (const std::string& argument : i_arguments)
            arguments << QString::fromStdString(argument);
        io_process.setProcessEnvironment(_environment);
        io_process.start(QStringLiteral(TOUR_PROGRAM), arguments);
    }

    /// Runs a line of shell in the fixture's folder, with the program as $0.
    Outcome RunShell(const char* ip_line)
    {
        _process.setWorkingDirectory(_dir.path());
        _process.start(QStringLiteral("bash"),
                       {QStringLiteral("-c"), QLatin1String(ip_line), QStringLiteral(TOUR_PROGRAM)});
        return Finish(_process);
    }

    /// All files and folders below a folder whose paths contain a text.
    Texts FilesIn(const char* ip_folder, const std::string& i_text = {}) const
    {
        Texts files;
        QDirIterator all(QString::fromStdString(Path(ip_folder)),
                         QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            const std::string file = all.next().toStdString();
            if (file.find(i_text) != std::string::npos)
                files.push_back(file);
        }
        std::sort(files.begin(), files.end());
        return files;
    }

    QTemporaryDir _dir;
    QProcess _process;
    QProcessEnvironment _environment = QProcessEnvironment::systemEnvironment();
};

} // namespace TestSupport
