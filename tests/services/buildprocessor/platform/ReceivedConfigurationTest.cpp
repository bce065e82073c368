#include "services/ServiceFixture.h"

#include "buildprocessor/machines/MachineRecord.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "buildprocessor/platform/PlatformRules.h"
#include "buildprocessor/platform/ReceivedConfiguration.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "machineconfig/MachineConfiguration.h"
#include "machinelayer/IMachineData.h"
#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "support/Texts.h"
#include "tavam/PropertyNames.h"

#include <gmock/gmock.h>

#include <QString>

#include <zip.h>

#include <cmath>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using namespace Testing;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::Pair;
namespace Names = TavAM::PropertyNames::Print3D;

std::string Section(const std::string& i_name, const std::string& i_version, const std::string& i_fields)
{
    return '<' + i_name + " xmlns=\"https://www.vexlor.example/AM/MachineData/" + i_name + '/' + i_version + "\">" +
           i_fields + "</" + i_name + '>';
}

std::string Nesting(const std::string& i_clearances, const std::string& i_zones = {})
{
    return Section("Nesting", "2023/03", i_clearances + "<RotationFreedom>AroundZ</RotationFreedom>" + i_zones);
}

std::string Millimetres(const std::string& i_name, const std::string& i_value)
{
    return '<' + i_name + " unit=\"mm\">" + i_value + "</" + i_name + '>';
}

std::string Zone(double i_min_x, double i_max_x)
{
    return "<NoBuildZone><Name>clamp</Name>" + Millimetres("MinX", std::to_string(i_min_x)) + Millimetres("MinY", "0") +
           Millimetres("MinZ", "0") + Millimetres("MaxX", std::to_string(i_max_x)) + Millimetres("MaxY", "100") +
           Millimetres("MaxZ", "20") + "</NoBuildZone>";
}

std::string Support(const std::string& i_surface, const std::string& i_type, const std::string& i_fields)
{
    return "<SupportProfile><SurfaceType>" + i_surface + "</SurfaceType><SupportType>" + i_type + "</SupportType>" +
           i_fields + "</SupportProfile>";
}

std::string Supports(const std::string& i_profiles)
{
    return Section("SupportProfiles", "2022/09", i_profiles);
}

std::string MakeDocument(const std::string& i_sections)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>" +
           Section("MachineConfiguration", "2026/11", "<Machine><Name>Größe</Name></Machine>" + i_sections);
}

TavAM::Platform Carry(const std::string& i_document, TavAM::Platform i_platform = {})
{
    i_platform.GetAMXProperties().SetText(Names::MachineConfiguration,
                                          QString::fromStdString(i_document).toStdWString());
    return i_platform;
}

MachineProfile ReadProfile(const std::string& i_text)
{
    return BuildProcessor::ReadProfile(i_text, "test.json").profile;
}

/// Has everything that a profile can say.
std::string MakeFullProfile()
{
    return Replaced(MakeProfile(), "\"engineDeadline\"", R"("nesting": {"partToPart": 4, "partToWall": 7,
        "rotation": "any", "rotationStep": 30, "noBuildZones": [{"name": "clamp", "minX": -1, "minY": 0, "minZ": 0,
        "maxX": 10, "maxY": 10, "maxZ": 20.5}, {"name": "lamp", "minX": 0, "minY": 0, "minZ": 40, "maxX": 100,
        "maxY": 100, "maxZ": 50}]}, "baseplate": {"thickness": 2.5, "marginLeft": 1, "marginRight": 2,
        "marginFront": 3, "marginBack": 0}, "supports": [{"surfaceType": "Überhang <1>", "type": "contour",
        "spacing": 2, "criticalAngle": 35, "contactWidth": 0.5, "contactPenetration": 0, "contactGap": 0.1},
        {"surfaceType": "edge", "type": "line"}, {"surfaceType": "other edge", "type": "line", "spacing": 9}],
        "partExport": {"formats": ["STL", "3MF"], "tolerance": 0.05}, "engineDeadline")");
}

