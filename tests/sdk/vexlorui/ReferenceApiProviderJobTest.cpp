#include "support/HostFixture.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <stop_token>

namespace {

using VexlorCore::IJobProgress;

class RecordingDisplay final : public Vexlor::IProgressDisplay
{
public:
    RecordingDisplay() { _clock.start(); }
    void Begin(const QString& i_title) override { log << QStringLiteral("begin ") + i_title; }
    void SetProgress(int i_percent, const QString& i_stage) override
    {
        log << QStringLiteral("%1 %2").arg(i_percent).arg(i_stage);
        times.push_back(_clock.elapsed());
        if (onProgress)
            onProgress();
    }
    void End() override { log << QStringLiteral("end"); }

    QStringList log;
    std::vector<qint64> times; ///< ms
    std::function<void()> onProgress;

private:
    QElapsedTimer _clock;
};

/// Waits as a service would: until it is told to stop. False after a deadline that no test should meet.
bool WaitForStop(const std::stop_token& i_stop)
{
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_lock lock(mutex);
    wake.wait_for(lock, i_stop, std::chrono::seconds(20), [] { return false; });
    return i_stop.stop_requested();
}

class ReferenceApiProviderJobTest : public TestSupport::HostFixture
{
protected:
    ReferenceApiProviderJobTest() { _host.provider.SetProgressDisplay(_display); }

    const std::shared_ptr<RecordingDisplay> _display = std::make_shared<RecordingDisplay>();
    const QString _title = QStringLiteral("Build");
};

TEST_F(ReferenceApiProviderJobTest, ReturnsWhatTheJobReturnsOrThrows)
{
    const auto here = std::this_thread::get_id();
    for (const bool result : {true, false}) {
        EXPECT_EQ(_host.provider.RunJob(_title,
                                        [&](IJobProgress&) {
                                            EXPECT_NE(std::this_thread::get_id(), here);
                                            _host.provider.InvokeOnUiThread(
                                                [&] { EXPECT_EQ(std::this_thread::get_id(), here); });
                                            return result;
                                        }),
                  result);
    }
    EXPECT_THROW(_host.provider.RunJob(_title, [](IJobProgress&) -> bool { throw std::out_of_range("mine"); }),
                 std::out_of_range);
    EXPECT_FALSE(_host.provider.IsJobRunning());
    const auto one = QStringList{QStringLiteral("begin Build"), QStringLiteral("end")};
    EXPECT_EQ(_display->log, one + one + one);
}

TEST_F(ReferenceApiProviderJobTest, KeepsTheEventLoopTurning)
{
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        if (++ticks == 10)
            _host.provider.CancelCurrentJob();
    });
    timer.start(5);
    EXPECT_TRUE(_host.provider.RunJob(
        _title, [](IJobProgress& io_progress) { return WaitForStop(io_progress.GetStopToken()); }));
    EXPECT_GE(ticks, 10); // on a busy machine one may come before the job has seen the end
}

TEST_F(ReferenceApiProviderJobTest, DeliversProgressAtItsPaceAndNeverAfterTheEnd)
{
    _display->onProgress = [this] {
        if (_display->times.size() == 4)
            _host.provider.CancelCurrentJob();
    };
    EXPECT_TRUE(_host.provider.RunJobWithTitle(_title, [](IJobProgress& io_progress) {
        for (int i = 0; !io_progress.GetStopToken().stop_requested(); ++i) {
            io_progress.SetProgress(i == 0 ? -5 : 500, "Schicht ü");
            std::this_thread::yield();
        }
        io_progress.SetProgress(50, "late");
        return true;
    }));
    QCoreApplication::processEvents();
    ASSERT_EQ(_display->times.size(), 4U);
    for (std::size_t i = 1; i < _display->times.size(); ++i)
        EXPECT_GE(_display->times[i] - _display->times[i - 1], 99);
    EXPECT_THAT(_display->log[1].toStdString(), MatchesRegex("[0-9]+ Schicht ü"));
    EXPECT_EQ(_display->log[4].toStdString(), "100 Schicht ü");
    EXPECT_EQ(_display->log.size(), 6);
    EXPECT_EQ(_display->log.last(), QStringLiteral("end"));
}

