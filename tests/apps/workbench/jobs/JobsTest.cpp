#include "apps/workbench/WorkbenchFixture.h"
#include "workbench/jobs/FailureBoxes.h"
#include "workbench/jobs/JobList.h"
#include "workbench/jobs/JobRecorder.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QSignalSpy>
#include <QTimer>

namespace {

using namespace Workbench;
using State = JobList::State;
using TestSupport::WaitFor;

class JobsTest : public ::testing::Test
{
protected:
    TestSupport::Host _host;
    JobList _jobs;
    std::shared_ptr<JobRecorder> _recorder = std::make_shared<JobRecorder>(
        _jobs, [] { return std::pair(QStringLiteral("machine"), QStringLiteral("scene")); });
};

TEST_F(JobsTest, KeepsOneEntryForEachCommandWithProgressThatNeverFalls)
{
    _host.provider.SetProgressDisplay(_recorder);
    std::vector<int> seen;
    QObject::connect(&_jobs, &JobList::NewestChanged, [&] { seen.push_back(_jobs.GetNewest()->percent); });
    const auto run = [&](bool i_cancel, bool i_succeed) {
        JobRecorder::Command command(*_recorder, QStringLiteral("Build"));
        for (int stage = 0; stage < 2; ++stage) { // several jobs of one command
            _host.provider.RunJob(QStringLiteral("inner"), [&](VexlorCore::IJobProgress& io_progress) {
                io_progress.SetProgress(70, "slicing");
                VexlorCore::UiThread::Invoke([&] { WaitFor([] { return false; }, 150); });
                io_progress.SetProgress(30, "again");
                VexlorCore::UiThread::Invoke([&] {
                    if (i_cancel)
                        _jobs.SetCancelling();
                    WaitFor([] { return false; }, 150);
                });
                return true;
            });
        }
        if (i_succeed)
            command.SetDone();
    };
    const std::tuple<bool, bool, State> rows[] = {{false, true, State::Done},
                                                  {false, false, State::Failed},
                                                  {true, false, State::Cancelled},
                                                  {true, true, State::Done}};
    int count = 0;
    for (const auto& [cancels, succeeds, expected] : rows) {
        seen.clear();
        run(cancels, succeeds);
        ASSERT_EQ(_jobs.rowCount(), ++count);
        const JobList::Entry& job = *_jobs.GetNewest();
        EXPECT_EQ(job.state, expected);
        EXPECT_EQ(job.title, QStringLiteral("Build"));
        EXPECT_EQ(job.percent, succeeds ? 100 : 70);
        EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
        EXPECT_FALSE(_jobs.IsRunning());
    }
    // Without a command, as when a machine is asked what it offers.
    _host.provider.RunJob(QStringLiteral("ask"), [](auto&) { return true; });
    EXPECT_EQ(_jobs.GetNewest()->title, QStringLiteral("ask"));
    EXPECT_EQ(_jobs.GetNewest()->state, State::Done);
    _jobs.AddFailure(QStringLiteral("why"));
    EXPECT_TRUE(_jobs.Describe(0).contains(QLatin1String("why")));
}

TEST_F(JobsTest, ShowsFailuresOneAfterAnotherAsPlainTextWhileTheLoopTurns)
{
    QWidget window;
    window.setGeometry(100, 100, 800, 600);
    window.show();
    FailureBoxes boxes(window);
    QStringList shown;
    int most = 0;
    int turns = 0;
    QTimer clicking;
    QObject::connect(&clicking, &QTimer::timeout, [&] {
        ++turns;
        int open = 0;
        for (const QWidget* const widget : QApplication::topLevelWidgets())
            open += qobject_cast<const QMessageBox*>(widget) && widget->isVisible() ? 1 : 0;
        most = std::max(most, open);
        QMessageBox* const box = boxes.GetOpen();
        if (!box || turns % 5 != 0)
            return;
        EXPECT_EQ(box->parent(), nullptr);
        EXPECT_EQ(box->textFormat(), Qt::PlainText);
        EXPECT_TRUE(box->textInteractionFlags() & Qt::TextSelectableByMouse);
        EXPECT_TRUE(window.frameGeometry().contains(box->geometry().center()));
        EXPECT_EQ(box->buttons().size(), 1);
        shown << box->text();
        box->buttons().front()->click();
    });
    clicking.start(10);
    boxes.ShowLater(QStringLiteral("second <b>of all</b>"));
    boxes.ShowLater(QStringLiteral("third"));
    Vexlor::MessageDialogs::ShowCritical(QStringLiteral("first"));
    ASSERT_TRUE(WaitFor([&] { return shown.size() == 3; }));
    EXPECT_EQ(shown,
              (QStringList{QStringLiteral("first"), QStringLiteral("second <b>of all</b>"), QStringLiteral("third")}));
    EXPECT_EQ(most, 1);
    EXPECT_GT(turns, 10);
}

} // namespace
