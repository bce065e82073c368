#pragma once

#include "client/interface/CommunicationException.h"
#include "commands/HostContext.h"

#include "support/HostFixture.h"
#include "support/MachineParts.h"
#include "support/ScriptedProvider.h"
#include "vexlorcore/Statistic.h"

#include <gmock/gmock.h>

namespace MachineService {

using TestSupport::MakeFailed;
using TestSupport::MakeReady;
using TestSupport::ScriptedProvider;

/// A machine that does what a test wrote for it.
struct Script
{
    MachineData data;
    std::vector<CommandDescription> commands;
    std::function<std::future<std::vector<CommandDescription>>()> getCommands; // the ones above when empty
    std::function<std::future<bool>()> canRun = [] {
        return MakeReady(true);
    };
    std::function<std::future<CommandResult>(const CommandParameters&)> run = [](const CommandParameters&) {
        return MakeReady(CommandResult());
    };
    std::function<std::future<CommandResult>(const CommandParameters&)> fillReport = run;

    Script() { data.id.data[0] = 1; }
};

class ScriptedStrategy final : public SilentMachine
{
public:
    explicit ScriptedStrategy(std::shared_ptr<Script> ip_script)
        : SilentMachine(ip_script->data)
        , _script(std::move(ip_script))
    {}
    std::future<std::vector<CommandDescription>> GetCommands() const override
    {
        return _script->getCommands ? _script->getCommands() : MakeReady(_script->commands);
    }
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override { return _script->canRun(); }
    std::future<CommandResult> RunCommand(const CommandParameters& i_parameters) const override
    {
        return _script->run(i_parameters);
    }
    std::future<CommandResult> FillReportProperties(const CommandParameters& i_parameters) const override
    {
        return _script->fillReport(i_parameters);
    }

private:
    std::shared_ptr<Script> _script;
};

/// A host with one active scene, a machine, and recorded messages; temporary folders lie in a folder of its own.
class CommandsFixture : public ::testing::Test
{
protected:
    CommandsFixture()
    {
        qputenv("TMPDIR", _temp.path().toUtf8());
        VexlorCore::Statistic::Clear();
        Vexlor::MessageDialogs::SetHandler([this](const Vexlor::Message& i_message) {
            EXPECT_TRUE(VexlorCore::UiThread::IsCurrent());
            EXPECT_TRUE(_TempIsEmpty()) << "folders must not wait for the user";
            _messages.push_back(i_message);
            return _answer < 0 ? static_cast<int>(i_message.buttons.size()) - 1 : _answer;
        });
    }
    ~CommandsFixture() override { qunsetenv("TMPDIR"); }

    bool _TempIsEmpty() const { return std::filesystem::is_empty(_temp.path().toStdString()); }

    HostContext _MakeHost() const { return {_getScene, _getProvider, _getText}; }
    Machine _MakeMachine() const { return Machine(std::make_unique<ScriptedStrategy>(_script)); }

    /// Exactly one critical message with one button, and nothing left behind.
    void _ExpectOneFailure(const std::string& i_text)
    {
        ASSERT_EQ(1u, _messages.size());
        EXPECT_EQ(Vexlor::Message::Kind::Critical, _messages[0].kind);
        EXPECT_EQ(1, _messages[0].buttons.size());
        EXPECT_EQ(i_text, _messages[0].text.toStdString());
        EXPECT_TRUE(_TempIsEmpty());
    }

    TestSupport::Host _host;
    QTemporaryDir _temp;
    VexlorCore::DataSet* _scene = _host.scene;
    std::vector<Vexlor::Message> _messages;
    int _answer = -1; // index of the button, -1 for the last
    std::shared_ptr<Script> _script = std::make_shared<Script>();
    ScriptedProvider _provider{_host.provider};
    std::function<QString()> _getText = [] {
        return QString();
    };
    VexlorCore::ApiProviderGetter _getProvider = [this]() -> IVexlorApiProvider& {
        return _provider;
    };
    Helpers::DataSetGetter _getScene = [this] {
        return _scene;
    };
};

} // namespace MachineService
