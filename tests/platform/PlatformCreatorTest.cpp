#include "platform/IPlatformCreator.h"

#include "client/interface/CommunicationException.h"
#include "platform/ErrorMessages.h"
#include "support/HostFixture.h"

#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/Base64.h"
#include "vexlorcore/SceneMachineData.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>

namespace MachineService {
namespace {

using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using Answer = std::pair<CommandResult, Platform>;

template <class T>
std::future<T> MakeReady(T i_value)
{
    std::promise<T> promise;
    promise.set_value(std::move(i_value));
    return promise.get_future();
}

template <class T>
std::future<T> MakeFailed(ErrorCode i_code)
{
    std::promise<T> promise;
    promise.set_exception(std::make_exception_ptr(CommunicationException(i_code, "own text")));
    return promise.get_future();
}

/// What the machine answers, and what it was sent.
struct Script
{
    std::function<ProgressWatcherFuture<PlatformInfo>()> getInformation;
    std::function<std::future<Answer>()> getPlatform;
    std::vector<std::string> parameters;
};

class ScriptedMachine final : public MachineStrategy
{
public:
    ScriptedMachine(const MachineData& i_data, Script& io_script)
        : MachineStrategy(i_data)
        , _script(io_script)
    {}
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override { return _script.getInformation(); }
    std::future<Answer> GetEmptyPlatform(const std::string& i_parameters) const override
    {
        _script.parameters.push_back(i_parameters);
        return _script.getPlatform();
    }
    std::future<std::vector<CommandDescription>> GetCommands() const override { return {}; }
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override { return {}; }
    std::future<CommandResult> RunCommand(const CommandParameters&) const override { return {}; }
    ProgressWatcherFuture<void> ModifyPlatform(const Platform&) const override { return {}; }
    std::future<CommandResult> FillReportProperties(const CommandParameters&) const override { return {}; }
    std::future<CommandResult> Preprocessing(const CommandParameters&) const override { return {}; }
    std::future<ProfileAssignments> GetProfileAssignments() const override { return {}; }

private:
    Script& _script;
};

MachineData MakeMachineData()
{
    MachineData data;
    data.id.data[15] = 7;
    data.configurationTime = ConfigurationTime(ConfigurationTime::duration(std::int64_t{1'700'000'000} * 10'000'000));
    return data;
}

constexpr char InformationXml[] =
    "<PlatformInformation><Name>Größe</Name><Comment>c</Comment><Materials><Material "
    "name='PLA'/></Materials><Parameters><Choice id='höhe' isRequired='true'><Item id='0.2' "
    "isDefault='true'/></Choice><Choice id='plate'/></Parameters></PlatformInformation>";

class PlatformCreatorTest : public TestSupport::HostFixture
{
protected:
    Script _script;
    const Machine _machine{std::make_unique<ScriptedMachine>(MakeMachineData(), _script)};
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
        std::ostringstream bytes;
        bytes << std::ifstream(path, std::ios::binary).rdbuf();
        return bytes.str();
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

TEST_F(PlatformCreatorTest, ReadsWhatTheMachineOffers)
{
    const auto creator = _Create(_MakeInfo());
    ASSERT_TRUE(creator) << _GetMessage();
    EXPECT_EQ(_message, L"");
    EXPECT_EQ(creator->GetName(), L"Größe");
    EXPECT_EQ(creator->GetComment(), L"c");
    ASSERT_EQ(creator->GetMaterialCount(), 1U);
    EXPECT_EQ(creator->GetMaterial(0), L"PLA");
    EXPECT_THROW(creator->GetMaterial(1), std::out_of_range);
    ASSERT_EQ(creator->GetParameterCount(), 2U);
    EXPECT_TRUE(creator->GetParameter(0)->GetItem(0)->IsDefault());
    EXPECT_THROW(creator->GetParameter(2), std::out_of_range);

    const MachineLayer::Data::Machine& machine = std::as_const(*creator).GetMachineData()->Get();
    EXPECT_EQ(machine.platformShape, MachineLayer::Data::PlatformShape(MachineLayer::Data::CylinderShape{100, 50}));
    EXPECT_EQ(machine.properties.name, L"from PLDF");
    EXPECT_EQ(machine.baseplate->thickness, 12);
    ASSERT_EQ(machine.surfaceTypeProfiles.size(), 1U) << "of a surface type that the platform does not have";
    EXPECT_EQ(machine.surfaceTypeProfiles.at(L"tree").spacing, 3);
    EXPECT_EQ(machine.supportProfileSet->name, L"set");
    EXPECT_EQ(machine.nesting->partToPart, 2);
}

TEST_F(PlatformCreatorTest, SaysWhatTheMachineSaysAndReturnsNullWithoutAPlatform)
{
    PlatformInfo info = _MakeInfo();
    info.message = "abc";
    EXPECT_TRUE(_Create(info));
    EXPECT_EQ(_message, L"abc");
    info.code = 10;
    EXPECT_TRUE(_Create(info));
    EXPECT_EQ(_GetMessage(), ErrorMessageTable.at(10));
    info.items.erase(info.items.begin());
    EXPECT_FALSE(_Create(info));
    info.items.clear();
    EXPECT_FALSE(_Create(info));
    EXPECT_EQ(_GetMessage(), ErrorMessageTable.at(10));
    EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>()));
    EXPECT_NE(_message, L"");
}

TEST_F(PlatformCreatorTest, DamagedInformationGivesTheMessageOfItsKind)
{
    const std::string xml = "An error occurred while reading file .*/tmp/PlatformParameters[^/]+\\.xml";
    const std::string amx = "An error occurred while reading file .*/tmp/VexlorGetPlatformInformation[^/]+\\.TavAMX";
    const std::string noMachine = "An error occurred while loading the machine\\.";
    const std::string noPldf = "Error loading PLDF file\\.";
    std::string deep = "<PlatformInformation>";
    for (int level = 0; level < 100'000; ++level)
        deep += "<a>";
    std::string notUtf8 = InformationXml;
    notUtf8.replace(notUtf8.find("PLA"), 3, "\xC3(\xFF");
    TavAM::MachineParameters nan = _MakeParameters();
    nan.values.SetText(L"platform.height", L"nan");
    std::string newer = _MakePldf();
    newer.replace(newer.find("version=\"1\""), 11, "version=\"2\"");

    using Kind = PlatformDataKind;
    struct Row
    {
        std::string data;
        std::optional<Kind> kind; ///< of the item to replace; the XML otherwise
        std::string message;
    };
    const Row rows[] = {
        {"not XML", {}, xml},
        {"<!DOCTYPE PlatformInformation>" + std::string(InformationXml), {}, xml},
        {deep, {}, xml},
        {"<PlatformInformation><Materials><Material name='" + std::string(10'000'000, 'x') +
             "'/></Materials></PlatformInformation>",
         {},
         xml},
        {notUtf8, {}, xml},
        {std::string(InformationXml).substr(0, 100), {}, xml},
        {"no package", Kind::Platform, amx},
        {_MakeAmx().substr(0, 300), Kind::Platform, amx},
        {_MakeAmx(0), Kind::Platform, "Unexpected input file\\."},
        {_MakeAmx(2), Kind::Platform, "Unexpected input file\\."},
        {_MakeAmx(1, std::nullopt), Kind::Platform, noMachine},
        {_MakeAmx(1, nan), Kind::Platform, noMachine},
        {"*** no Base64 ***", Kind::MachineConfiguration, "PLDF decoding failed\\."},
        {VexlorCore::EncodeBase64("no XML"), Kind::MachineConfiguration, noPldf},
        {VexlorCore::EncodeBase64(_MakePldf().substr(0, 200)), Kind::MachineConfiguration, noPldf},
        {VexlorCore::EncodeBase64(newer), Kind::MachineConfiguration, noPldf},
    };
    for (const Row& row : rows) {
        PlatformInfo info = _MakeInfo();
        if (row.kind)
            info.items.at(*row.kind == Kind::Platform ? 0 : 1).data = row.data;
        else
            info.xml = row.data;
        const std::string shown = row.data.substr(0, 60);
        EXPECT_FALSE(_Create(info)) << shown;
        EXPECT_THAT(_GetMessage(), MatchesRegex(row.message)) << shown;
        EXPECT_TRUE(std::filesystem::is_empty(_temp)) << shown;
    }
    // A creator that has information keeps it.
    const auto creator = _Create(_MakeInfo());
    PlatformInfo info = _MakeInfo();
    info.items.at(1).data = "*";
    EXPECT_THROW(creator->SetPlatformInformation(info), CommunicationException);
    EXPECT_EQ(creator->GetParameterCount(), 2U);

    ::setenv("TMPDIR", (_temp / "missing").c_str(), 1);
    EXPECT_FALSE(_Create(_MakeInfo()));
    EXPECT_NE(_message, L"");
}

TEST_F(PlatformCreatorTest, ReplacesItsInformation)
{
    const auto creator = _Create(_MakeInfo());
    creator->SetParameterValue(L"plate", L"1");
    const std::string description =
        "<PlatformGeometry version='1'><Platform shape='box' width='1' depth='2' height='3'/>"
        "<ScanField name='f' minX='0' minY='0' maxX='1' maxY='1'/></PlatformGeometry>";
    const std::string machine = "<MachineData version='1'><Machine name='own' material='m' comment='c'/></MachineData>";
    using Kind = PlatformDataKind;
    struct Row
    {
        std::vector<Platform> items;
        std::wstring name;
        std::size_t materials;
        bool hasShape;
    };
    const Row rows[] = {
        {{{Kind::MachineData, machine}, {Kind::Geometry, description}, _MakeInfo().items.at(1)},
         L"from PLDF",
         1,
         false},
        {{{Kind::MachineData, machine}, {Kind::Geometry, description}, {Kind::MachineConfiguration, ""}}, L"", 1, true},
        {{{Kind::MachineData, machine}, {Kind::Geometry, "damaged"}}, L"own", 1, false},
        {{{Kind::MachineData, "damaged"}}, L"", 0, false},
        {{}, L"", 0, false},
    };
    for (const Row& row : rows) {
        creator->SetPlatformInformation({0, "", InformationXml, row.items});
        EXPECT_EQ(creator->GetName(), row.name);
        EXPECT_EQ(creator->GetMaterialCount(), row.materials);
        EXPECT_EQ(creator->GetParameterCount(), 0U);
        EXPECT_EQ(creator->GetMachineData()->Get().platformShape.has_value(), row.hasShape);
    }

    _script.getInformation = [this] {
        return ProgressWatcherFuture<PlatformInfo>(MakeReady(_MakeInfo()));
    };
    creator->RefreshPlatformInformation();
    EXPECT_EQ(creator->GetParameterCount(), 2U);
    _script.getInformation = [] {
        return ProgressWatcherFuture<PlatformInfo>(MakeFailed<PlatformInfo>(ErrorCode::MachineNotFound));
    };
    creator->RefreshPlatformInformation();
    EXPECT_EQ(creator->GetName(), L"");
    EXPECT_EQ(creator->GetMachineData()->Get(), MachineLayer::Data::Machine());

    // It remembers that there were parameters, and what was recorded for them.
    _script.getPlatform = [this] {
        return MakeReady(_MakeAnswer());
    };
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    EXPECT_THAT(_script.parameters.at(0), HasSubstr("<ParameterValue id=\"plate\">1</ParameterValue>"));
}

TEST_F(PlatformCreatorTest, SendsTheChoicesAndBringsThePlatformIntoTheScene)
{
    TavAM::PersistentProperties& properties = _host.scene->GetAMObject().GetAMXProperties();
    properties.SetText(L"höhe", L"from the scene");
    properties.SetText(L"plate", L"from the scene");
    properties.SetText(L"other", L"not asked for");
    _script.getPlatform = [this] {
        return MakeReady(_MakeAnswer());
    };
    const auto creator = _Create(_MakeInfo());
    creator->SetParameterValue(L"höhe", L"0.1");
    creator->SetParameterValue(L"höhe", L"0.2 ä<");
    creator->SetParameterValue(L"free", L"");
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    const std::string& sent = _script.parameters.at(0);
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"höhe\">0.2 ä&lt;</ParameterValue>"));
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"plate\">from the scene</ParameterValue>"));
    EXPECT_THAT(sent, HasSubstr("<ParameterValue id=\"free\">"));
    EXPECT_THAT(sent, ::testing::Not(HasSubstr("other")));

    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"empty");
    EXPECT_EQ(_GetSceneProperties().GetText(TavAM::PropertyNames::Print3D::SelectedQueueID),
              L"00000000-0000-0000-0000-000000000007");
    EXPECT_EQ(_GetSceneProperties().GetText(TavAM::PropertyNames::Print3D::MachineInformationTimestamp),
              L"2023-11-14T22:13:20Z");
    const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(_host.scene);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->Get(), creator->GetMachineData()->Get());

    const std::filesystem::path path = _host.GetDir() / "saved.TavAMX";
    TavAM::AMXFileWriter().WriteFile(path, _host.scene->GetPlatform());
    TavAM::Database database;
    TavAM::AMXFileReader reader;
    ASSERT_TRUE(reader.ReadFile(path, database)) << reader.GetError();
    VexlorCore::DataSet* const reopened = _host.GetDatabase().CreateDataSet();
    reopened->SetPlatform(*database.GetPlatform(0));
    EXPECT_EQ(MachineLayer::Utilities::GetMachineDataMutable(reopened)->Get(), data->Get());
    EXPECT_EQ(reopened->GetAMObject().GetAMXProperties(), _GetSceneProperties());

    // Without parameters nothing is sent and nothing recorded.
    PlatformInfo info = _MakeInfo();
    info.xml.clear();
    const auto plain = _Create(info);
    plain->SetParameterValue(L"plate", L"1");
    EXPECT_TRUE(plain->CreatePlatform(_host.scene, false));
    EXPECT_EQ(_script.parameters.at(1), "");
}

