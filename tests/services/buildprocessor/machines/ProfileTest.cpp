#include "services/ServiceFiles.h"

#include "buildprocessor/base/FolderWatcher.h"
#include "buildprocessor/machines/ProfileFolder.h"
#include "buildprocessor/machines/ProfileInstaller.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/machines/QueueStates.h"
#include "buildprocessor/machines/ShippedProfiles.h"
#include "contract/JobFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <set>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using Testing::MakeProfile;
using Testing::Replaced;
using ::testing::ThrowsMessage;
using Testing::WriteFile;

struct Damage
{
    const char* what;
    const char* by;
    const char* message; ///< behind the file's name
};

TEST(Profile, DamagedFieldIsNamedWithItsFileAndPath)
{
    const Damage damages[] = {
        {R"("width": 100)", R"("width": "100")", "field bed.width must be a number from 10 to 2000"},
        {R"("width": 100)", R"("width": 1e300)", "field bed.width must be a number from 10 to 2000"},
        {R"("width": 100, )", "", "field bed.width is missing"},
        {R"("width": 100)", R"("width": 100, "widht": 3)", "field bed.widht is not known"},
        {R"("width": 100)", R"("width": 100, "w\nx": 3)", "field bed.w?x is not known"},
        {R"("shape": "rectangle")", R"("shape": "oval")",
         R"(field bed.shape must be one of "rectangle", "circle", "polygon")"},
        {R"({"shape": "rectangle", "width": 100, "depth": 100})", "7", "field bed must be an object"},
        {R"({"shape": "rectangle", "width": 100, "depth": 100})",
         R"({"shape": "polygon", "points": [{"x": 0, "y": 0}, {"x": 0, "y": 9}, {"x": 9, "y": 0}]})",
         "field bed.points must go round a convex polygon counter-clockwise"},
        {R"("height": 50)", R"("height": null)", "field height must be a number from 10 to 2000"},
        {"11111111-", "", "field id must be a uuid of 36 characters that is not nil"},
        {"Test printer", " ", "field name must be a text of 1 to 200 characters without control characters"},
        {R"(Test printer)", R"(a\nb)", "field name must be a text of 1 to 200 characters without control characters"},
        {R"("density": 1.25)", R"("density": -1)", "field materials[0].density must be a number from 0.1 to 25"},
        {"[0.3]", "[0.3, 0.31]", "field layerHeights[1] must be a number from 0.02 to 0.3"},
        {R"("layerHeights")", R"("nozzles": [0.4, 0.25], "layerHeights")",
         "field layerHeights[0] must be a number from 0.02 to 0.1875"},
        {R"("layerHeights")", R"("nozzles": [0.6], "layerHeights")",
         "field nozzles must hold the number of the field nozzleDiameter"},
        {R"("strategies")", R"("plates": [{"name": "Glass"}, {"name": "Glass"}], "strategies")",
         "field plates[1].name must differ from the names of the other plates"},
        {R"("strategies")", R"("plates": [{"name": "Glass", "firstExposureFactor": 2}], "strategies")",
         "field plates[0].firstExposureFactor is not known"},
        {"[0.3]", "[]", "field layerHeights must be a list of 1 to 20 items"},
        {R"("perimeters": 2)", R"("post_process": "/bin/true")",
         "field engine.post_process is not a setting of the engine that a profile may set"},
        {R"("perimeters": 2)", R"("perimeters": [2])",
         "field engine.perimeters must be a text of at most 10000 characters without control characters, a number, "
         "true or false"},
        {R"("running")", R"("asleep")", R"(field queueState must be one of "running", "paused", "error", "offline")"},
        {R"("engineDeadline")", R"("nesting": {"partToPart": 0}, "engineDeadline")",
         "field nesting.partToPart must be a number from 0.1 to 100"},
        {R"("engineDeadline")",
         R"("nesting": {"noBuildZones": [{"name": "a", "minX": 5, "maxX": 4}]}, "engineDeadline")",
         "field nesting.noBuildZones[0].maxX must be a number from 5 to 2000"},
        {R"("engineDeadline")", R"("nesting": {"gap": 1}, "engineDeadline")", "field nesting.gap is not known"},
        {R"("engineDeadline")", R"("partExport": {"formats": ["3MF"], "scale": 1}, "engineDeadline")",
         "field partExport.scale is not known"},
        {R"("engineDeadline")", R"("baseplate": {"margin": 1}, "engineDeadline")",
         "field baseplate.margin is not known"},
        {R"("engineDeadline")",
         R"("supports": [{"surfaceType": "a", "type": "tree"}, {"surfaceType": "a", "type": "line"}], "engineDeadline")",
         "field supports[1].surfaceType must differ from those of the other supports"},
        {R"("engineDeadline")", R"("partExport": {"formats": ["STEP"]}, "engineDeadline")",
         R"(field partExport.formats must hold some of "3MF", "STL", "OBJ", "PLY")"},
        {R"("engineDeadline": 60)", R"("engineDeadline": 0)", "field engineDeadline must be a number from 1 to 86400"},
        {R"("materials")", R"("defaultMaterial": "ABS", "materials")",
         "field defaultMaterial must be the name of one of the materials"},
    };
    for (const Damage& damage : damages) {
        EXPECT_THAT([&] { ReadProfile(Replaced(MakeProfile(), damage.what, damage.by), "profiles/foo.json"); },
                    ThrowsMessage<ProfileError>(std::string("profiles/foo.json: ") + damage.message));
    }
    for (const std::string& text : {std::string(), MakeProfile().substr(0, 200), std::string("[]"),
                                    std::string(1'000'001, ' '), std::string(100'000, '[')}) {
        EXPECT_THAT([&] { ReadProfile(text, "profiles/foo.json"); },
                    ThrowsMessage<ProfileError>(::testing::StartsWith("profiles/foo.json: ")))
            << text.substr(0, 20);
    }
}

TEST(Profile, ShippedPrintersAreReadAndDifferInTheirIds)
{
    std::set<boost::uuids::uuid> ids;
    for (const auto& [name, text] : GetShippedProfiles()) {
        const auto data = ToMachineData(ReadProfile(text, name));
        ids.insert(data.id);
        EXPECT_TRUE(data.configurationTime) << name;
        EXPECT_EQ(data.buildVolume->isCircular, text.find("\"circle\"") != std::string::npos) << name;
    }
    EXPECT_GE(ids.size(), 4U);
    EXPECT_EQ(ids.size(), GetShippedProfiles().size());
}

TEST(ProfileFolder, TakesTheTimesOfFilesAsTheyAre)
{
    const ScopedTempDir folder;
    const auto path = folder.GetAbsoluteDir() / "a.json";
    WriteFile(path, MakeProfile("11111111-2222-3333-4444-55555555555a"));
    const std::pair<timespec, std::int64_t> rows[] = {
        {{1'000'000'000, 123'456'789}, 10'000'000'001'234'567},
        {{-2, 500'000'000}, -15'000'000},                 // 1969
        {{-10'000'000'000, 0}, -100'000'000'000'000'000}, // 1653
        {{10'413'792'000, 0}, 104'137'920'000'000'000},   // 2300
    };
    for (const auto& [time, ticks] : rows) {
        const timespec times[] = {time, time};
        ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        struct stat info = {};
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        if (info.st_mtim.tv_sec != time.tv_sec)
            continue; // the file system cannot keep it
        ProfileFolder profiles(folder.GetAbsoluteDir());
        std::vector<std::string> problems;
        const auto read = profiles.Scan(problems);
        ASSERT_FALSE(read.empty());
        ASSERT_TRUE(read.front().time);
        EXPECT_EQ(read.front().time->time_since_epoch().count(), ticks);
    }
}

TEST(ProfileFolder, TellsADamagedFileOncePerContentAndKeepsItsLastGoodProfile)
{
    const ScopedTempDir folder;
    ProfileFolder profiles(folder.GetAbsoluteDir());
    const auto scan = [&](const std::string& i_content) {
        WriteFile(folder.GetAbsoluteDir() / "a.json", i_content);
        std::vector<std::string> problems;
        EXPECT_EQ(profiles.Scan(problems).front().profile.name, "Test printer");
        return problems;
    };
    const auto good = MakeProfile("11111111-2222-3333-4444-55555555555a");
    using namespace ::testing;
    EXPECT_THAT(scan(good), IsEmpty());
    EXPECT_THAT(scan("{"), ElementsAre(AllOf(StartsWith("profiles/a.json: not JSON"),
                                             EndsWith("; its last good profile stays in use"))));
    EXPECT_THAT(scan("{"), IsEmpty());
    EXPECT_THAT(scan("{}"), SizeIs(1));
    EXPECT_THAT(scan(good), IsEmpty());
}

TEST(ProfileFolder, TellsADamagedQueueStateOnceAndOneThatCannotGo)
{
    const ScopedTempDir folder;
    const boost::uuids::uuid machine = {1};
    const auto file = folder.GetAbsoluteDir() / (to_string(machine) + ".queue");
    WriteFile(file, "asleep");
    ProfileFolder profiles(folder.GetAbsoluteDir());
    std::vector<std::string> problems;
    profiles.Scan(problems);
    EXPECT_THAT(problems, ::testing::ElementsAre(::testing::EndsWith("; the state is left out")));
    problems.clear();
    profiles.Scan(problems);
    EXPECT_THAT(problems, ::testing::IsEmpty());
    std::filesystem::remove(file);
    std::filesystem::create_directories(file / "folder");
    EXPECT_THAT([&] { SetQueueState(folder.GetAbsoluteDir(), machine, {}); },
                ThrowsMessage<CommunicationException>(::testing::HasSubstr("cannot be removed")));
}

TEST(ProfileInstaller, TakesWholeProfilesAndNeverAnotherPrintersFile)
{
    const std::string first = "11111111-2222-3333-4444-55555555555a";
    const std::string second = "11111111-2222-3333-4444-55555555555b";
    const ScopedTempDir dir;
    const auto folder = dir.GetAbsoluteDir() / "not/there/yet";
    const auto install = [&](const char* ip_name, const std::string& i_text, const std::string& i_fault = {}) {
        WriteFile(dir.GetAbsoluteDir() / ip_name, i_text);
        try {
            return InstallProfile(dir.GetAbsoluteDir() / ip_name, folder,
                                  [&](const MachineProfile&) { return i_fault; });
        } catch (const ProfileError& error) {
            return std::string(error.what());
        }
    };
    EXPECT_THAT(install("mine.json", "{"), ::testing::StartsWith("'mine.json': not JSON at byte "));
    EXPECT_EQ(install("mine.json", MakeProfile(first), "field engine.x is 'y'"), "'mine.json': field engine.x is 'y'");
    EXPECT_EQ(install("mine.txt", MakeProfile(first)),
              "'mine.txt': a profile's name ends with '.json' and begins with no dot");
    EXPECT_FALSE(std::filesystem::exists(folder)) << "nothing is made for what is refused";
    EXPECT_EQ(install("mine.json", MakeProfile(first)), "Test printer");
    EXPECT_EQ(
        install("mine.json", MakeProfile(second)),
        "'mine.json': the folder of profiles has a file of this name, which is of another printer. Rename the new "
        "file.");
    EXPECT_EQ(install("newer.json", Replaced(MakeProfile(first), "Test printer", "Renamed")), "Renamed");
    EXPECT_FALSE(std::filesystem::exists(folder / "newer.json")) << "one printer, one file";
    EXPECT_NE(TestSupport::ReadFile(folder / "mine.json").find("Renamed"), std::string::npos);
}

TEST(FolderWatcher, WithoutAWatchTheFolderIsReadNowAndAgainAndWhoWakesNeedNotWait)
{
    using Event = FolderWatcher::Event;
    // A name that is too long can be watched as little as any where the system has no watches left.
    FolderWatcher watcher(std::filesystem::temp_directory_path() / std::string(300, 'x'));
    const auto wait = [&] {
        const auto begin = std::chrono::steady_clock::now();
        watcher.Arm();
        EXPECT_FALSE(watcher.IsWatching());
        const Event event = watcher.Wait();
        return std::pair(event, std::chrono::steady_clock::now() - begin);
    };
    const auto pause = std::chrono::milliseconds(500);
    for (int count = 0; count < 2; ++count) {
        const auto [event, time] = wait();
        EXPECT_EQ(event, Event::Changed);
        EXPECT_GE(time, pause - std::chrono::milliseconds(5));
        EXPECT_LT(time, 2 * pause);
    }
    watcher.Wake();
    const auto [woken, untilWoken] = wait();
    EXPECT_EQ(woken, Event::Woken);
    watcher.Stop();
    const auto [stopped, untilStopped] = wait();
    EXPECT_EQ(stopped, Event::Stopped);
    EXPECT_LT(untilWoken + untilStopped, pause);
}

TEST(JobName, BecomesAFileNameThatStaysWhereItBelongs)
{
    const std::pair<std::string, std::string> names[] = {
        {"bracket.final", "bracket.final"},
        {"../x", "_x"},
        {"/etc/passwd", "_etc_passwd"},
        {"..", "Untitled"},
        {"", "Untitled"},
        {" . ", "Untitled"},
        {".hidden", "hidden"},
        {"a\nb\x01", "ab"},
        {"\u202Egpj.exe", "gpj.exe"},
        {"con", "_con"},
        {"NUL.txt", "_NUL.txt"},
        {"Teil ä 部品", "Teil ä 部品"},
        {"a:b*c?", "a_b_c_"},
        {std::string("a\0b", 3), "ab"},
        {std::string(300, 'x'), std::string(200, 'x')},
    };
    for (const auto& [text, name] : names)
        EXPECT_EQ(ToFileName(text), name) << text;
    std::string wide;
    for (int count = 0; count < 300; ++count)
        wide += "部";
    EXPECT_EQ(ToFileName(wide), wide.substr(0, 198));
}

TEST(JobName, AMachineFileIsLeftByALinkOrACopy)
{
    const ScopedTempDir folder;
    const auto file = folder.GetAbsoluteFileNameInTempDir("a.gcode");
    const auto output = folder.GetAbsoluteFileNameInTempDir("output");
    std::filesystem::create_directory(output);
    WriteFile(file, "G1");
    LeaveMachineFile(file, output, {});
    EXPECT_EQ(std::filesystem::hard_link_count(file), 2u);
    // No link can take a name that is there.
    std::filesystem::remove(output / "a.gcode");
    WriteFile(output / "a.gcode", "of another run");
    LeaveMachineFile(file, output, {});
    EXPECT_EQ(std::filesystem::hard_link_count(file), 1u);
    EXPECT_EQ(Testing::ReadFile(output / "a.gcode"), "G1");
    EXPECT_EQ(Testing::GetFailure([&] { LeaveMachineFile(file, output / "absent", {}); }).code, ErrorCode::FileError);
}

} // namespace
