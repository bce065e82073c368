#include "client/events/ChangesListener.h"

#include "client/events/ChangesHandler.h"

#include "tavsdk/Mutex.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Listener.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace MachineService {

namespace {

/// Calls the function with each source of notifications that the host has at the moment: database, operation manager.
template <class Function>
void ForEachSource(const Function& i_function)
{
    auto* const application = VexlorCore::Application::GetInstance();
    if (!application)
        return;
    if (auto* const database = application->GetDatabase())
        i_function(*database);
    if (auto* const operations = application->GetOperationManager())
        i_function(*operations);
}

} // namespace

class ChangesListener::Impl final : public VexlorCore::MListener
{
public:
    explicit Impl(ChangesListener* ip_owner)
        : owner(ip_owner)
    {
        ForEachSource([this](auto& io_source) { io_source.AddListener(this); });
    }

    // Sources that are gone since have let go of this listener themselves.
    ~Impl() override
    {
        ForEachSource([this](auto& io_source) { io_source.RemoveListener(this); });
    }

    TavSDK::Mutex mutex; // guards handlers; taken before a handler's own, never after it
    std::vector<ChangesHandler*> handlers TAVSDK_GUARDED_BY(mutex);
    ChangesListener* const owner;

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override
    {
        if (dynamic_cast<const VexlorCore::BeforeExecuteOperation*>(&i_notification))
            _inOperation = true;
        else if (dynamic_cast<const VexlorCore::AfterExecuteOperation*>(&i_notification))
            _inOperation = false;
        else if (dynamic_cast<const VexlorCore::SelectionChanged*>(&i_notification))
            _pending |= ChangeFlagSelectionChanged;
        if (_inOperation || _pending == 0)
            return;
        const TavSDK::MutexLock lock(mutex);
        for (ChangesHandler* const handler : handlers)
            handler->SetChanges(_pending);
        _pending = 0;
    }

    std::uint32_t _pending = 0;
    bool _inOperation = false;
};

ChangesListener* ChangesListener::mgp_instance = nullptr;

ChangesListener::ChangesListener()
    : _impl(std::make_unique<Impl>(this))
{}

ChangesListener::~ChangesListener() = default;

void ChangesListener::InitInstance()
{
    mgp_instance = new ChangesListener;
}

ChangesListener* ChangesListener::GetInstance()
{
    return mgp_instance;
}

void ChangesListener::DestroyInstance()
{
    delete std::exchange(mgp_instance, nullptr);
}

void ChangesListener::StartListening()
{
    _impl->StartListening();
}

void ChangesListener::StopListening()
{
    _impl->StopListening();
}

bool ChangesListener::IsListening() const
{
    return _impl->IsListening();
}

void ChangesListener::AddChangesHandler(ChangesHandler* ip_handler)
{
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->handlers.push_back(ip_handler);
}

void ChangesListener::RemoveChangesHandler(ChangesHandler* ip_handler)
{
    const TavSDK::MutexLock lock(_impl->mutex);
    std::erase(_impl->handlers, ip_handler);
}

} // namespace MachineService