class ReceivedConfigurationTest : public ServiceTest
{
protected:
    /// The machine file's settings, a line each.
    std::string Build(const TavAM::Platform& i_platform, const std::string& i_id = TestId)
    {
        std::filesystem::remove_all(dir / "data" / "jobs");
        message = Run(CommandType::Build, i_platform, i_id).message;
        const auto file = QString::fromStdWString(GetText(ReadOutput(), Names::MachineFile));
        if (!file.endsWith(QLatin1String(".sl1")))
            return ReadFile(file.toStdString());
        std::string settings(100'000, '\0');
        zip_t* const archive = zip_open(file.toLocal8Bit().constData(), ZIP_RDONLY, nullptr);
        zip_file_t* const member = zip_fopen(archive, "prusaslicer.ini", 0);
        settings.resize(
            static_cast<std::size_t>(std::max<zip_int64_t>(zip_fread(member, settings.data(), settings.size()), 0)));
        zip_fclose(member);
        zip_discard(archive);
        return settings;
    }

    std::string message;
};

using RealReceivedConfigurationTest = WithEngine<ReceivedConfigurationTest>;

} // namespace

TEST(ReceivedConfiguration, WhatPrintersSayComesBackThroughTheHost)
{
    std::vector<std::string> texts{MakeProfile(), MakeFullProfile()};
    for (const auto& [name, text] : GetShippedProfiles())
        texts.push_back(text);
    const ScopedTempDir folder;
    for (const std::string& text : texts) {
        const MachineProfile profile = ReadProfile(text);
        SCOPED_TRACE(profile.name);
        std::vector<std::string> notes;
        const MachineSettings settings = ReadMachineSettings("/nowhere", profile, notes);
        const auto file = folder.GetAbsoluteDir() / "machine.pldf";
        WriteFile(file, MakePldf(profile, settings));
        const auto loaded = MachineLayer::CreateMachineData();
        MachineLayer::Utilities::LoadMachineDataPLDF(file, *loaded);
        const auto converted = MachineLayer::CreateMachineData();
        MachineLayer::PLDF::ConvertFromPLDF(*converted, MakeMachineParameters(profile, settings), {true, true, true});
        EXPECT_EQ(converted->Get(), loaded->Get());

        TavAM::Platform platform;
        SetMachineConfiguration(platform, MachineConfigurationFromMachineData(*loaded));
        const auto received = ReadReceivedConfiguration(platform);
        const Data::MachineConfiguration& own = profile.configuration;
        Data::Nesting nesting = own.nesting.value_or(Data::Nesting());
        nesting.partToPart = settings.clearances.partToPart;
        nesting.partToWall = settings.clearances.partToWall;
        EXPECT_EQ(received.configuration.nesting, nesting);
        EXPECT_EQ(received.configuration.supportProfiles, own.supportProfiles);
        EXPECT_EQ(received.configuration.partExport, own.partExport);
        Data::Baseplate plate = received.configuration.baseplate.value();
        EXPECT_TRUE(plate.width && (plate.depth || plate.shape == Data::BaseplateShape::Circle));
        plate.shape = {};
        plate.width.reset();
        plate.depth.reset();
        plate.material.clear();
        EXPECT_EQ(plate, own.baseplate.value_or(Data::Baseplate()));
        EXPECT_THAT(received.notes, ::testing::IsEmpty());
    }
}

