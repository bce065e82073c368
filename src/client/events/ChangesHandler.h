#pragma once

#include "machineservice_export.h"

#include <cstdint>
#include <memory>

namespace MachineService {

/// The selection of a scene changed. Other bits are free and carried unchanged.
inline constexpr std::uint32_t ChangeFlagSelectionChanged = 2;

/// Gathers what changed for one interested party; see ChangesListener.
///
/// Thread: any; each operation is atomic.
class MACHINESERVICE_EXPORT ChangesHandler
{
public:
    ChangesHandler();
    ~ChangesHandler();
    ChangesHandler(const ChangesHandler&) = delete;
    ChangesHandler& operator=(const ChangesHandler&) = delete;

    void AddChanges(std::uint32_t i_flags);
    /// Replaces what was gathered before.
    void SetChanges(std::uint32_t i_flags);
    void ResetChanges();
    /// Clears the given flags; true when all of them had been set.
    bool CheckAndResetChanges(std::uint32_t i_flags);

private:
    class Impl;
    std::unique_ptr<Impl> _impl;
};

/// Owns a handler and keeps it registered with the listener.
///
/// Thread: made and destroyed on the UI thread; its handler may be asked on any.
class MACHINESERVICE_EXPORT ChangesHandlerRegistration
{
public:
    /// \param i_register true registers the handler with the listener's instance, which must exist.
    explicit ChangesHandlerRegistration(bool i_register);
    ~ChangesHandlerRegistration();
    ChangesHandlerRegistration(const ChangesHandlerRegistration&) = delete;
    ChangesHandlerRegistration& operator=(const ChangesHandlerRegistration&) = delete;

    ChangesHandler& GetHandler() { return *_handler; }

private:
    std::unique_ptr<ChangesHandler> _handler;
    bool _registered = false;
};

/// Makes the listener listen for as long as the scope lasts.
///
/// Sessions do not nest: the end of any of them ends the listener. Registrations may outlive it.
///
/// Thread: UI thread.
class MACHINESERVICE_EXPORT ListenerSession
{
public:
    ListenerSession();
    ~ListenerSession();
    ListenerSession(const ListenerSession&) = delete;
    ListenerSession& operator=(const ListenerSession&) = delete;
};

} // namespace MachineService
