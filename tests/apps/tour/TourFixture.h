#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <string>

namespace TestSupport {

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;
};

/// The real program with folders of its own.
class TourFixture : public ::testing::Test
{
protected:
    TourFixture()
    {
        QDir(_dir.path()).mkdir(QStringLiteral("tmp"));
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("minimal"));
        environment.insert(QStringLiteral("TMPDIR"), Path("tmp"));
        environment.insert(QStringLiteral("XDG_CONFIG_HOME"), Path("config"));
        environment.insert(QStringLiteral("MACHINESERVICE_OUT_DIR"), Path("out"));
        // Whatever the tester speaks.
        environment.insert(QStringLiteral("LC_ALL"), QStringLiteral("C.UTF-8"));
        environment.remove(QStringLiteral("LANGUAGE"));
        _process.setProcessEnvironment(environment);
    }

    QString Path(const char* ip_name) const { return _dir.filePath(QLatin1String(ip_name)); }

    void SetVariable(const char* ip_name, const QString& i_value)
    {
        auto environment = _process.processEnvironment();
        environment.insert(QLatin1String(ip_name), i_value);
        _process.setProcessEnvironment(environment);
    }

    void RemoveVariable(const char* ip_name)
    {
        auto environment = _process.processEnvironment();
        environment.remove(QLatin1String(ip_name));
        _process.setProcessEnvironment(environment);
    }

    void WriteFile(const QString& i_path, const QByteArray& i_bytes, bool i_executable = false)
    {
        QFile file(i_path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(i_bytes);
        if (i_executable)
            file.setPermissions(file.permissions() | QFileDevice::ExeUser);
    }

    /// A small tetrahedron, "part.stl", which is quickly built.
    QString MakeMesh()
    {
        const QString path = Path("part.stl");
        QByteArray text = "solid part\n";
        for (const char* corners : {"0 0 0 vertex 0 9 0 vertex 9 0 0", "0 0 0 vertex 9 0 0 vertex 0 0 9",
                                    "0 0 0 vertex 0 0 9 vertex 0 9 0", "9 0 0 vertex 0 9 0 vertex 0 0 9"})
            text += "facet normal 0 0 0 outer loop vertex " + QByteArray(corners) + " endloop endfacet\n";
        WriteFile(path, text + "endsolid part\n");
        return path;
    }

    Outcome Finish()
    {
        EXPECT_TRUE(_process.waitForFinished(120'000));
        return {_process.exitStatus() == QProcess::NormalExit ? _process.exitCode() : -1,
                _process.readAllStandardOutput().toStdString(), _process.readAllStandardError().toStdString()};
    }

    Outcome Run(const QStringList& i_arguments)
    {
        Start(i_arguments);
        return Finish();
    }

    void Start(const QStringList& i_arguments) { _process.start(QStringLiteral(TOUR_PROGRAM), i_arguments); }

    /// Runs a line of shell in the fixture's folder, with the program as $0.
    Outcome RunShell(const char* ip_line)
    {
        _process.setWorkingDirectory(_dir.path());
        _process.start(QStringLiteral("bash"),
                       {QStringLiteral("-c"), QLatin1String(ip_line), QStringLiteral(TOUR_PROGRAM)});
        return Finish();
    }

    QStringList FilesIn(const char* ip_folder) const
    {
        QStringList files;
        QDirIterator all(Path(ip_folder), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
        while (all.hasNext())
            files << all.next();
        files.sort();
        return files;
    }

    QTemporaryDir _dir;
    QProcess _process;
};

} // namespace TestSupport