TEST(ReceivedConfiguration, ThePlatformsValuesComeBeforeTheMachines)
{
    const MachineProfile profile = ReadProfile(MakeFullProfile());
    const Clearances ofSettings{5, 6};
    const auto none = GetPlatformRules({}, profile, ofSettings);
    EXPECT_EQ(none.clearances.partToPart, 5);
    EXPECT_EQ(none.clearances.partToWall, 6);
    EXPECT_EQ(none.turns, RotationFreedom::Any);
    EXPECT_EQ(none.turnStep, 30);
    // Two of its own, and three margins.
    EXPECT_EQ(none.zones.size(), 5U);
    // The line is what the engine makes rather than the contour, and lacks a gap.
    EXPECT_EQ(none.engineSettings, (EngineSettings{{"duplicate_distance", "5"}}));

    const std::string angle = "<CriticalAngle unit=\"deg\">";
    const std::string supports =
        Supports(Support("a", "Point", Millimetres("Spacing", "1")) +
                 Support("b", "Block",
                         angle + "44.6</CriticalAngle><Contact>" + Millimetres("Gap", "0") + "</Contact><Wings/>"));
    const auto some = GetPlatformRules(
        Carry(MakeDocument(
            supports + Nesting(Millimetres("PartToWallClearance", " +0.5 "), Zone(3, 3)) +
            Section("ParametersBaseplate", "2023/03", "<Shape>Circle</Shape>" + Millimetres("MarginBack", "8")) +
            Section("ParametersZCompensation", "2023/03", ""))),
        profile, ofSettings);
    EXPECT_EQ(some.clearances.partToPart, 5);
    EXPECT_EQ(some.clearances.partToWall, 0.5);
    EXPECT_EQ(some.turns, RotationFreedom::AroundZ);
    ASSERT_EQ(some.zones.size(), 5U);
    EXPECT_GT(some.zones[0].maxX - some.zones[0].minX, 0.01);
    EXPECT_EQ(some.zones[4].name, L"back margin");
    EXPECT_EQ(some.zones[4].minY, 92);
    EXPECT_EQ(some.engineSettings, (EngineSettings{{"duplicate_distance", "5"},
                                                   {"support_material_contact_distance", "0"},
                                                   {"support_material_threshold", "45"}}));
    EXPECT_THAT(
        some.notes,
        ElementsAre("The slicing engine has no setting for the configuration's Z compensation; it is not applied.",
                    "In the platform's machine configuration 'SupportProfiles/SupportProfile[2]/Wings' is "
                    "not known."));

    // The profile in use comes before the others of its kind; without an angle the engine looks for one itself.
    const std::string use = "<ProfilesInUse><Use><SupportType>Block</SupportType><Profile>c</Profile></Use>"
                            "<Use><SupportType>Tree</SupportType><Profile>gone</Profile></Use></ProfilesInUse>";
    const auto used =
        GetPlatformRules(Carry(MakeDocument(Supports(
                             Support("b", "Block", Millimetres("Spacing", "2")) +
                             Support("c", "Block", Millimetres("Spacing", "3") + angle + "0</CriticalAngle>") + use))),
                         profile, ofSettings);
    EXPECT_THAT(used.engineSettings, Contains(Pair("support_material_spacing", "3")));
    EXPECT_THAT(used.engineSettings, Not(Contains(Pair("support_material_threshold", testing::_))));
    EXPECT_THAT(used.notes, ElementsAre("The slicing engine knows no critical angle of 0°; it is not applied."));
}

TEST(ReceivedConfiguration, ADocumentThatCannotBeReadIsRefusedInOneSentence)
{
    const std::string gap = "<PartToPartClearance unit=\"mm\">3</PartToPartClearance>";
    const std::string good = MakeDocument(Nesting(gap));
    EXPECT_NO_THROW(ReadReceivedConfiguration(Carry(good)));
    EXPECT_NO_THROW(ReadReceivedConfiguration(Carry(MakeDocument(Nesting("", TestSupport::Repeat(Zone(1, 2), 1000))))));
    const std::pair<std::string, const char*> rows[] = {
        {"", "no element found"},
        {good.substr(0, 300), "Line 1: "},
        {MakeDocument(""), "It has no section."},
        {Replaced(good, "Nesting/2023/03", "Nesting/2024/01"),
         "'Nesting' has the format of 2024/01, which is newer than this program"},
        {Replaced(good, ">3<", ">-1<"), "Nesting/PartToPartClearance is -1, which is not from 0"},
        {MakeDocument(Nesting("", Zone(5, 4))), "Nesting/NoBuildZone[1] ends before it begins."},
        {MakeDocument(Nesting("", TestSupport::Repeat(Zone(1, 2), 1001))), "There are more than 1000 no-build zones."},
    };
    for (const auto& [document, reason] : rows) {
        const auto failure = GetFailure([&, &text = document] { ReadReceivedConfiguration(Carry(text)); });
        EXPECT_EQ(failure.code, ErrorCode::FileError) << reason;
        EXPECT_THAT(failure.text,
                    AllOf(HasSubstr("The machine configuration of the platform cannot be read: "), HasSubstr(reason)));
        EXPECT_LT(failure.text.size(), 300U);
    }
}

