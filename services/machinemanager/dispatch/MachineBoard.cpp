#include "machinemanager/dispatch/MachineBoard.h"

#include "client/interface/CommunicationException.h"
#include "machinemanager/store/JobStore.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <utility>

namespace MachineService::MachineManager {

namespace {

using std::chrono::seconds;

// Answers come from local state; a service that has none must not hold the others.
constexpr seconds AnswerTime(2);

struct Offer
{
    MachineData data;
    boost::uuids::uuid buildCommand = {};
    bool canBuild = false;
    std::string whyNot;
};

template <class Future>
auto GetSoon(Future i_future)
{
    if (i_future.wait_for(AnswerTime) != std::future_status::ready)
        throw CommunicationException(ErrorCode::ServicesUnavailable, "The machine's service does not answer.");
    return i_future.get();
}

Offer Ask(const Machine& i_machine)
{
    Offer offer;
    offer.data = i_machine.GetMachineData();
    try {
        for (const auto& command : GetSoon(i_machine.GetCommands())) {
            if (command.type == CommandType::Build)
                offer.buildCommand = command.id;
        }
        if (offer.buildCommand.is_nil())
            return offer;
        if (const auto* const explaining = i_machine.TryExplain()) {
            const auto answer = GetSoon(explaining->ExplainCanRunCommand(offer.buildCommand));
            offer.canBuild = answer.canRun;
            offer.whyNot = answer.reason;
        } else {
            offer.canBuild = GetSoon(i_machine.CanRunCommand(offer.buildCommand));
        }
    } catch (const std::exception& failure) {
        offer.canBuild = false;
        offer.whyNot = failure.what();
    }
    return offer;
}

} // namespace

/// Shared with the slots, which may run while the board goes.
struct MachineBoard::Impl
{
    Impl(JobStore& io_store, AbstractMachinesCatalog& io_catalog)
        : store(io_store)
        , catalog(io_catalog)
    {}

