#pragma once

#include "machineservice_export.h"

#include <memory>

namespace MachineService {

class ChangesHandler;

/// Tells registered handlers what changed in the host, for example while a command is prepared.
///
/// News of a host's operation is held back until the operation ends. Delivery replaces what a handler holds: flags that
/// nobody consumed go with the next delivery. Normal use is a ListenerSession and a ChangesHandlerRegistration.
///
/// Thread: UI thread; handlers may be added and removed on any.
class MACHINESERVICE_EXPORT ChangesListener
{
public:
    ChangesListener(const ChangesListener&) = delete;
    ChangesListener& operator=(const ChangesListener&) = delete;

    /// Makes the instance. Call it only when there is none: an existing one is dropped without being destroyed.
    static void InitInstance();
    /// Null when there is none.
    static ChangesListener* GetInstance();
    /// Harmless when there is none.
    static void DestroyInstance();

    void StartListening();
    void StopListening();
    bool IsListening() const;

    /// Not owned. A handler that is added twice is told twice.
    void AddChangesHandler(ChangesHandler* ip_handler);
    /// Removes every occurrence; afterwards the handler is not touched any more.
    void RemoveChangesHandler(ChangesHandler* ip_handler);

private:
    class Impl;

    ChangesListener();
    ~ChangesListener();

    static ChangesListener* mgp_instance;
    std::unique_ptr<Impl> _impl;
};

} // namespace MachineService
