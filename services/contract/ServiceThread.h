#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "contract/MachineNews.h"
#include "tavsdk/Mutex.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace MachineService {

/// The one thread of a service's catalog, from Start to Stop, and the news that are raised on it.
///
/// Normal use: the catalog's Impl has one, and is held by the work that it gives to Start. A slot on the thread may
/// then destroy the catalog: the thread ends by itself, raises nothing any more, and the Impl goes with it.
///
/// Thread: any, but for what is said at the operations.
class ServiceThread
{
public:
    /// The catalog's signals as slots, which live until a call is over.
    struct Signals
    {
        AbstractMachinesCatalog::MachineSignal::slot_type added;
        AbstractMachinesCatalog::MachineSignal::slot_type removed;
        AbstractMachinesCatalog::MachineUpdatedSignal::slot_type updated;
        AbstractMachinesCatalog::ServiceStatusSignal::slot_type statusUpdated;
    };

    /// \param i_name of the service, as log lines call it.
    ServiceThread(std::string i_name, Signals i_signals);
    ServiceThread(const ServiceThread&) = delete;
    ServiceThread& operator=(const ServiceThread&) = delete;

    /// Once; a further one does nothing.
    /// \param i_work runs until Stop wakes it; holds the owner of this.
    /// \param i_fail called on the thread, and the service is stopped, when the work throws.
    /// \return false when it was stopped, or there are no threads to be had, which the log is told.
    bool Start(std::function<void()> i_work, std::function<void()> i_fail);
    /// For good; twice is harmless. Waits for the thread, except on it.
    /// \param i_wake lets the work return; called after IsStopped has become true.
    void Stop(const std::function<void()>& i_wake);
    bool IsStopped() const;
    /// Started, and not stopped.
    bool IsRunning() const;

    // On the thread itself only.

    /// A slot on it stopped the service: there is nobody left to raise news.
    bool HasLeft() const { return _hasLeft; }
    /// Calls slots, unless it has left. What a listener throws is its own fault: the service goes on with what is next.
    void Tell(const std::function<void()>& i_call) const;
    /// Removed, updated, added.
    void TellNews(const MachineNews& i_news) const;
    void TellStatus(ServiceId i_service, ServiceStatus i_status) const;

private:
    void _Run(const std::function<void()>& i_work, const std::function<void()>& i_fail);

    const std::string _name;
    const Signals _signals;
    bool _hasLeft = false; ///< used by the thread only
    const std::shared_ptr<std::atomic<bool>> _hasEnded = std::make_shared<std::atomic<bool>>(false);
    mutable TavSDK::Mutex _mutex; ///< guards everything below; never held while the thread is joined
    bool _isStopped TAVSDK_GUARDED_BY(_mutex) = false;
    std::thread _thread TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService
