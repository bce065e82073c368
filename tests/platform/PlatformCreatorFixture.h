#pragma once

#include "platform/IPlatformCreator.h"
#include "support/Failures.h"
#include "support/FakeMachine.h"
#include "support/Files.h"
#include "support/HostFixture.h"

#include "machinelayer/PldfFile.h"
#include "tavam/AMXFileWriter.h"
#include "vexlorcore/Base64.h"

#include <cstdlib>
#include <optional>

namespace TestSupport {

using namespace MachineService;
using Answer = FakeBehaviour::Answer;

inline MachineData MakeMachineData()
{
    MachineData data;
    data.id.data[15] = 7;
    data.configurationTime = ConfigurationTime(ConfigurationTime::duration(std::int64_t{1'700'000'000} * 10'000'000));
    return data;
}

inline constexpr char InformationXml[] =
    "<PlatformInformation><Name>Größe</Name><Comment>c</Comment><Materials><Material "
    "name='PLA'/></Materials><Parameters><Choice id='höhe' isRequired='true'><Item id='0.2' "
    "isDefault='true'/></Choice><Choice id='plate'/></Parameters></PlatformInformation>";

/// A host and a machine whose information and empty platforms the test says.
class PlatformCreatorFixture : public HostFixture
{
protected:
    const std::shared_ptr<FakeBehaviour> _script = std::make_shared<FakeBehaviour>();
    std::vector<std::string> _sent; ///< the parameters of each platform that was asked for
    const Machine _machine = MakeFakeMachine(MakeMachineData(), _script);
    const std::filesystem::path _temp = _host.GetDir() / "tmp";
    std::wstring _message;

    void SetUp() override
    {
        std::filesystem::create_directory(_temp);
        ::setenv("TMPDIR", _temp.c_str(), 1);
    }
    void TearDown() override
    {
        EXPECT_TRUE(std::filesystem::is_empty(_temp)) << "something is left in the temporary folder";
        ::unsetenv("TMPDIR");
    }

    static TavAM::MachineParameters _MakeParameters()
    {
        TavAM::MachineParameters parameters;
        parameters.name = L"machine";
        parameters.values.SetText(L"platform.shape", L"cylinder");
        parameters.values.SetText(L"platform.diameter", L"100");
        parameters.values.SetText(L"platform.height", L"50");
        parameters.values.SetText(L"supportProfile.1.name", L"tree");
        parameters.values.SetText(L"supportProfile.1.type", L"tree");
        return parameters;
    }
    /// Bytes of a platform file.
    std::string _MakeAmx(std::size_t i_platforms = 1,
                         std::optional<TavAM::MachineParameters> i_machine = _MakeParameters()) const
    {
        TavAM::Database database;
        for (std::size_t index = 0; index < i_platforms; ++index) {
            const auto platform = std::make_shared<TavAM::Platform>();
            platform->SetName(L"empty");
            platform->SetMachine(i_machine);
            database.AddPlatform(platform);
        }
        const std::filesystem::path path = _host.GetDir() / "made.TavAMX";
        TavAM::AMXFileWriter().WriteFile(path, database);
        return ReadFile(path);
    }
    static std::string _MakePldf()
    {
        const auto data = MachineLayer::CreateMachineData();
        MachineLayer::Data::Machine& machine = data->Edit();
        machine.properties = {L"from PLDF", L"resin", L"of PLDF", {}, {}, {}, {}, {}};
        machine.baseplate.emplace().thickness = 12;
        machine.surfaceTypeProfiles = {{L"tree", {}}, {L"unknown", {}}};
        machine.surfaceTypeProfiles[L"tree"].spacing = 3;
        machine.supportProfileSet.emplace().name = L"set";
        machine.nesting.emplace().partToPart = 2;
        return MachineLayer::Utilities::WriteMachineDataPLDF(*data);
    }
    PlatformInfo _MakeInfo() const
    {
        return {0,
                "",
                InformationXml,
                {{PlatformDataKind::Platform, _MakeAmx()},
                 {PlatformDataKind::MachineConfiguration, VexlorCore::EncodeBase64(_MakePldf())}}};
    }
    Answer _MakeAnswer() const
    {
        CommandResult result;
        result.dataFormat = DataFormat::Platform;
        return {result, {PlatformDataKind::Platform, _MakeAmx()}};
    }

    void _SetAnswer(const std::function<std::future<Answer>()>& i_answer)
    {
        _script->getPlatform = [this, i_answer](const std::string& i_parameters) {
            _sent.push_back(i_parameters);
            return i_answer();
        };
    }
    void _SetAnswer(const Answer& i_answer)
    {
        _SetAnswer([i_answer] { return MakeReady(i_answer); });
    }
    static std::exception_ptr _MakeException(ErrorCode i_code)
    {
        return std::make_exception_ptr(CommunicationException(i_code, "own text"));
    }

    std::unique_ptr<IPlatformCreator> _Create(ProgressWatcherFuture<PlatformInfo> i_information)
    {
        _message.clear();
        return TryCreatePlatformCreator(_machine, i_information, _host.GetProviderGetter(), _message);
    }
    std::unique_ptr<IPlatformCreator> _Create(const PlatformInfo& i_info)
    {
        return _Create(ProgressWatcherFuture<PlatformInfo>(MakeReady(i_info)));
    }
    std::string _GetMessage() const { return QString::fromStdWString(_message).toStdString(); }
    const TavAM::PersistentProperties& _GetSceneProperties() { return _host.scene->GetAMObject().GetAMXProperties(); }
};

} // namespace TestSupport
