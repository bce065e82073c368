#include "machinemanager/ManagerCatalog.h"

#include "contract/ReadyFuture.h"
#include "contract/ServiceCatalogBase.h"
#include "machinemanager/ManagedMachines_p.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/Text.h"

#include <boost/uuid/name_generator_sha1.hpp>
#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <atomic>
#include <stop_token>
#include <utility>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MaxShown = 100;
/// A service that takes longer to start must not hold the queues of the others.
constexpr std::chrono::seconds LongestStart(10);
constexpr const char* NameEnding = " (Machine Manager)";

/// Wakes the catalog for as long as it is there; news of board and store may be on their way when it goes.
class Waker
{
public:
    explicit Waker(std::function<void()> i_wake)
        : _wake(std::move(i_wake))
    {}
    void Wake()
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_wake)
            _wake();
    }
    void Close()
    {
        const TavSDK::MutexLock lock(_mutex);
        _wake = {};
    }

private:
    TavSDK::Mutex _mutex; ///< guards _wake, which only sets a flag
    std::function<void()> _wake TAVSDK_GUARDED_BY(_mutex);
};

class ManagerCatalog final : public ServiceCatalogBase
{
public:
    explicit ManagerCatalog(std::shared_ptr<ManagedMachines> ip_machines)
        : ServiceCatalogBase(ServiceId::MachineManager, "the Machine Manager")
        , _machines(std::move(ip_machines))
        , _waker(std::make_shared<Waker>([this] { _Wake(); }))
        , _onBoard(_machines->board.ConnectChanged([waker = _waker] { waker->Wake(); }))
        , _onStore(_machines->desk.Subscribe([waker = _waker](const boost::uuids::uuid& i_job) {
            if (i_job.is_nil())
                waker->Wake();
        }))
    {}
    ~ManagerCatalog() override { Stop(); }

    void Stop() override
    {
        _waker->Close();
        _isStopping = true;
        _onBoard.disconnect();
        _onStore.reset();
        ServiceCatalogBase::Stop();
        _machines->Close();
    }
    std::vector<boost::uuids::uuid> GetMachineIds() const override
    {
        std::vector<boost::uuids::uuid> ids;
        for (const auto& machine : _machines->registry.GetAll())
            ids.push_back(machine->data.id);
        return ids;
    }
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override
    {
        return Ready([] {
            return std::vector<std::pair<std::string, std::string>>{{"Machine Manager", MANAGER_VERSION}};
        });
    }

protected:
    void _Wake() override
    {
        // Not before the service counts as stopped, or what it finds at once would be told as all there is.
        if (_isStopping)
            _stop.request_stop();
        ServiceCatalogBase::_Wake();
    }
    MachineNews _FindNews() override
    {
        // A host takes the first list for the whole one, and would miss a machine that is still being told.
        if (!std::exchange(_hasWaited, true))
            _machines->board.WaitForServices(_stop.get_token(), LongestStart);
        std::vector<ManagedMachine> machines;
        for (const auto& machine : _machines->board.GetMachines()) {
            if (machine.isOffered)
                machines.push_back(MakeManaged(machine));
        }
        return _machines->registry.Replace(std::move(machines));
    }
    std::optional<Machine> _MakeMachine(const boost::uuids::uuid& i_id) const override
    {
        const auto machine = _machines->registry.Find(i_id);
        if (!machine)
            return std::nullopt;
        return Machine(std::make_unique<ManagedStrategy>(machine->data, _machines));
    }

private:
    const std::shared_ptr<ManagedMachines> _machines;
    std::atomic<bool> _isStopping = false;
    std::stop_source _stop;
    const std::shared_ptr<Waker> _waker; ///< from here on news may come
    boost::signals2::scoped_connection _onBoard;
    std::shared_ptr<void> _onStore;
    bool _hasWaited = false; ///< used by the service's thread
};

} // namespace

const boost::uuids::uuid& GetId(const ManagedMachine& i_machine)
{
    return i_machine.data.id;
}

MachineChanges FindChanges(const ManagedMachine& i_old, const ManagedMachine& i_new)
{
    auto changes = MachineChanges::None;
    if (i_old.data.name != i_new.data.name)
        changes = changes | MachineChanges::NameChanged;
    if (i_old.data.configurationTime != i_new.data.configurationTime)
        changes = changes | MachineChanges::ConfigurationChanged;
    if (i_old.isPaused != i_new.isPaused || i_old.pauseReason != i_new.pauseReason ||
        i_old.data.state != i_new.data.state || i_old.data.stateReasons != i_new.data.stateReasons)
        changes = changes | MachineChanges::StateChanged;
    // A later look at the same state is no news.
    auto old = i_old.data;
    old.stateTime = i_new.data.stateTime;
    if (changes == MachineChanges::None && old != i_new.data)
        changes = MachineChanges::ConfigurationChanged;
    return changes;
}

ManagedMachine MakeManaged(const BoardMachine& i_machine)
{
    ManagedMachine managed;
    managed.original = i_machine.entry.id;
    managed.data = i_machine.data;
    managed.data.id = GetManagedId(i_machine.entry.id);
    managed.data.name += NameEnding;
    managed.data.serviceId = ServiceId::MachineManager;
    managed.data.representation = MachineRepresentation::Queue;
    managed.data.configuresConnection = false;
    managed.isPaused = i_machine.entry.isPaused;
    if (managed.isPaused) {
        const auto& reason = i_machine.entry.pauseReason;
        managed.pauseReason = "The queue is paused by an operator" +
                              (reason.empty() ? std::string() : ": " + TavSDK::Quote(reason, MaxShown)) + '.';
        managed.data.state = MachineState::Paused;
        managed.data.stateReasons = {managed.pauseReason};
    }
    return managed;
}

boost::uuids::uuid GetManagedId(const boost::uuids::uuid& i_original)
{
    static const auto space = boost::uuids::string_generator()("6d1c6f0e-3a52-4f57-9a0e-8a2f6a0e1b5c");
    return boost::uuids::name_generator_sha1(space)(boost::uuids::to_string(i_original));
}

std::unique_ptr<AbstractServiceCatalog>
MakeManagerCatalog(JobDesk& io_desk, MachineBoard& io_board,
                   std::function<Actor(const std::string& i_caller)> i_find_actor,
                   std::function<JobListAddress(const boost::uuids::uuid& i_job, const Actor& i_actor)> i_get_address)
{
    return std::make_unique<ManagerCatalog>(
        std::make_shared<ManagedMachines>(io_desk, io_board, std::move(i_find_actor), std::move(i_get_address)));
}

} // namespace MachineService::MachineManager
