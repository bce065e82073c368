#include "workbench/scene/SceneBook.h"
#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/base/FileHandover.h"
#include "workbench/scene/FreePlaces.h"
#include "workbench/scene/RecoveryKeeper.h"

#include "vexlorcore/Application.h"

#include <QDirIterator>
#include <QLocalSocket>
#include <QSignalSpy>

#include <atomic>
#include <thread>

namespace {

using namespace Workbench;
using TestSupport::MakePart;
using TestSupport::ReadFile;
using TestSupport::WaitFor;
using TestSupport::WriteFile;

class SceneBookTest : public TestSupport::WorkbenchFixture
{
protected:
    SceneBookTest()
    {
        QObject::connect(&_book, &SceneBook::Failed, [this](const QString& i_sentence) { _failures << i_sentence; });
    }
    /// One undo step, as an edit of the plate is.
    void _Move(VexlorCore::DataSet& io_scene, double i_x)
    {
        auto& part = io_scene.GetParts().at(0);
        const auto former = part.GetPlacement();
        VexlorCore::Application::GetInstance()->GetOperationManager()->Execute(
            L"Move", static_cast<std::uint32_t>(VexlorCore::DatabaseAction::PartsMoved),
            [&] { part.SetPlacement(TavAM::Transform::Translation(i_x, 0, 0)); },
            [&io_scene, former] { io_scene.GetParts().at(0).SetPlacement(former); });
    }
    static double _GetX(const VexlorCore::DataSet& i_scene) { return i_scene.GetParts().at(0).GetPlacement().rows[3]; }
    bool _Rest()
    {
        return WaitFor([this] { return !_book.IsBusy(); });
    }

