#include "vexlorcore/UiThread.h"

#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"
#include "vexlorcore/CallGate.h"

#include <QCoreApplication>
#include <QEvent>
#include <QLoggingCategory>
#include <QObject>

#include <stdexcept>
#include <thread>
#include <utility>

namespace VexlorCore {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.uithread")

QEvent::Type GetWakeEventType()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

void Report(const std::exception_ptr& i_failure)
{
    TavSDK::StopExceptions([&] { std::rethrow_exception(i_failure); },
                           [](const char* ip_why) { qCWarning(log, "A posted job failed: %s", ip_why); });
}

} // namespace

struct UiThread::Gate
{
    class Receiver final : public QObject
    {
    public:
        explicit Receiver(std::weak_ptr<Gate> ip_gate)
            : _gate(std::move(ip_gate))
        {}

        bool event(QEvent* ip_event) override
        {
            if (ip_event->type() != GetWakeEventType())
                return QObject::event(ip_event);
            // Held on the stack: the job may destroy the UiThread, and this receiver with it.
            if (const auto gate = _gate.lock())
                gate->calls.RunOne(Report);
            return true;
        }

    private:
        const std::weak_ptr<Gate> _gate;
    };

    Gate()
        : calls([this] { QCoreApplication::postEvent(receiver, new QEvent(GetWakeEventType())); })
    {}

    const std::thread::id thread = std::this_thread::get_id();
    /// Alive until calls is closed.
    Receiver* receiver = nullptr;
    CallGate calls;

    /// Guards current.
    static inline TavSDK::Mutex mutex;
    static inline std::shared_ptr<Gate> current TAVSDK_GUARDED_BY(mutex);

    static std::shared_ptr<Gate> Get()
    {
        const TavSDK::MutexLock lock(mutex);
        return current;
    }
};

UiThread::UiThread()
    : _gate(std::make_shared<Gate>())
{
    auto receiver = std::make_unique<Gate::Receiver>(_gate);
    const TavSDK::MutexLock lock(Gate::mutex);
    if (Gate::current)
        throw std::logic_error("There is a UI thread already.");
    _gate->receiver = receiver.release();
    Gate::current = _gate;
}

UiThread::~UiThread()
{
    {
        const TavSDK::MutexLock lock(Gate::mutex);
        Gate::current.reset();
    }
    _gate->calls.Close();
    // The destructor may run inside a job that the receiver delivers; the receiver then only returns from its event.
    delete _gate->receiver;
}

void UiThread::Invoke(const std::function<void()>& i_job)
{
    const auto gate = Gate::Get();
    if (!gate)
        throw std::runtime_error("The host is shutting down.");
    if (gate->thread == std::this_thread::get_id())
        i_job();
    else
        gate->calls.Invoke(i_job);
}

void UiThread::Post(std::function<void()> i_job)
{
    if (const auto gate = Gate::Get())
        gate->calls.Post(std::move(i_job));
}

bool UiThread::IsCurrent()
{
    const auto gate = Gate::Get();
    return gate && gate->thread == std::this_thread::get_id();
}

} // namespace VexlorCore