TEST_F(PlatformCreatorTest, EndsByWhatTheMachineAnswers)
{
    const auto creator = _Create(_MakeInfo());
    Answer nothing = _MakeAnswer();
    nothing.first.dataFormat = DataFormat::None;
    _script.getPlatform = [&nothing] {
        return MakeReady(nothing);
    };
    EXPECT_FALSE(creator->CreatePlatform(_host.scene, false));
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");

    // Data of another kind: without a machine in the scene there is nothing to update.
    Answer configuration = {CommandResult(), _MakeInfo().items.at(1)};
    _script.getPlatform = [&configuration] {
        return MakeReady(configuration);
    };
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    TavAM::Platform platform;
    platform.SetMachine(_MakeParameters());
    _host.scene->SetPlatform(platform);
    creator->GetMachineData()->Edit().baseplate.reset();
    EXPECT_TRUE(creator->CreatePlatform(_host.scene, false));
    const auto* const data = MachineLayer::Utilities::GetMachineDataMutable(_host.scene);
    EXPECT_EQ(data->Get().baseplate->thickness, 12);
    EXPECT_EQ(data->Get().platformShape, creator->GetMachineData()->Get().platformShape);
    configuration.second.data = "*";
    try {
        creator->CreatePlatform(_host.scene, false);
        ADD_FAILURE() << "no exception";
    } catch (const CommunicationException& error) {
        EXPECT_EQ(error.code(), ErrorCode::PldfError);
        EXPECT_STREQ(error.what(), "PLDF decoding failed.");
    }
}

