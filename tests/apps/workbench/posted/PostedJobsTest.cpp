#include "workbench/posted/PostedJobs.h"
#include "apps/workbench/ControlNames.h"
#include "apps/workbench/WorkbenchFixture.h"
#include "apps/workbench/posted/FakeJobSource.h"
#include "workbench/posted/PostedPanel.h"
#include "workbench/posted/PostedWords.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

namespace {

using namespace Workbench;
using Hosting::Jobs::Action;
using TestSupport::FakeManager;
using TestSupport::WaitFor;
using State = PostedJobs::State;

class PostedJobsTest : public ::testing::Test
{
protected:
    void Start(std::chrono::milliseconds i_patience = std::chrono::seconds(15))
    {
        _jobs = std::make_unique<PostedJobs>(_manager.MakeSource(), i_patience);
    }
    bool StartAndWait()
    {
        Start();
        return WaitFor([this] { return _jobs->GetState() == State::There; });
    }
    void Fill(int i_count)
    {
        for (int number = 1; number <= i_count; ++number)
            _manager.Set(FakeManager::MakeJob(number, "completed", "completed"), false);
    }
    std::string Show(int i_row, int i_column) const
    {
        return _jobs->index(i_row, i_column).data().toString().toStdString();
    }
    std::vector<std::int64_t> GetNumbers() const
    {
        std::vector<std::int64_t> numbers;
        for (int row = 0; row < _jobs->rowCount(); ++row)
            numbers.push_back(_jobs->GetJob(row)->number);
        return numbers;
    }

