#pragma once

#include "commands/CommandExecution.h"
#include "commands/HostContext.h"

#include "support/FakeMachine.h"
#include "support/HostFixture.h"
#include "support/ScriptedProvider.h"
#include "vexlorcore/Statistic.h"

namespace TestSupport {

using namespace MachineService;

inline CommandDescription Describe(CommandType i_type, int i_format = 1)
{
    CommandDescription description;
    description.type = i_type;
    description.id.data[0] = 7;
    description.name = "Own name";
    description.dataFormat = static_cast<DataFormat>(i_format);
    return description;
}

/// A run that leaves these files and ends in this result.
inline auto Leave(std::vector<std::string> i_files, CommandResult i_result = {})
{
    return [i_files, i_result](const CommandParameters& i_parameters) {
        for (const std::string& file : i_files)
            std::ofstream(i_parameters.outputDir / file) << "output";
        return MakeReady(i_result);
    };
}

/// What the machine of a test is and does.
struct Script : FakeBehaviour
{
    MachineData data;

    Script()
    {
        data.id.data[0] = 1;
        canRun = [](const auto&) {
            return MakeReady(true);
        };
        run = fillReport = Leave({});
    }
};

/// A host with one active scene, a machine, and recorded messages; temporary folders lie in a folder of its own.
class CommandsFixture : public testing::Test
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
    Machine _MakeMachine() const { return MakeFakeMachine(_script->data, _script); }

    bool _Submit(CommandType i_type = CommandType::Build, int i_format = 1)
    {
        return Helpers::RunPrinterCommand(Describe(i_type, i_format), _MakeMachine(), _MakeHost());
    }

    /// Exactly one critical message with one button, and nothing left behind.
    void _ExpectOneFailure(const std::string& i_text)
    {
        ASSERT_EQ(1u, _messages.size());
        EXPECT_EQ(Vexlor::Message::Kind::Critical, _messages[0].kind);
        EXPECT_EQ(1, _messages[0].buttons.size());
        EXPECT_EQ(i_text, _messages[0].text.toStdString());
        EXPECT_TRUE(_TempIsEmpty());
    }

    void _ForgetAll()
    {
        _provider.log.clear();
        _messages.clear();
    }

    Host _host;
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

} // namespace TestSupport