    void Take(const boost::uuids::uuid& i_id);
    void Remove(const boost::uuids::uuid& i_id);
    void SetStatus(ServiceId i_service, ServiceStatus i_status);
    bool HaveServicesTold() const TAVSDK_REQUIRES(mutex);
    BoardMachine Join(const MachineEntry& i_entry) const TAVSDK_REQUIRES(mutex);
    JobStore& store;
    AbstractMachinesCatalog& catalog;
    boost::signals2::signal<void()> changed;
    std::vector<boost::signals2::scoped_connection> connections;
    bool hadMachines = false;    ///< in the beginning, as a service has that was started before
    mutable TavSDK::Mutex mutex; ///< guards everything below
    std::map<boost::uuids::uuid, Offer> offers TAVSDK_GUARDED_BY(mutex);
    std::map<ServiceId, ServiceStatus> statuses TAVSDK_GUARDED_BY(mutex);
    mutable std::condition_variable_any statusTold;
};

void MachineBoard::Impl::Take(const boost::uuids::uuid& i_id)
{
    try {
        const auto machine = catalog.GetMachine(i_id);
        auto offer = Ask(machine);
        if (offer.data.serviceId == ServiceId::MachineManager)
            return;
        store.NoteMachine(i_id, offer.data.name, offer.data.modelId);
        const TavSDK::MutexLock lock(mutex);
        offers.insert_or_assign(i_id, std::move(offer));
    } catch (const CommunicationException&) {
        Remove(i_id); // it went while it was asked
    }
    changed();
}

void MachineBoard::Impl::Remove(const boost::uuids::uuid& i_id)
{
    {
        const TavSDK::MutexLock lock(mutex);
        offers.erase(i_id);
    }
    changed();
}

void MachineBoard::Impl::SetStatus(ServiceId i_service, ServiceStatus i_status)
{
    // The manager's own catalog waits for the others.
    if (i_service == ServiceId::MachineManager)
        return;
    const TavSDK::MutexLock lock(mutex);
    statuses[i_service] = i_status;
    statusTold.notify_all();
}

bool MachineBoard::Impl::HaveServicesTold() const
{
    const bool isAnyKnown = hadMachines || !statuses.empty();
    return isAnyKnown && std::none_of(statuses.begin(), statuses.end(),
                                      [](const auto& i_each) { return i_each.second == ServiceStatus::Starting; });
}

BoardMachine MachineBoard::Impl::Join(const MachineEntry& i_entry) const
{
    BoardMachine machine;
    machine.entry = i_entry;
    const auto offer = offers.find(i_entry.id);
    if (offer == offers.end())
        return machine;
    machine.isOffered = true;
    machine.data = offer->second.data;
    machine.buildCommand = offer->second.buildCommand;
    machine.canBuild = offer->second.canBuild;
    machine.whyNot = offer->second.whyNot;
    return machine;
}

MachineBoard::MachineBoard(JobStore& io_store, AbstractMachinesCatalog& io_catalog)
    : _impl(std::make_shared<Impl>(io_store, io_catalog))
{
    // A slot that runs while the board goes keeps what it needs.
    const std::weak_ptr<Impl> weak = _impl;
    _impl->connections.emplace_back(io_catalog.ConnectMachineAdded([weak](const boost::uuids::uuid& i_id) {
        if (const auto impl = weak.lock())
            impl->Take(i_id);
    }));
    _impl->connections.emplace_back(
        io_catalog.ConnectMachineUpdated([weak](const boost::uuids::uuid& i_id, MachineChanges) {
            if (const auto impl = weak.lock())
                impl->Take(i_id);
        }));
    _impl->connections.emplace_back(io_catalog.ConnectMachineRemoved([weak](const boost::uuids::uuid& i_id) {
        if (const auto impl = weak.lock())
            impl->Remove(i_id);
    }));
    _impl->connections.emplace_back(
        io_catalog.ConnectServiceStatusUpdated([weak](ServiceId i_service, ServiceStatus i_status) {
            if (const auto impl = weak.lock())
                impl->SetStatus(i_service, i_status);
        }));
    const auto ids = io_catalog.GetMachineIds();
    _impl->hadMachines = !ids.empty();
    for (const auto& id : ids)
        _impl->Take(id);
}

MachineBoard::~MachineBoard()
{
    _impl->connections.clear();
}

std::vector<BoardMachine> MachineBoard::GetMachines() const
{
    std::vector<BoardMachine> machines;
    const auto entries = _impl->store.GetMachines();
    const TavSDK::MutexLock lock(_impl->mutex);
    for (const auto& entry : entries) {
        machines.push_back(_impl->Join(entry));
    }
    std::sort(machines.begin(), machines.end(), [](const BoardMachine& i_left, const BoardMachine& i_right) {
        return std::tie(i_left.entry.name, i_left.entry.id) < std::tie(i_right.entry.name, i_right.entry.id);
    });
    return machines;
}

std::optional<BoardMachine> MachineBoard::Find(const boost::uuids::uuid& i_id) const
{
    const auto entry = _impl->store.FindMachine(i_id);
    if (!entry)
        return std::nullopt;
    const TavSDK::MutexLock lock(_impl->mutex);
    return _impl->Join(*entry);
}

Machine MachineBoard::GetMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->catalog.GetMachine(i_id);
}

bool MachineBoard::WaitForServices(const std::stop_token& i_stop, std::chrono::milliseconds i_longest) const
{
    const auto end = std::chrono::steady_clock::now() + i_longest;
    // Before the lock, because it may be called at once, and gone after it.
    const std::stop_callback wake(i_stop, [impl = _impl.get()] {
        const TavSDK::MutexLock lock(impl->mutex);
        impl->statusTold.notify_all();
    });
    TavSDK::MutexLock lock(_impl->mutex);
    while (!_impl->HaveServicesTold()) {
        if (i_stop.stop_requested() || std::chrono::steady_clock::now() >= end)
            return false;
        _impl->statusTold.wait_until(lock, end);
    }
    return true;
}

boost::signals2::connection MachineBoard::ConnectChanged(const boost::signals2::signal<void()>::slot_type& i_slot)
{
    return _impl->changed.connect(i_slot);
}

} // namespace MachineService::MachineManager
