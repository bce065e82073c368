#include "machineconfig/MachineConfigurations.h"

#include "machineconfig/MachineConfigurationFile.h"
#include "support/Files.h"
#include "support/Texts.h"
#include "support/Xmllint.h"
#include "tavsdk/XmlReader.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

using namespace TestSupport;

using Configuration = PlatformMachineConfiguration;

constexpr double NotANumber = std::numeric_limits<double>::quiet_NaN();

template <class Change>
Configuration Make(const Change& i_change)
{
    Configuration configuration;
    i_change(configuration);
    return configuration;
}

/// Everything, and each section with as little as it can have.
std::vector<Configuration> MakeConfigurations()
{
    return {Convert(MakeFullMachine()),
            Make([](Configuration& o_c) { o_c.supportProfiles.emplace(); }),
            Make([](Configuration& o_c) { o_c.supportProfiles.emplace().surfaceTypes[L"x"]; }),
            Make([](Configuration& o_c) { o_c.supportProfiles.emplace().inUse.emplace(); }),
            Make([](Configuration& o_c) { o_c.nesting.emplace(); }),
            Make([](Configuration& o_c) {
                o_c.baseplate = {Data::BaseplateShape::Circle, 100.0, {}, {}, {}, {}, {}, {}, {}};
            }),
            Make([](Configuration& o_c) { o_c.zBrace.emplace(); }),
            Make([](Configuration& o_c) { o_c.zCompensation.emplace(); }),
            Make([](Configuration& o_c) { o_c.zCompensation.emplace().tableKey = Data::ZCompensationKey::Depth; }),
            Make([](Configuration& o_c) {
                o_c.zCompensation.emplace().table = {{0, 0.5}, {360, -0.5}};
            }),
            Make([](Configuration& o_c) { o_c.partExport.emplace(); })};
}

TEST(MachineConfigurationTest, ReadsBackWhatItWritesAndAllOfItIsValid)
{
    QTemporaryDir folder;
    QStringList files;
    for (const Configuration& configuration : MakeConfigurations()) {
        const std::string text = WriteMachineConfiguration(configuration);
        EXPECT_EQ(ReadMachineConfiguration(text), configuration) << text;
        files << QStringLiteral("%1.xml").arg(files.size());
        SaveMachineConfiguration(folder.filePath(files.back()).toStdString(), configuration);
        EXPECT_EQ(LoadMachineConfiguration(folder.filePath(files.back()).toStdString()), configuration);
    }
    EXPECT_EQ(ValidateConfigurations(folder.path(), files), "");
}

TEST(MachineConfigurationTest, TakesOverWhatTheMachineHasAndLeavesOutWhatItHasNot)
{
    const Data::Machine machine = MakeFullMachine();
    const Configuration full = Convert(machine);
    EXPECT_EQ(full.machineName, machine.properties.name);
    EXPECT_EQ(full.modelId, machine.properties.modelId);
    EXPECT_EQ(full.supportProfiles->surfaceTypes, machine.surfaceTypeProfiles);
    EXPECT_EQ(full.supportProfiles->inUse, machine.supportProfileSet);
    EXPECT_EQ(full.nesting, machine.nesting);
    EXPECT_EQ(full.baseplate, machine.baseplate);
    EXPECT_EQ(full.zBrace, machine.zBrace);
    EXPECT_EQ(full.zCompensation, machine.zCompensation);
    EXPECT_EQ(full.partExport, machine.partExport);

    Data::Machine chosen;
    chosen.supportProfileSet.emplace();
    EXPECT_EQ(Convert(chosen).supportProfiles, SupportProfilesConfiguration({{}, chosen.supportProfileSet}));

    Data::Machine small;
    small.nesting.emplace().partToPart = 0;
    EXPECT_EQ(WriteMachineConfiguration(Convert(small)),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<MachineConfiguration xmlns=\"https://www.vexlor.example/AM/MachineData/MachineConfiguration/2026/11\">"
              "<Machine/><Nesting xmlns=\"https://www.vexlor.example/AM/MachineData/Nesting/2023/03\">"
              "<PartToPartClearance unit=\"mm\">0</PartToPartClearance><RotationFreedom>AroundZ</RotationFreedom>"
              "</Nesting></MachineConfiguration>\n");
}