TEST_F(RealReceivedConfigurationTest, TheEngineIsGivenWhatThePlatformCarries)
{
    Start(Replaced(MakeProfile(), "\"perimeters\": 2", R"("perimeters": 2, "support_material_spacing": 1.5)"));
    const auto platform = MakePlatform({MakePart(L"tile", ToRepresentation(MakeBox(20, 20, 0, 10, 10, 0.6F)))});
    const auto carry = [&](const std::string& i_kind, const std::string& i_number) {
        return Carry(
            MakeDocument(Supports(Support("down", i_kind,
                                          Millimetres("Spacing", i_number) + "<CriticalAngle unit=\"deg\">" + i_number +
                                              "0</CriticalAngle><Contact>" + Millimetres("Width", "0." + i_number) +
                                              Millimetres("Penetration", "0.0" + i_number) +
                                              Millimetres("Gap", "0." + i_number) + "</Contact>")) +
                         Nesting(Millimetres("PartToPartClearance", i_number)) +
                         Section("ParametersZCompensation", "2023/03", "")),
            platform);
    };
    EXPECT_THAT(Build(platform), AllOf(HasSubstr("\n; support_material_spacing = 1.5\n"),
                                       HasSubstr("\n; support_material_threshold = 0\n"),
                                       HasSubstr("\n; support_material_contact_distance = 0.2\n"),
                                       HasSubstr("\n; duplicate_distance = 3\n")));
    EXPECT_THAT(message, Not(HasSubstr("Z compensation")));
    for (const std::string number : {"4", "6"}) {
        EXPECT_THAT(Build(carry("Block", number)),
                    AllOf(HasSubstr("\n; support_material_spacing = " + number + '\n'),
                          HasSubstr("\n; support_material_threshold = " + number + "0\n"),
                          HasSubstr("\n; support_material_contact_distance = 0." + number + '\n'),
                          HasSubstr("\n; duplicate_distance = " + number + '\n')));
        EXPECT_THAT(message, HasSubstr("no setting for the configuration's Z compensation"));
        EXPECT_THAT(Build(carry("Point", number), ResinId),
                    AllOf(HasSubstr("\nsupport_points_minimal_distance = " + number + '\n'),
                          HasSubstr("\nsupport_head_front_diameter = 0." + number + '\n'),
                          HasSubstr("\nsupport_head_penetration = 0.0" + number + '\n')));
    }
    EXPECT_THAT(Build(platform, ResinId), HasSubstr("\nsupport_points_minimal_distance = 1.2\n"));
}

TEST_F(ReceivedConfigurationTest, PartsKeepTheDistancesAndStayOutOfTheZonesThatThePlatformCarries)
{
    Start();
    const auto platform = MakePlatform({MakeCube(L"a", 10), MakeCube(L"b", 30)});
    for (const double clearance : {4, 9}) {
        const auto carried =
            Carry(MakeDocument(Nesting(Millimetres("PartToPartClearance", std::to_string(clearance)), Zone(-9, 50))),
                  platform);
        Run(CommandType::AutomaticPlacement, carried);
        const auto placed = ReadOutput();
        const auto a = placed.GetParts()[0].GetBoundingBox();
        const auto b = placed.GetParts()[1].GetBoundingBox();
        EXPECT_NEAR(std::max(std::abs(a.min.x - b.min.x), std::abs(a.min.y - b.min.y)), 15 + clearance, 0.05);
        EXPECT_GT(std::min(a.min.x, b.min.x), 49.99);
        EXPECT_THAT(Run(CommandType::AdditionalForPlatform, placed).message, HasSubstr("none collide"));
    }
    const std::string refusal = "These parts enter the no-build zone 'clamp': 'b'.";
    const auto blocked = Carry(MakeDocument(Nesting("", Zone(27, 32))), platform);
    EXPECT_EQ(Fail(CommandType::Build, blocked).text, refusal);
    EXPECT_EQ(Fail(CommandType::AdditionalForPlatform, blocked).text, "The platform cannot be built:\n" + refusal);
    // 30 mm to the edge leave 40 mm, less than two cubes and what is between them.
    const auto narrow = Carry(MakeDocument(Nesting(Millimetres("PartToWallClearance", "34"))), platform);
    EXPECT_THAT(Fail(CommandType::AutomaticPlacement, narrow).text,
                HasSubstr("with a clearance of 3 mm, 34 mm to the edge of the bed, and nothing was moved: 'b'."));

    for (const auto type : {CommandType::Build, CommandType::ConsumptionEstimations, CommandType::AutomaticPlacement,
                            CommandType::AdditionalForPlatform}) {
        const auto failure = Fail(type, Carry("<Scene/>", platform));
        EXPECT_EQ(failure.code, ErrorCode::FileError);
        EXPECT_THAT(failure.text, HasSubstr("The machine configuration of the platform cannot be read: "));
    }
}
