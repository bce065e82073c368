#include "vexlorui/JobRunner.h"

#include "tavsdk/StopExceptions.h"
#include "tavsdk/Utf8.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QObject>
#include <QTimer>

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Vexlor {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.job")

constexpr int ProgressInterval = 100; ///< ms
constexpr std::size_t MaxStage = 500; ///< bytes

QEvent::Type GetNewsEventType()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

std::stop_token& StopOfThisThread()
{
    static thread_local std::stop_token mgp_stop;
    return mgp_stop;
}

/// A display that fails must not take the job along.
template <class Function>
void TellOfFailures(const Function& i_function)
{
    TavSDK::StopExceptions(i_function,
                           [](const char* ip_why) { qCWarning(log, "The progress display failed: %s", ip_why); });
}

/// What the job's thread and the UI thread share. Lives on Run's stack, which outlives the job's thread.
class SharedProgress final : public VexlorCore::IJobProgress
{
public:
    struct News
    {
        int percent = 0;
        std::string stage;
    };

    SharedProgress(QObject& io_receiver, std::stop_token i_stop)
        : _receiver(io_receiver)
        , _stop(std::move(i_stop))
    {}

    void SetProgress(int i_percent, const std::string& i_stage) override
    {
        const TavSDK::MutexLock lock(_mutex);
        _news = News{std::clamp(i_percent, 0, 100), std::string(TavSDK::CutUtf8(i_stage, MaxStage))};
        _Wake();
    }

    std::stop_token GetStopToken() const override { return _stop; }

    void SetDone()
    {
        const TavSDK::MutexLock lock(_mutex);
        _isDone = true;
        _Wake();
    }

    /// Called when the wake-up arrived, before anything else is asked.
    void TakeWake()
    {
        const TavSDK::MutexLock lock(_mutex);
        _isWakePosted = false;
    }
    std::optional<News> TakeNews()
    {
        const TavSDK::MutexLock lock(_mutex);
        return std::exchange(_news, std::nullopt);
    }
    bool IsDone() const
    {
        const TavSDK::MutexLock lock(_mutex);
        return _isDone;
    }

private:
    /// Any number of news makes one event. Under the lock; posting calls nothing of ours.
    void _Wake() TAVSDK_REQUIRES(_mutex)
    {
        if (!std::exchange(_isWakePosted, true))
            QCoreApplication::postEvent(&_receiver, new QEvent(GetNewsEventType()));
    }

    QObject& _receiver;
    const std::stop_token _stop;
    mutable TavSDK::Mutex _mutex; ///< guards all below
    std::optional<News> _news TAVSDK_GUARDED_BY(_mutex);
    bool _isDone TAVSDK_GUARDED_BY(_mutex) = false;
    bool _isWakePosted TAVSDK_GUARDED_BY(_mutex) = false;
};

/// The UI thread's side: passes progress on at its pace and ends the loop when the job has ended.
class Pump final : public QObject
{
public:
    Pump(std::shared_ptr<IProgressDisplay> ip_display, std::stop_token i_stop)
        : shared(*this, std::move(i_stop))
        , _display(std::move(ip_display))
    {
        _pause.setSingleShot(true);
        _pause.setTimerType(Qt::PreciseTimer);
        connect(&_pause, &QTimer::timeout, this, [this] { _Deliver(); });
    }

    bool event(QEvent* ip_event) override
    {
        if (ip_event->type() != GetNewsEventType())
            return QObject::event(ip_event);
        shared.TakeWake();
        if (shared.IsDone()) {
            _pause.stop();
            loop.quit();
        } else if (!_pause.isActive() && !_isDelivering) {
            _Deliver();
        }
        return true;
    }

    QEventLoop loop;
    SharedProgress shared;

private:
    void _Deliver()
    {
        // A display may turn the event loop; the news that come meanwhile wait for the pause's end.
        const auto news = shared.TakeNews();
        if (!news || !_display || _isDelivering)
            return;
        _isDelivering = true;
        const auto display = _display;
        TellOfFailures([&] {
            display->SetProgress(news->percent,
                                 QString::fromUtf8(news->stage.data(), static_cast<int>(news->stage.size())));
        });
        _isDelivering = false;
        if (!shared.IsDone())
            _pause.start(ProgressInterval);
    }

    std::shared_ptr<IProgressDisplay> _display;
    QTimer _pause;
    bool _isDelivering = false;
};

} // namespace

/// From "a job runs" to "none runs", whatever happens between.
struct JobRunner::Begun
{
    explicit Begun(JobRunner& io_runner)
        : runner(io_runner)
    {
        const TavSDK::MutexLock lock(runner._mutex);
        if (runner._stop)
            throw std::runtime_error(
                QCoreApplication::translate("Vexlor::JobRunner", "Another command is still running.").toStdString());
        runner._stop.emplace();
        stop = *runner._stop;
    }
    ~Begun()
    {
        const TavSDK::MutexLock lock(runner._mutex);
        runner._stop.reset();
    }
    Begun(const Begun&) = delete;
    Begun& operator=(const Begun&) = delete;

    JobRunner& runner;
    std::stop_source stop;
};

bool JobRunner::Run(const QString& i_title, const VexlorCore::Job& i_job, std::shared_ptr<IProgressDisplay> ip_display)
{
    if (!VexlorCore::UiThread::IsCurrent())
        throw std::logic_error("A job must be started on the UI thread.");
    const auto self = shared_from_this();
    Begun begun(*this);

    bool result = false;
    std::exception_ptr failure;
    {
        struct DisplayGuard
        {
            ~DisplayGuard()
            {
                if (display)
                    TellOfFailures([this] { display->End(); });
            }
            IProgressDisplay* display;
        };
        if (ip_display)
            ip_display->Begin(i_title);
        const DisplayGuard guard{ip_display.get()};
        // Within the display's life, so that nothing is delivered after End.
        Pump pump(ip_display, begun.stop.get_token());
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &pump,
                         [stop = begun.stop]() mutable { stop.request_stop(); });

        std::thread thread([&] {
            StopOfThisThread() = pump.shared.GetStopToken();
            try {
                result = i_job(pump.shared);
            } catch (...) {
                failure = std::current_exception();
            }
            pump.shared.SetDone();
        });
        while (!pump.shared.IsDone()) {
            pump.loop.exec();
            if (pump.shared.IsDone())
                break;
            // The application quits, and no loop of its thread runs any more. The job may still need this thread: its
            // events are served without one.
            begun.stop.request_stop();
            while (!pump.shared.IsDone())
                pump.loop.processEvents(QEventLoop::WaitForMoreEvents);
        }
        thread.join();
    }
    if (failure)
        std::rethrow_exception(failure);
    return result;
}

void JobRunner::Cancel()
{
    std::optional<std::stop_source> stop;
    {
        const TavSDK::MutexLock lock(_mutex);
        stop = _stop;
    }
    // Outside the lock: it runs the callbacks of whoever waits for it.
    if (stop)
        stop->request_stop();
}

std::stop_token JobRunner::GetStopOfThisThread()
{
    return StopOfThisThread();
}

bool JobRunner::IsRunning() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _stop.has_value();
}

} // namespace Vexlor