TEST_F(PlatformCreatorTest, EveryCodeEndsInItsSentence)
{
    const auto creator = _Create(_MakeInfo());
    for (int number = 1; number <= 22; ++number) {
        const auto code = static_cast<ErrorCode>(number);
        const auto entry = ErrorMessageTable.find(number);
        const std::string sentence = entry != ErrorMessageTable.end() ? entry->second : "own text";
        EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>(MakeFailed<PlatformInfo>(code))));
        EXPECT_EQ(_GetMessage(), sentence);

        // As an exception, and as a result that says so itself.
        CommandResult gaveUp;
        gaveUp.completed = false;
        gaveUp.status = number;
        gaveUp.message = "own text";
        for (const bool isResult : {false, true}) {
            _script.getPlatform = [&] {
                return isResult ? MakeReady(Answer(gaveUp, {})) : MakeFailed<Answer>(code);
            };
            std::string result;
            try {
                result = creator->CreatePlatform(_host.scene, false) ? "true" : "false";
            } catch (const CommunicationException& error) {
                EXPECT_EQ(error.code(), code);
                result = error.what();
            }
            EXPECT_EQ(result, number >= 11 && number <= 13 ? "false" : sentence) << number;
        }
    }
    EXPECT_EQ(_host.scene->GetPlatform().GetName(), L"");
    EXPECT_FALSE(_host.provider.IsJobRunning());
}

