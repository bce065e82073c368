#include "machinelayer/Pldf.h"

#include "machinelayer/PldfFile.h"
#include "support/FullMachine.h"
#include "support/Test.h"
#include "tavam/FileError.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/SceneMachineData.h"

#include <QTemporaryDir>

namespace {

using namespace MachineLayer;
using TestSupport::MakeFullMachine;

constexpr PLDF::PldfConvertOptions Everything = {.properties = true, .platform = true, .profiles = true};

std::unique_ptr<IMachineData> MakeData(const Data::Machine& i_machine)
{
    auto data = CreateMachineData();
    data->Edit() = i_machine;
    return data;
}

std::string Document(const std::string& i_content, const std::string& i_version = "1")
{
    return "<MachineConfiguration version=\"" + i_version + "\">" + i_content + "</MachineConfiguration>";
}

class PldfTest : public testing::Test
{
protected:
    QTemporaryDir _dir;
    const std::filesystem::path _path = std::filesystem::path(_dir.path().toStdString()) / "machine.pldf";

    void _Write(const std::string& i_document) const { std::ofstream(_path, std::ios::binary) << i_document; }
    /// What is wrong with the document; empty when it was read.
    std::string _GetError(const std::string& i_document) const
    {
        _Write(i_document);
        const auto data = MakeData(MakeFullMachine());
        try {
            Utilities::LoadMachineDataPLDF(_path, *data);
        } catch (const TavAM::FileError& error) {
            EXPECT_THAT(error.what(), HasSubstr(_path.string()));
            EXPECT_EQ(data->Get(), MakeFullMachine()) << "changed by a document that cannot be read";
            return error.what();
        }
        return {};
    }
};

TEST_F(PldfTest, KeepsEverythingInEveryForm)
{
    for (const Data::Machine& machine : {MakeFullMachine(), Data::Machine()}) {
        const auto original = MakeData(machine);
        const auto read = MakeData(MakeFullMachine());
        Utilities::SaveMachineDataPLDF(_path, *original);
        Utilities::LoadMachineDataPLDF(_path, *read);
        EXPECT_EQ(read->Get(), machine);

        read->Edit() = MakeFullMachine();
        PLDF::ConvertFromPLDF(*read, PLDF::ConvertToMachineParameters(*original), Everything);
        EXPECT_EQ(read->Get(), machine);

        read->Edit() = MakeFullMachine();
        Utilities::ReadMachineData(Utilities::WriteMachineData(*original), *read);
        EXPECT_EQ(read->Get(), machine);

        const auto geometry = CreateMachineData();
        Utilities::ReadPlatformGeometry(Utilities::WritePlatformGeometry(*original), *geometry);
        Data::Machine expected;
        expected.platformShape = machine.platformShape;
        expected.platformGeometry = machine.platformGeometry;
        expected.scanFields = machine.scanFields;
        EXPECT_EQ(geometry->Get(), expected);
    }
    std::filesystem::directory_iterator files(_path.parent_path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "something is left beside the file";
    EXPECT_EQ(std::filesystem::status(_path).permissions(), std::filesystem::perms(0600));
}

TEST_F(PldfTest, ReadsHandWrittenDocumentsAndTellsWhatLaterWritersAdd)
{
    _Write(Document("<New a='1'><Platform shape='box'/></New><Platform new='1' shape='box' width='1e2' depth='50' "
                    "height='0.5'><New/></Platform><Machine name='A&amp;B'/>"));
    const auto data = MakeData(MakeFullMachine());
    std::vector<std::string> remarks;
    Utilities::LoadMachineDataPLDF(_path, *data, &remarks);
    EXPECT_THAT(remarks,
                ElementsAre("'New' is not known", "'Platform/new' is not known", "'Platform/New' is not known"));
    Data::Machine expected;
    expected.properties.name = L"A&B";
    expected.platformShape = Data::BoxShape{100, 50, 0.5};
    EXPECT_EQ(data->Get(), expected);
}

TEST_F(PldfTest, RefusesDamagedDocumentsWithTheReason)
{
    const std::string full = Utilities::WriteMachineDataPLDF(*MakeData(MakeFullMachine()));
    ASSERT_EQ(_GetError(full), "");
    for (std::size_t size = 0; size < full.size(); size += 97)
        EXPECT_NE(_GetError(full.substr(0, size)), "") << size;

    const std::pair<std::string, std::string> rows[] = {
        {"text", ""},
        {"<MachineData version='1'/>", "The root element is not MachineConfiguration."},
        {"<MachineConfiguration/>", "the version of the format is missing"},
        {Document("", "0"), "the version of the format is missing or is no number"},
        {Document("", "2"), "version 2, which is newer than version 1"},
        {"<!DOCTYPE MachineConfiguration>" + Document(""), "DOCTYPE"},
        {Document("<Platform shape='box' width='NaN' depth='1' height='1'/>"),
         "Line 1: Platform/width is 'NaN', which is no number."},
        {Document("<Platform shape='box' width='inf' depth='1' height='1'/>"), "width is 'inf', which is no number."},
        {Document("<Platform shape='box' width='1,5' depth='1' height='1'/>"), "width is '1,5', which is no number."},
        {Document("<Platform shape='box' width='0' depth='1' height='1'/>"),
         "width is 0, which is not more than 0 and up to 1000000 mm."},
        {Document("<Platform shape='box' width='1' height='1'/>"), "Platform lacks depth."},
        {Document("<Platform shape='ball'/>"), "Platform/shape is 'ball', which is none of box, cylinder."},
        {Document("<Platform shape='cylinder' diameter='1e400' height='1'/>"), "diameter is inf, which is not"},
        {Document("<Platform minX='1'/>"), "Platform has some of minX, minY and minZ only."},
        {Document("<Platform/><Platform/>"), "Platform appears twice."},
        {Document("<ScanField minX='1' minY='1' maxX='1' maxY='2'/>"), "ScanField[1] is empty."},
        {Document("<ZBrace angle='361'/>"), "ZBrace/angle is 361, which is not from 0 to 360 deg."},
        {Document("<SupportProfile name='a' type='line'/><SupportProfile name='a' type='line'/>"),
         "SupportProfile[2] has the name 'a' of another."},
        {Document("<Setting name='a'/><Setting name='a'/>"), "Setting[2] has the name 'a' of another."},
        {Document("<SupportProfile type='line'/>"), "SupportProfile[1] lacks name."},
        {Document("<SupportProfileSet><Use type='line' profile=''/></SupportProfileSet>"),
         "SupportProfileSet/Use[1]/profile is empty."},
        {Document("<PartExport unit='inch'><Format/></PartExport>"), "PartExport/Format[1] lacks name."},
        {Document("<ZCompensation tableKey='angle'><Entry key='361' offset='0'/></ZCompensation>"),
         "ZCompensation has an angle above 360 deg."},
    };
    for (const auto& [document, reason] : rows) {
        EXPECT_THAT(_GetError(document), HasSubstr(reason)) << document;
        EXPECT_NE(_GetError(document), "") << document;
    }
    std::string many;
    for (int count = 0; count <= 100'000; ++count)
        many += "<x/>";
    EXPECT_THAT(_GetError(Document(many)), HasSubstr("there are more than 100000 elements"));
}

TEST_F(PldfTest, SavingFailsWithoutTouchingWhatIsThere)
{
    _Write("former");
    auto data = MakeData(MakeFullMachine());
    data->Edit().zBrace->angle = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(_path, *data), TavAM::FileError);
    data = MakeData(MakeFullMachine());
    data->Edit().properties.name = L"\x01";
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(_path, *data), TavAM::FileError);
    data = MakeData(MakeFullMachine());
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(_path / "below", *data), TavAM::FileError);
    // Markup counts six times in an attribute.
    data->Edit().properties.comment.assign((8 << 20) / 6, L'<');
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(_path, *data), TavAM::FileError);
    data->Edit() = {};
    data->Edit().scanFields.assign(100'001, {L"", 0, 0, 1, 1});
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(_path, *data), TavAM::FileError);
    data->Edit().scanFields.resize(100'000);
    EXPECT_NO_THROW(Utilities::ReadMachineData(Utilities::WriteMachineData(*data), *data));
    // Fails only when the finished file is to be renamed.
    const std::filesystem::path folder = _path.parent_path() / "folder";
    std::filesystem::create_directory(folder);
    EXPECT_THROW(Utilities::SaveMachineDataPLDF(folder, *data), TavAM::FileError);
    std::filesystem::remove(folder);
    std::string content;
    std::ifstream(_path) >> content;
    EXPECT_EQ(content, "former");
    std::filesystem::directory_iterator files(_path.parent_path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_F(PldfTest, WritesNoTextThatXmlCannotCarry)
{
    const auto data = MakeData(MakeFullMachine());
    data->Edit().properties.name = L"a\1b";
    EXPECT_THAT([&] { Utilities::WriteMachineData(*data); },
                testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr("which XML cannot carry")));
}

TEST(PldfConversionTest, TakesOverTheChosenGroupsOnly)
{
    const TavAM::MachineParameters parameters = PLDF::ConvertToMachineParameters(*MakeData(MakeFullMachine()));
    EXPECT_EQ(parameters.name, MakeFullMachine().properties.name);
    EXPECT_EQ(parameters.values.GetText(L"platform.shape"), L"cylinder");
    EXPECT_EQ(parameters.values.GetText(L"scanField.2.minX"), L"-5");
    EXPECT_EQ(parameters.values.GetText(L"nesting.noBuildZone.1.maxZ"), L"30");

    auto data = CreateMachineData();
    PLDF::ConvertFromPLDF(*data, parameters, {});
    EXPECT_EQ(data->Get(), Data::Machine());
    PLDF::ConvertFromPLDF(*data, parameters, {.properties = true});
    EXPECT_EQ(data->Get().settings, MakeFullMachine().settings);
    EXPECT_FALSE(data->Get().platformShape || data->Get().nesting);
    PLDF::ConvertFromPLDF(*data, parameters, {.platform = true});
    EXPECT_EQ(data->Get().scanFields.size(), 2U);
    EXPECT_FALSE(data->Get().nesting);
    PLDF::ConvertFromPLDF(*data, parameters, {.profiles = true});
    EXPECT_EQ(data->Get(), MakeFullMachine());
}

TEST(PldfConversionTest, RefusesParametersThatCannotBeTrue)
{
    const std::tuple<std::wstring, std::wstring, const char*> rows[] = {
        {L"platform.shape", L"ball", "platform.shape: "},
        {L"machine.layerHeight", L"nan", "machine.layerHeight: "},
        {L"supportProfile.2.type", L"line", "supportProfile.2 is there without supportProfile.1"},
        {L"nesting.partToPart", L"-0.1", "nesting.partToPart: "},
        {L"nesting.rotation", L"", "nesting.rotation: "},
    };
    for (const auto& [name, text, words] : rows) {
        const auto data = MakeData(MakeFullMachine());
        TavAM::MachineParameters parameters;
        parameters.values.SetText(name, text);
        EXPECT_THAT([&] { PLDF::ConvertFromPLDF(*data, parameters, Everything); },
                    testing::ThrowsMessage<std::invalid_argument>(testing::HasSubstr(words)));
        EXPECT_EQ(data->Get(), MakeFullMachine());
    }
    // Names that only resemble those of parameters are settings, also without a value.
    TavAM::MachineParameters parameters;
    for (const wchar_t* name : {L"", L".", L"scanField", L"scanField.1", L"scanField.0.minX", L"Platform.width",
                                L"platform.1.width", L"machine.name", L"setting.1.name"})
        parameters.values.SetText(name, L"x");
    parameters.values.SetUndefined(L"zBrace.angle");
    const auto data = CreateMachineData();
    PLDF::ConvertFromPLDF(*data, parameters, Everything);
    EXPECT_EQ(data->Get().settings.size(), 9U);
    EXPECT_EQ(data->Get().zBrace, Data::ZBrace());
}

TEST(MachineDataTest, MergesAConfigurationIntoMachineDataOfAPlatform)
{
    Data::Machine target;
    target.properties.name = L"target";
    target.properties.comment = L"kept";
    target.baseplate.emplace();
    target.surfaceTypeProfiles[L"Overhang"].spacing = 9;
    target.surfaceTypeProfiles[L"mine"].spacing = 8;
    target.settings = {{L"a", L"old"}, {L"b", L"kept"}};
    target.zBrace = Data::ZBrace{9, {}, {}, {}};
    Data::Machine loaded;
    loaded.properties.name = L"loaded";
    loaded.surfaceTypeProfiles = MakeFullMachine().surfaceTypeProfiles;
    loaded.supportProfileSet = MakeFullMachine().supportProfileSet;
    loaded.nesting = MakeFullMachine().nesting;
    loaded.settings = {{L"a", L"new"}, {L"c", L"new"}};

    Data::Machine expected = target;
    expected.properties.name = L"loaded";
    expected.baseplate.reset();
    expected.surfaceTypeProfiles[L"Overhang"] = loaded.surfaceTypeProfiles[L"Overhang"];
    expected.supportProfileSet = loaded.supportProfileSet;
    expected.nesting = loaded.nesting;
    expected.settings = {{L"a", L"new"}, {L"b", L"kept"}, {L"c", L"new"}};
    const auto data = MakeData(target);
    Utilities::MergeMachineConfiguration(*data, *MakeData(loaded));
    EXPECT_EQ(data->Get(), expected);

    const auto copy = data->Clone();
    data->Edit().settings.clear();
    EXPECT_EQ(copy->Get(), expected);
    copy->CopyFrom(*copy);
    EXPECT_EQ(copy->Get(), expected);
}

TEST(SceneMachineDataTest, FollowsTheScenesPlatformAndIsSavedWithIt)
{
    VexlorCore::Database database;
    VexlorCore::DataSet* const scene = database.CreateDataSet();
    EXPECT_EQ(Utilities::GetMachineDataMutable(scene), nullptr);
    EXPECT_NO_THROW(Utilities::StoreMachineData(scene));

    TavAM::Platform platform;
    platform.SetMachine(PLDF::ConvertToMachineParameters(*MakeData(MakeFullMachine())));
    scene->SetPlatform(platform);
    IMachineData* const data = Utilities::GetMachineDataMutable(scene);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(data->Get(), MakeFullMachine());
    data->Edit().nesting.reset();
    EXPECT_EQ(Utilities::GetMachineDataMutable(scene), data);
    Utilities::StoreMachineData(scene);
    EXPECT_EQ(Utilities::GetMachineDataMutable(scene), data) << "storing replaced what it stored";

    VexlorCore::DataSet* const reopened = database.CreateDataSet();
    reopened->SetPlatform(scene->GetPlatform());
    EXPECT_EQ(Utilities::GetMachineDataMutable(reopened)->Get(), data->Get());
    scene->SetPlatform(platform);
    EXPECT_TRUE(Utilities::GetMachineDataMutable(scene)->Get().nesting) << "of the former platform";
}

} // namespace