    SceneBook _book{*_host, *_preferences};
    QStringList _failures;
};

TEST_F(SceneBookTest, EachSceneHasItsOwnStepsAndATrueMark)
{
    auto& first = _book.New();
    auto& second = _book.New();
    EXPECT_EQ(_book.GetName(second), QStringLiteral("Scene 2"));
    for (auto* const scene : {&first, &second})
        scene->GetParts() = {MakePart(L"part")};
    auto& history = _book.GetHistory();
    history.SetSaved(first, GetFingerprint(first.GetPlatform()));
    _Move(first, 1);
    _Move(second, 7);
    _Move(first, 2);
    EXPECT_FALSE(_book.IsSaved(first));
    history.Undo(first);
    history.Undo(first); // past the step of the other scene
    EXPECT_EQ(_GetX(first), 0);
    EXPECT_EQ(_GetX(second), 7);
    EXPECT_TRUE(_book.IsSaved(first)); // nothing is lost by closing it
    EXPECT_EQ(history.GetUndoName(&first), std::nullopt);
    history.Redo(first);
    EXPECT_EQ(_GetX(first), 1);
    history.Undo(first);
    history.Redo(first);
    history.Redo(first);
    EXPECT_EQ(_GetX(first), 2);
    EXPECT_EQ(history.GetRedoName(&first), std::nullopt);
    history.Undo(first);
    _Move(first, 3); // another way: what was undone is gone
    EXPECT_EQ(history.GetRedoName(&first), std::nullopt);
    _book.Close(second);
    history.Undo(first);
    EXPECT_EQ(_GetX(first), 1);
}

TEST_F(SceneBookTest, SavesAndOpensWithoutHarmingWhatWasThere)
{
    auto& scene = _book.New();
    scene.GetParts() = {MakePart(L"part")};
    _book.GetHistory().Look(scene);
    const QString file = _File("kept/platform.TavAMX");
    std::filesystem::create_directories(_Path("kept"));
    bool isDone = false;
    _book.Save(scene, file, [&] { isDone = true; });
    _Move(scene, 5); // while it is written
    ASSERT_TRUE(WaitFor([&] { return isDone; }));
    EXPECT_FALSE(_book.IsSaved(scene));
    EXPECT_EQ(SceneBook::GetFile(scene), file);
    EXPECT_EQ(_preferences->GetRecentFiles(), QStringList{file});

    const std::string bytes = ReadFile(file.toStdString());
    std::filesystem::permissions(_Path("kept"),
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    _book.Save(scene, _File("missing/platform.TavAMX"));
    ASSERT_TRUE(_Rest());
    std::filesystem::permissions(_Path("kept"), std::filesystem::perms::owner_all);
    EXPECT_EQ(_failures.size(), 1);
    EXPECT_EQ(ReadFile(file.toStdString()), bytes);

    _book.Open(file); // open already: it comes to the front
    EXPECT_EQ(_book.GetScenes().size(), 1U);
    _book.Close(scene);
    _book.Open(file);
    ASSERT_TRUE(WaitFor([&] { return _book.GetActive() != nullptr; }));
    EXPECT_EQ(_GetX(*_book.GetActive()), 0);
    EXPECT_TRUE(_book.IsSaved(*_book.GetActive()));

    _failures.clear();
    WriteFile(_Path("bad.TavAMX"), "no package");
    _book.Take({_File("bad.TavAMX"), _File("none.TavAMX"), _File("letter.doc")});
    ASSERT_TRUE(_Rest());
    EXPECT_EQ(_failures.size(), 3);
    EXPECT_EQ(_book.GetScenes().size(), 1U);
}

TEST_F(SceneBookTest, ImportsInOneStepAndAsksWhereTheFileLeavesItOpen)
{
    auto& scene = _book.New();
    std::vector<std::vector<double>> asked;
    _book.SetAskUnit([&](const ImportedFile&, const std::vector<double>& i_factors) {
        asked.push_back(i_factors);
        return i_factors.front();
    });
    double offered = 1;
    _book.SetAskScale([&](const std::vector<TavAM::Part>&, double i_factor) {
        offered = i_factor;
        return true;
    });
    _book.Take({_WriteCube("mm.stl", 20), _WriteCube("inch.stl", 0.75), _WriteCube("long.stl", 400)});
    ASSERT_TRUE(_Rest());
    ASSERT_EQ(scene.GetParts().size(), 3U);
    EXPECT_EQ(asked, (std::vector<std::vector<double>>{{25.4, 1000, 10, 1}}));
    EXPECT_DOUBLE_EQ(offered, 0.5); // of the 200 mm that stand for a machine
    EXPECT_NEAR(GetSize({scene.GetParts()[1]}).x, 0.75 * 25.4 * 0.5, 1e-3);
    EXPECT_EQ(scene.GetSelection().size(), 3U);
    for (const auto& part : scene.GetParts())
        EXPECT_NEAR(part.GetBoundingBox().min.z, 0, 1e-6);
    EXPECT_EQ(_book.GetHistory().GetUndoName(&scene), QStringLiteral("Import parts"));
    _book.GetHistory().Undo(scene);
    EXPECT_TRUE(scene.GetParts().empty());
    EXPECT_TRUE(_book.IsSaved(scene));

    WriteFile(_Path("bad.stl"), "solid x\nfacet");
    _book.Take({_WriteCube("good.stl", 20), _File("bad.stl")});
    ASSERT_TRUE(_Rest());
    EXPECT_EQ(_failures.size(), 1);
    EXPECT_TRUE(scene.GetParts().empty()); // nothing in part
}

TEST_F(SceneBookTest, PutsPartsBesideThoseThatAreThere)
{
    const MachineService::BuildVolume volumes[] = {{0, 0, 100, 100, 100, false}, {-60, -60, 60, 60, 100, true}};
    for (const auto& volume : volumes) {
        const std::vector<TavAM::Part> there{MakePart(L"a", 45, 45)};
        std::vector<TavAM::Part> parts(8, MakePart(L"b"));
        PlaceBeside({there.front().GetBoundingBox()}, parts, volume);
        parts.insert(parts.begin(), there.begin(), there.end());
        for (std::size_t a = 1; a < parts.size(); ++a) {
            const auto box = parts[a].GetBoundingBox();
            EXPECT_TRUE(box.min.x >= volume.minX && box.max.x <= volume.maxX) << a;
            for (std::size_t b = 0; b < a; ++b) {
                const auto other = parts[b].GetBoundingBox();
                EXPECT_TRUE(box.min.x >= other.max.x + 3 || other.min.x >= box.max.x + 3 ||
                            box.min.y >= other.max.y + 3 || other.min.y >= box.max.y + 3)
                    << a << ' ' << b;
            }
        }
    }
}

TEST_F(SceneBookTest, KeepsUnsavedScenesForTheNextRun)
{
    const QString folder = _File("recovery");
    const auto count = [&] {
        QDirIterator copies(folder, {QStringLiteral("*.TavAMX")}, QDir::Files, QDirIterator::Subdirectories);
        int files = 0;
        for (; copies.hasNext(); copies.next())
            ++files;
        return files;
    };
    auto living = std::make_unique<RecoveryKeeper>(_book, folder, std::chrono::milliseconds(1));
    auto& scene = _book.New();
    scene.GetParts() = {MakePart(L"part")};
    _Move(scene, 5);
    ASSERT_TRUE(WaitFor([&] { return count() == 1; }));
    RecoveryKeeper next(_book, folder, std::chrono::hours(1));
    EXPECT_TRUE(next.TakeLeft().empty()); // of a run that lives
    // A run that ended without a word: its folder stays, its lock does not hold.
    std::filesystem::copy(_Path("recovery"), _Path("crashed"), std::filesystem::copy_options::recursive);
    for (const auto& entry : std::filesystem::recursive_directory_iterator(_Path("crashed"))) {
        if (entry.path().filename() == "lock")
            std::filesystem::remove(entry.path());
    }
    _book.Close(scene);
    EXPECT_TRUE(WaitFor([&] { return count() == 0; }));
    living.reset();

    RecoveryKeeper after(_book, _File("crashed"));
    const auto left = after.TakeLeft();
    ASSERT_EQ(left.size(), 1U);
    EXPECT_EQ(left[0].name, QStringLiteral("Scene 1"));
    _book.Recover(left[0].copy, left[0].file);
    ASSERT_TRUE(WaitFor([&] { return _book.GetActive() != nullptr; }));
    EXPECT_EQ(_GetX(*_book.GetActive()), 5);
    EXPECT_FALSE(_book.IsSaved(*_book.GetActive()));
    RecoveryKeeper::Remove(left);
    // Damaged, and a folder that cannot be written: the window works on.
    WriteFile(_Path("bad.TavAMX"), "no package");
    _book.Recover(_File("bad.TavAMX"), {});
    WriteFile(_Path("file"), "");
    RecoveryKeeper none(_book, _File("file"));
    _Move(*_book.GetActive(), 6);
    none.KeepNow();
    ASSERT_TRUE(_Rest());
    EXPECT_EQ(_failures.size(), 1);
}

TEST_F(SceneBookTest, TakesTheFilesOfALaterStart)
{
    const QString name = _File("handover");
    EXPECT_FALSE(FileHandover::Send(name, {QStringLiteral("/a")}));
    FileHandover window;
    ASSERT_TRUE(window.Listen(name));
    QSignalSpy arrived(&window, &FileHandover::Arrived);
    QLocalSocket liar;
    liar.connectToServer(name);
    liar.write("no list\n");
    std::atomic<bool> wasTaken = false;
    std::jthread later([&] { wasTaken = FileHandover::Send(name, {QStringLiteral("/a"), QStringLiteral("/b ä")}); });
    EXPECT_TRUE(WaitFor([&] { return wasTaken.load(); }));
    ASSERT_EQ(arrived.count(), 1);
    EXPECT_EQ(arrived[0][0].toStringList(), (QStringList{QStringLiteral("/a"), QStringLiteral("/b ä")}));
}

} // namespace
