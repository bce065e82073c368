#include "client/events/ChangesHandler.h"

#include "client/events/ChangesListener.h"

#include "tavsdk/Mutex.h"

namespace MachineService {

class ChangesHandler::Impl
{
public:
    explicit Impl(ChangesHandler* ip_handler)
        : handler(ip_handler)
    {}

    TavSDK::Mutex mutex; // guards flags; taken after the listener's, never before it
    std::uint32_t flags TAVSDK_GUARDED_BY(mutex) = 0;
    ChangesHandler* const handler;
};

ChangesHandler::ChangesHandler()
    : _impl(std::make_unique<Impl>(this))
{}

ChangesHandler::~ChangesHandler() = default;

void ChangesHandler::AddChanges(std::uint32_t i_flags)
{
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->flags |= i_flags;
}

void ChangesHandler::SetChanges(std::uint32_t i_flags)
{
    const TavSDK::MutexLock lock(_impl->mutex);
    _impl->flags = i_flags;
}

void ChangesHandler::ResetChanges()
{
    SetChanges(0);
}

bool ChangesHandler::CheckAndResetChanges(std::uint32_t i_flags)
{
    const TavSDK::MutexLock lock(_impl->mutex);
    const bool allWereSet = (_impl->flags & i_flags) == i_flags;
    _impl->flags &= ~i_flags;
    return allWereSet;
}

ChangesHandlerRegistration::ChangesHandlerRegistration(bool i_register)
    : _handler(std::make_unique<ChangesHandler>())
{
    auto* const listener = ChangesListener::GetInstance();
    if (!i_register || !listener)
        return;
    listener->AddChangesHandler(_handler.get());
    _registered = true;
}

ChangesHandlerRegistration::~ChangesHandlerRegistration()
{
    // Another session may have ended the listener, or replaced it, while a nested event loop ran.
    if (auto* const listener = ChangesListener::GetInstance(); listener && _registered)
        listener->RemoveChangesHandler(_handler.get());
}

ListenerSession::ListenerSession()
{
    if (!ChangesListener::GetInstance())
        ChangesListener::InitInstance();
    ChangesListener::GetInstance()->StartListening();
}

ListenerSession::~ListenerSession()
{
    if (auto* const listener = ChangesListener::GetInstance())
        listener->StopListening();
    ChangesListener::DestroyInstance();
}

} // namespace MachineService