TEST_F(ReferenceApiProviderJobTest, RefusesASecondJobAndAJobFromAnotherThread)
{
    EXPECT_TRUE(_host.provider.RunJob(_title, [&](IJobProgress&) {
        EXPECT_TRUE(_host.provider.IsJobRunning());
        EXPECT_THROW(_host.provider.RunJob(_title, [](IJobProgress&) { return true; }), std::logic_error);
        EXPECT_THAT(
            [&] {
                _host.provider.InvokeOnUiThread(
                    [&] { _host.provider.RunJob(_title, [](IJobProgress&) { return true; }); });
            },
            ThrowsMessage<std::runtime_error>("Another command is still running."));
        return true;
    }));
    EXPECT_TRUE(_host.provider.RunJob(_title, [](IJobProgress&) { return true; }));
}

TEST_F(ReferenceApiProviderJobTest, WaitsForItsJobWhenTheApplicationQuits)
{
    std::atomic<bool> wasServed = false;
    QTimer::singleShot(0, QCoreApplication::instance(), [&] {
        EXPECT_TRUE(_host.provider.RunJob(_title, [&](IJobProgress& io_progress) {
            _host.provider.InvokeOnUiThread([] { QCoreApplication::quit(); });
            EXPECT_TRUE(WaitForStop(io_progress.GetStopToken()));
            _host.provider.InvokeOnUiThread([&] { wasServed = true; });
            return true;
        }));
    });
    QCoreApplication::exec();
    EXPECT_TRUE(wasServed);
}

TEST_F(ReferenceApiProviderJobTest, ChecksCommandsOnceForManyRequests)
{
    int checks = 0;
    _host.provider.SetUpdateCommandsHandler([&] {
        if (++checks == 1)
            _host.provider.UpdateCommands();
    });
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this] {
            for (int i = 0; i < 250; ++i)
                _host.provider.UpdateCommands();
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(checks, 0);
    // The second check is the one that the first asked for.
    QTRY_COMPARE(checks, 2);
    QCoreApplication::processEvents();
    EXPECT_EQ(checks, 2);
}

TEST_F(ReferenceApiProviderJobTest, AsksItsHostFromAnyThread)
{
    const auto here = std::this_thread::get_id();
    const auto ask = [&] {
        std::vector<bool> answers;
        _host.provider.RunJob(_title, [&](IJobProgress&) {
            answers.push_back(
                _host.provider.ConfirmSubmission(QStringLiteral("Print3D.PostJob"), QStringLiteral("bracket")));
            answers.push_back(_host.provider.PrepareScene(_host.scene));
            Vexlor::MessageDialogs::ShowCritical(QStringLiteral("Nothing works."));
            return true;
        });
        return answers;
    };
    EXPECT_EQ(ask(), (std::vector<bool>{true, true}));
    _host.provider.SetConfirmHandler([&](const QString& i_command, const QString& i_job) {
        EXPECT_EQ(std::this_thread::get_id(), here);
        return i_command != QStringLiteral("Print3D.PostJob") || i_job != QStringLiteral("bracket");
    });
    _host.provider.SetPrepareSceneHandler([&](VexlorCore::DataSet& io_scene) { return &io_scene != _host.scene; });
    EXPECT_EQ(ask(), (std::vector<bool>{false, false}));
    ASSERT_EQ(_host.messages.GetMessages().size(), 2U);
    EXPECT_EQ(_host.messages.GetMessages()[1].text, QStringLiteral("Nothing works."));
    EXPECT_EQ(_host.messages.GetMessages()[1].kind, Vexlor::Message::Kind::Critical);
}

} // namespace