TEST(MachineConfigurationTest, RefusesMachineDataThatNoDocumentCanCarry)
{
    struct Row
    {
        std::function<void(Data::Machine&)> spoil;
        const char* reason;
    };
    const Row rows[] = {
        {[](Data::Machine& o_m) { o_m = {}; }, "has no section"},
        {[](Data::Machine& o_m) { o_m.zBrace->spacing = NotANumber; }, "ZBrace/Spacing is not a number"},
        {[](Data::Machine& o_m) { o_m.baseplate->width = -1; },
         "ParametersBaseplate/Width is -1, which is not more than 0"},
        {[](Data::Machine& o_m) { o_m.baseplate->thickness = 0; }, "ParametersBaseplate/Thickness is 0"},
        {[](Data::Machine& o_m) { o_m.nesting->partToWall = -0.5; },
         "Nesting/PartToWallClearance is -0.5, which is not from 0"},
        {[](Data::Machine& o_m) { o_m.nesting->noBuildZones[1].maxY = -3; }, "Nesting/NoBuildZone[2] ends before"},
        {[](Data::Machine& o_m) { o_m.nesting->rotation = static_cast<Data::RotationFreedom>(3); },
         "RotationFreedom is none"},
        {[](Data::Machine& o_m) {
             o_m.surfaceTypeProfiles[L"Overhang"].spacing = std::numeric_limits<double>::infinity();
         },
         "SupportProfiles/SupportProfile[3]/Spacing is inf"},
        {[](Data::Machine& o_m) { o_m.surfaceTypeProfiles[L""]; }, "SupportProfile[1]/SurfaceType is empty"},
        {[](Data::Machine& o_m) { o_m.zCompensation->table[1].key = -1; }, "DepthTable/Entry[2]/Depth is -1"},
        {[](Data::Machine& o_m) { o_m.partExport->formats.push_back(L"a\1b"); },
         "ParametersExportPart/Format[3] holds the character"},
        {[](Data::Machine& o_m) {
             o_m.properties.name = {L'x', static_cast<wchar_t>(0xD800)};
         },
         "Machine/Name holds the character with the hexadecimal number d800"},
        {[](Data::Machine& o_m) { o_m.baseplate->material = L"\xFFFE"; }, "ParametersBaseplate/Material holds"},
    };
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("machine.xml"));
    for (const Row& row : rows) {
        Data::Machine machine = MakeFullMachine();
        row.spoil(machine);
        const auto [code, text] = GetFailure([&] { Convert(machine); });
        EXPECT_EQ(code, ErrorCode::InternalError);
        EXPECT_THAT(text, HasSubstr(row.reason));
    }
    // A configuration that was made otherwise leaves no file and does not touch the one that is there.
    const Configuration bad = Make([](Configuration& o_c) { o_c.zBrace.emplace().angle = 361; });
    EXPECT_EQ(GetFailure([&] { SaveMachineConfiguration(path.toStdString(), bad); }).code, ErrorCode::InternalError);
    EXPECT_TRUE(QDir(folder.path()).isEmpty());
    WriteFile(path.toStdString(), "before");
    EXPECT_EQ(GetFailure([&] { SaveMachineConfiguration(path.toStdString(), bad); }).code, ErrorCode::InternalError);
    EXPECT_EQ(QFile(path).size(), 6);
    EXPECT_EQ(GetFailure([&] {
                  SaveMachineConfiguration(path.toStdString() + "/x",
                                           Make([](Configuration& o_c) { o_c.zBrace.emplace(); }));
              }).code,
              ErrorCode::FileError);
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST(MachineConfigurationTest, PassesOverWhatItDoesNotKnowAndTellsIt)
{
    const std::string rotation = "<RotationFreedom> None </RotationFreedom>";
    const std::string machine = "<Machine/>";
    const Configuration expected =
        Make([](Configuration& o_c) { o_c.nesting.emplace().rotation = Data::RotationFreedom::None; });
    const std::pair<std::string, const char*> rows[] = {
        {Replaced(Nest(rotation), machine,
                  machine + "<Sintering xmlns=\"https://www.vexlor.example/AM/MachineData/Sintering/2030/01\"/>"),
         "'Sintering' is not known"},
        {Replaced(Nest(rotation), machine, machine + "<ZBrace xmlns=\"urn:other\"><Angle/></ZBrace><!-- x --><?y z?>"),
         "'ZBrace' is not known"},
    };
    QTemporaryDir folder;
    const std::string path = folder.filePath(QStringLiteral("machine.xml")).toStdString();
    for (const auto& [document, remark] : rows) {
        std::vector<std::string> remarks;
        EXPECT_EQ(ReadMachineConfiguration(document, &remarks), expected) << document;
        EXPECT_THAT(remarks, ElementsAre(remark));
        remarks.clear();
        WriteFile(path, document);
        EXPECT_EQ(LoadMachineConfiguration(path, &remarks), expected) << document;
        EXPECT_THAT(remarks, ElementsAre(remark));
    }
    std::vector<std::string> many;
    ReadMachineConfiguration(Nest(rotation + Repeat("<x/>", 10'000)), &many);
    EXPECT_EQ(many.size(), 20U);
}

TEST(MachineConfigurationTest, IsNotWrittenLargerThanItCanBeRead)
{
    const auto write = [](std::size_t i_names, std::size_t i_size, wchar_t i_character) {
        return WriteMachineConfiguration(Make([&](Configuration& o_c) {
            o_c.partExport.emplace().formats.assign(i_names, std::wstring(i_size, i_character));
        }));
    };
    constexpr std::size_t largest = TavSDK::XmlBounds::Text;
    EXPECT_EQ(ReadMachineConfiguration(write(1, largest, L'x')).partExport->formats.at(0).size(), largest);
    EXPECT_THAT(GetFailure([&] { write(1, largest / 2 + 1, L'\u00fc'); }).text,
                HasSubstr("ParametersExportPart/Format[1] is longer than 8388608 bytes"));
    EXPECT_THAT(GetFailure([&] { write(2, largest, L'"'); }).text, HasSubstr("it is longer than 67108864 bytes"));
    EXPECT_THAT(GetFailure([&] { write(1'000'000, 1, L'x'); }).text, HasSubstr("it has more than 1000000 elements"));
}

TEST(MachineConfigurationTest, SaysWhatIsWrongWithADocument)
{
    struct Row
    {
        std::string document;
        const char* reason;
        bool isKnownToSchema = true;
    };
    const std::string good = Nest("<RotationFreedom>None</RotationFreedom>");
    const std::string zone = "<NoBuildZone><MinX unit=\"mm\">0</MinX></NoBuildZone>";
    const auto clearance = [](const std::string& i_unit, const std::string& i_value) {
        return Nest("<PartToPartClearance unit=\"" + i_unit + "\">" + i_value +
                    "</PartToPartClearance><RotationFreedom>None</RotationFreedom>");
    };
    const std::string full = WriteMachineConfiguration(Convert(MakeFullMachine()));
    const Row rows[] = {
        {Nest("", "2031/02"), "Line 1: 'Nesting' has the format of 2031/02, which is newer than this program: it "
                              "reads the format of 2023/03"},
        {Nest("", "2019/01"), "'Nesting' has the format of 2019/01, which is not known"},
        {Replaced(good, "2026/11", "2027/01"), "'MachineConfiguration' has the format of 2027/01, which is newer"},
        {Replaced(good, "www.vexlor", "elsewhere"), "the document's namespace is"},
        {"<Other/>", "the document is a 'Other'"},
        {"", "Line 1: no element found"},
        {Replaced(good, " xmlns=\"https://www.vexlor.example/AM/MachineData/Nesting/2023/03\"", ""),
         "Nesting does not say its namespace"},
        {Replaced(good, "<Machine/>", "<Machine/><n:Nesting/>"), "the prefix of 'n:Nesting' stands for no namespace"},
        {clearance("mm", "-1"), "Nesting/PartToPartClearance is -1, which is not from 0 to 1000000 mm"},
        {clearance("mm", "5 mm"), "Nesting/PartToPartClearance is '5 mm', which is no number"},
        {Nest("<RotationFreedom>Some</RotationFreedom>"),
         "RotationFreedom is 'Some', which is none of None, AroundZ, Any"},
        {Nest(""), "Nesting lacks RotationFreedom"},
        {Nest("<RotationFreedom>None</RotationFreedom><RotationFreedom>Any</RotationFreedom>"),
         "RotationFreedom appears twice"},
        {Nest("<RotationFreedom>None</RotationFreedom>" + zone), "Nesting/NoBuildZone[1] lacks MinY"},
        {Replaced(good, "<Machine/>", "<Machine/><Machine/>"), "Machine appears twice"},
        {Replaced(full, "<MaxX unit=\"mm\">1000000", "<MaxX unit=\"mm\">-9"), "NoBuildZone[1] ends before it begins",
         false},
        {Replaced(good, "Nesting xmlns=\"https", "Nesting xmlns=\"urn"), "It has no section"},
        {"<!DOCTYPE a>" + good, "a DOCTYPE is not accepted", false},
        {Nest(Repeat("<a>", 100'000)), "nested deeper than 64"},
    };
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("bad.xml"));
    for (const Row& row : rows) {
        const auto [code, text] = GetFailure([&] { ReadMachineConfiguration(row.document); });
        EXPECT_EQ(code, ErrorCode::FileError);
        EXPECT_THAT(text, HasSubstr(row.reason));
        WriteFile(path.toStdString(), row.document);
        EXPECT_THAT(GetFailure([&] { LoadMachineConfiguration(path.toStdString()); }).text,
                    AllOf(HasSubstr("bad.xml"), HasSubstr(row.reason)));
        if (row.isKnownToSchema) {
            EXPECT_NE(ValidateConfigurations(folder.path(), {QStringLiteral("bad.xml")}), "")
                << row.document.substr(0, 1000);
        }
    }
    // Broken off anywhere, a document is never taken for a shorter one.
    for (std::size_t size = 0; size < full.size() - 2; size += 7)
        EXPECT_EQ(GetFailure([&] { ReadMachineConfiguration(full.substr(0, size)); }).code, ErrorCode::FileError)
            << size;
}

} // namespace
