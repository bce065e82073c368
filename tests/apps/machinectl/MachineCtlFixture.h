#pragma once

#include "apps/machinectl/ServedManager.h"
#include "support/Files.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <boost/uuid/uuid_io.hpp>

namespace TestSupport {

using namespace MachineService::MachineManager;
using namespace MachineService::MachineManager::Testing;
using Words = std::vector<std::string>;

struct Outcome
{
    int status = -1;
    std::string output;
    std::string errors;
};

/// The real program, asking a manager of the test's.
class MachineCtlTest : public ::testing::Test
{
protected:
    MachineCtlTest()
    {
        // Whatever the tester speaks, and wherever the tester's own manager is.
        for (const auto& [name, folder] :
             {std::pair("XDG_RUNTIME_DIR", "run"), {"XDG_DATA_HOME", "data"}, {"XDG_CONFIG_HOME", "config"}})
            SetVariable(name, (manager.GetFolder() / folder).native());
        std::filesystem::create_directory(manager.GetFolder() / "run");
        SetVariable("LC_ALL", "C.UTF-8");
        environment.remove(QStringLiteral("LANGUAGE"));
    }

    void SetVariable(const char* ip_name, const std::string& i_value)
    {
        environment.insert(QLatin1String(ip_name), QString::fromStdString(i_value));
    }
    std::unique_ptr<QProcess> Start(const Words& i_words)
    {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment);
        process->setWorkingDirectory(QString::fromStdString(manager.GetFolder().native()));
        QStringList arguments;
        for (const auto& word : i_words)
            arguments.append(QString::fromStdString(word));
        process->start(QStringLiteral(MACHINECTL), arguments);
        return process;
    }
    static Outcome Finish(QProcess& io_process)
    {
        EXPECT_TRUE(io_process.state() == QProcess::NotRunning || io_process.waitForFinished(60'000));
        return {io_process.exitStatus() == QProcess::NormalExit ? io_process.exitCode() : -1,
                io_process.readAllStandardOutput().toStdString(), io_process.readAllStandardError().toStdString()};
    }
    Outcome Run(Words i_words)
    {
        i_words.insert(i_words.begin(), {"--address", manager.GetAddress()});
        return Finish(*Start(i_words));
    }
    /// JSON of a command that has to succeed.
    QJsonDocument Ask(Words i_words)
    {
        i_words.emplace_back("--json");
        const auto outcome = Run(i_words);
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        return QJsonDocument::fromJson(QByteArray::fromStdString(outcome.output));
    }
    std::string AskFor(const Words& i_words, const char* ip_member)
    {
        return Ask(i_words).object().value(QLatin1String(ip_member)).toVariant().toString().toStdString();
    }
    std::string WritePlatform() const { return manager.world.WritePlatform().native(); }

    TestSupport::ServedManager manager;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

} // namespace TestSupport