    FakeManager _manager;
    std::unique_ptr<PostedJobs> _jobs;
};

TEST_F(PostedJobsTest, ShowsMyJobsInWordsTheNewestFirstAndFollowsThem)
{
    Fill(2);
    auto foreign = FakeManager::MakeJob(3, "pending", "waiting");
    foreign.owner = "somebody";
    _manager.Set(foreign);
    ASSERT_TRUE(StartAndWait());
    EXPECT_EQ(GetNumbers(), (std::vector<std::int64_t>{2, 1}));
    QSignalSpy arrived(_jobs.get(), &PostedJobs::Arrived);

    auto job = FakeManager::MakeJob(4, "processing", "building");
    job.percent = 40;
    _manager.Set(job);
    _manager.Set(foreign);
    ASSERT_TRUE(WaitFor([this] { return _jobs->rowCount() == 3; }));
    EXPECT_EQ(arrived.size(), 1);
    EXPECT_EQ(Show(0, PostedJobs::NameColumn), "bracket 4");
    EXPECT_EQ(Show(0, PostedJobs::StateColumn), "In progress, 40 %");
    EXPECT_EQ(Show(0, PostedJobs::AgeColumn), "5 min");
    job.version = 3;
    job.state = "processing-stopped";
    job.phase = "unconfirmed";
    job.detail = "Nobody answered.";
    _manager.Set(job);
    ASSERT_TRUE(WaitFor([this] { return Show(0, PostedJobs::StateColumn) == "Stopped"; }));
    EXPECT_EQ(PostedWords::GetReason(*_jobs->GetJob(0)).toStdString(),
              "The printer was told to begin, and nobody knows whether it did. Look at it. Nobody answered.");
    // A word of a later version is shown as it is.
    job.version = 4;
    job.state = "resting";
    job.phase = "asleep";
    job.reasons = {"job-asleep"};
    _manager.Set(job);
    ASSERT_TRUE(WaitFor([this] { return Show(0, PostedJobs::StateColumn) == "resting"; }));
    EXPECT_EQ(PostedWords::GetReason(*_jobs->GetJob(0)).toStdString(), "job-asleep Nobody answered.");
    // Why a job waits comes with news of machines.
    auto waiting = FakeManager::MakeJob(5, "pending", "waiting");
    _manager.Set(waiting);
    ASSERT_TRUE(WaitFor([this] { return _jobs->rowCount() == 4; }));
    waiting.detail = "It waits for its turn.";
    _manager.Set(waiting, false);
    _manager.TellOfMachines();
    EXPECT_TRUE(WaitFor([this] { return _jobs->GetJob(0)->detail == "It waits for its turn."; }));
    _manager.Remove("job-4");
    EXPECT_TRUE(WaitFor([this] { return GetNumbers() == std::vector<std::int64_t>{5, 2, 1}; }));
    EXPECT_EQ(arrived.size(), 2);
}

TEST_F(PostedJobsTest, LongListsComeInPagesAndManyChangesCostFewQuestions)
{
    Fill(1203);
    ASSERT_TRUE(StartAndWait());
    EXPECT_EQ(_jobs->rowCount(), 500);
    for (const int count : {1000, 1203}) {
        ASSERT_TRUE(_jobs->HasMore());
        _jobs->LoadMore();
        _jobs->LoadMore(); // of no use twice
        ASSERT_TRUE(WaitFor([&] { return _jobs->rowCount() >= count; }));
        EXPECT_EQ(_jobs->rowCount(), count);
    }
    EXPECT_FALSE(_jobs->HasMore());
    const auto numbers = GetNumbers();
    EXPECT_TRUE(std::is_sorted(numbers.rbegin(), numbers.rend()));
    EXPECT_EQ(std::set<std::int64_t>(numbers.begin(), numbers.end()).size(), 1203U);

    _manager.TakeQuestions();
    for (int version = 2; version <= 21; ++version) {
        for (int number = 1150; number <= 1203; ++number) {
            auto job = FakeManager::MakeJob(number, "processing", "building");
            job.version = version;
            job.percent = version;
            _manager.Set(job);
        }
    }
    ASSERT_TRUE(WaitFor([this] { return Show(0, PostedJobs::StateColumn) == "In progress, 21 %"; }));
    EXPECT_LT(_manager.TakeQuestions(), 200) << "of 1080 changes";
    // The newest page came anew; the older ones are still there.
    EXPECT_EQ(_jobs->rowCount(), 1203);
    EXPECT_FALSE(_jobs->HasMore());
}

TEST_F(PostedJobsTest, DoesWithAJobWhatItsPhaseAllows)
{
    struct Row
    {
        const char* state;
        std::vector<std::string> told;
        std::vector<Action> allowed;
    };
    const Row rows[] = {
        {"pending", {"hold", "cancel", "acknowledge", "move"}, {Action::Hold, Action::Cancel, Action::Acknowledge}},
        {"pending-held", {"release", "cancel"}, {Action::Release, Action::Cancel}},
        // A printer that is heard of says itself when it is done.
        {"processing", {"cancel", "confirm-done"}, {Action::Cancel}},
        {"processing-stopped",
         {"cancel", "start-again", "confirm-done"},
         {Action::Cancel, Action::StartAgain, Action::ConfirmDone}},
        {"completed", {"copy"}, {}},
    };
    ASSERT_TRUE(StartAndWait());
    for (const Row& row : rows) {
        for (const Action action : {Action::Hold, Action::Release, Action::Cancel, Action::StartAgain,
                                    Action::ConfirmDone, Action::Acknowledge})
            EXPECT_EQ(_jobs->Allows(FakeManager::MakeJob(1, row.state, "", row.told), action),
                      std::count(row.allowed.begin(), row.allowed.end(), action) > 0)
                << row.state << PostedWords::GetAction(action).toStdString();
    }
    auto job = FakeManager::MakeJob(1, "pending", "waiting", {"hold"});
    job.machineFile = {"bracket.gcode", 13, ""};
    _manager.Set(job);
    ASSERT_TRUE(WaitFor([this] { return _jobs->rowCount() == 1; }));
    const QString id = QStringLiteral("job-1");
    _jobs->Act(id, Action::Hold);
    EXPECT_FALSE(_jobs->Allows(*_jobs->GetJob(0), Action::Hold)) << "twice";
    ASSERT_TRUE(WaitFor([this] { return Show(0, PostedJobs::StateColumn) == "Held"; }));

    const QTemporaryDir folder;
    QSignalSpy saved(_jobs.get(), &PostedJobs::Saved);
    QSignalSpy pages(_jobs.get(), &PostedJobs::PageMade);
    QSignalSpy failed(_jobs.get(), &PostedJobs::Failed);
    _jobs->SaveMachineFile(id, folder.filePath(QStringLiteral("a.gcode")));
    ASSERT_TRUE(WaitFor([&] { return saved.size() == 1; }));
    EXPECT_EQ(TestSupport::ReadFile(saved[0][0].toString().toStdString()), "bracket.gcode");
    _jobs->MakePage(id);
    ASSERT_TRUE(WaitFor([&] { return pages.size() == 1; }));
    EXPECT_EQ(pages[0][0].toUrl().path(), QStringLiteral("/jobs/job-1"));
    // Gone behind the back of the list.
    _manager.Remove("job-1");
    _jobs->Act(id, Action::Cancel);
    ASSERT_TRUE(WaitFor([&] { return failed.size() == 1; }));
    EXPECT_EQ(failed[0][0].toString().toStdString(), "There is no such job.");
    EXPECT_TRUE(WaitFor([this] { return _jobs->rowCount() == 0; }));
}

TEST_F(PostedJobsTest, TellsOfAManagerThatIsNotThereAndFindsItAgain)
{
    _manager.SetThere(false);
    Start(std::chrono::milliseconds(0));
    EXPECT_EQ(_jobs->GetState(), State::Starting);
    ASSERT_TRUE(WaitFor([this] { return _jobs->GetState() == State::Away; }));
    EXPECT_EQ(_jobs->GetWhy().toStdString(), "It does not answer.");
    Fill(1);
    _manager.SetThere(true);
    ASSERT_TRUE(WaitFor([this] { return _jobs->GetState() == State::There && _jobs->rowCount() == 1; }));
    auto job = FakeManager::MakeJob(1, "pending", "waiting", {"cancel"});
    job.version = 2;
    _manager.SetThere(false);
    ASSERT_TRUE(WaitFor([this] { return _jobs->GetState() == State::Away; }));
    EXPECT_EQ(_jobs->rowCount(), 1) << "as it was last";
    EXPECT_FALSE(_jobs->Allows(job, Action::Cancel));
    // What changed meanwhile was told to nobody.
    _manager.Set(job, false);
    _manager.SetThere(true);
    ASSERT_TRUE(WaitFor([this] { return Show(0, PostedJobs::StateColumn) == "Queued"; }));
    QElapsedTimer timer;
    timer.start();
    _jobs.reset();
    EXPECT_LT(timer.elapsed(), 1000);
}

TEST_F(PostedJobsTest, ThePanelAsksBeforeAJobEndsAndKeepsTheSelection)
{
    _manager.Set(FakeManager::MakeJob(1, "pending", "waiting", {"hold", "cancel"}));
    ASSERT_TRUE(StartAndWait());
    PostedPanel panel(*_jobs);
    panel.resize(900, 240);
    panel.show();
    const auto find = [&](const char* ip_text) -> QToolButton* {
        for (QToolButton* const button : panel.findChildren<QToolButton*>()) {
            if (button->isVisible() && button->text() == QLatin1String(ip_text))
                return button;
        }
        return nullptr;
    };
    EXPECT_EQ(TestSupport::FindNameless(panel, 5).toStdString(), "");
    EXPECT_TRUE(WaitFor([&] { return find("Hold") != nullptr; }));
    EXPECT_FALSE(find("Release"));
    EXPECT_FALSE(find("Save machine file as…"));
    auto* const list = panel.findChild<QTreeView*>();
    _manager.Set(FakeManager::MakeJob(2, "processing-stopped", "unconfirmed", {"cancel", "start-again"}));
    ASSERT_TRUE(WaitFor([this] { return _jobs->rowCount() == 2; }));
    EXPECT_EQ(list->currentIndex().row(), 1);
    for (const char* const answer : {"Back", "Cancel the job"}) {
        ASSERT_TRUE(WaitFor([&] { return find("Cancel the job") != nullptr; }));
        find("Cancel the job")->click();
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_TRUE(box);
        EXPECT_TRUE(box->text().contains(QLatin1String("'bracket 1'")));
        for (QAbstractButton* const button : box->buttons()) {
            if (button->text() == QLatin1String(answer))
                button->click();
        }
        EXPECT_FALSE(QApplication::activeModalWidget());
    }
    ASSERT_TRUE(WaitFor([this] { return Show(1, PostedJobs::StateColumn) == "Cancelled"; }));
    EXPECT_EQ(_manager.GetActions(), std::vector<Action>{Action::Cancel});
    EXPECT_TRUE(WaitFor([&] { return !find("Cancel the job"); }));
    // By keys to the other one.
    QTest::keyClick(list, Qt::Key_Up);
    EXPECT_TRUE(WaitFor([&] { return find("Start again") != nullptr; }));
    EXPECT_EQ(list->currentIndex().data(Qt::AccessibleTextRole).toString().toStdString(),
              "2 · bracket 2, Stopped, Kestrel 180, 5 min");
}

} // namespace