TEST_F(PlatformCreatorTest, WaitingKeepsTheEventLoopTurningAndCanBeCancelled)
{
    const auto creator = _Create(_MakeInfo());
    const auto watcher = std::make_shared<ProgressWatcher>();
    std::promise<PlatformInfo> information;
    std::promise<Answer> platform;
    _script.getPlatform = [&platform] {
        return platform.get_future();
    };
    int turns = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (++turns == 20)
            _host.provider.CancelCurrentJob();
    });
    timer.start(1);
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(_Create(ProgressWatcherFuture<PlatformInfo>(information.get_future(), watcher)));
    EXPECT_EQ(_message, L"Job processing was aborted.");
    EXPECT_TRUE(watcher->GetStopToken().stop_requested()) << "the machine was not told";
    EXPECT_GE(turns, 20);
    EXPECT_LT(clock.restart(), 1000);

    turns = 0;
    try {
        creator->CreatePlatform(_host.scene, false);
        ADD_FAILURE() << "no exception";
    } catch (const CommunicationException& error) {
        EXPECT_EQ(error.code(), ErrorCode::ProcessingAborted);
        EXPECT_STREQ(error.what(), "Job processing was aborted.");
    }
    EXPECT_GE(turns, 20);
    EXPECT_LT(clock.elapsed(), 1000);
    // Late answers reach nobody.
    information.set_value(_MakeInfo());
    platform.set_value(_MakeAnswer());
}

TEST_F(PlatformCreatorTest, ASceneThatIsClosedMeanwhileIsNotTouched)
{
    const auto creator = _Create(_MakeInfo());
    std::promise<Answer> platform;
    _script.getPlatform = [&platform] {
        return platform.get_future();
    };
    QTimer::singleShot(0, qApp, [&] {
        _host.GetDatabase().CloseDataSet(_host.scene);
        platform.set_value(_MakeAnswer());
    });
    try {
        creator->CreatePlatform(_host.scene, false);
        FAIL() << "no exception";
    } catch (const CommunicationException& error) {
        EXPECT_STREQ(error.what(), "The scene was closed.");
    }
}

} // namespace
} // namespace MachineService
