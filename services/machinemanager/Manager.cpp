#include "machinemanager/Manager.h"

#include "machinemanager/StoreDesk.h"
#include "machinemanager/dispatch/MachineBoard.h"
#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"

#include <condition_variable>
#include <thread>
#include <utility>

namespace MachineService::MachineManager {

namespace {

constexpr std::chrono::hours TidyInterval(1);
constexpr int RemovedAtOnce = 200;

StoreOptions MakeStoreOptions(const ManagerOptions& i_options)
{
    StoreOptions store;
    store.address = i_options.store;
    store.daemon = i_options.daemon;
    store.now = i_options.now;
    store.log = i_options.log;
    return store;
}

DispatchOptions MakeDispatchOptions(const ManagerOptions& i_options)
{
    auto dispatch = i_options.dispatch;
    dispatch.log = i_options.log;
    return dispatch;
}

} // namespace

struct Manager::Impl
{
    Impl(ManagerOptions i_options, AbstractMachinesCatalog& io_catalog)
        : options(std::move(i_options))
        , store(MakeStoreOptions(options))
        , files(options.files)
        , board(store, io_catalog)
        , desk(store, files, board, options.largestPlatform)
        , dispatcher(store, files, board, MakeDispatchOptions(options))
    {}

    void Log(const std::string& i_text) const
    {
        if (options.log)
            options.log(i_text);
    }
    void TidyUp();
    void SweepPrinters() const;
    void RunHousekeeping();

    const ManagerOptions options;
    JobStore store;
    FileStore files;
    MachineBoard board;
    JobDesk desk;
    Dispatcher dispatcher;
    TavSDK::Mutex mutex; ///< guards isStopped
    std::condition_variable_any wakeUp;
    bool isStopped TAVSDK_GUARDED_BY(mutex) = false;
    std::thread housekeeping;
};

/// Removes what was kept long enough, and what is too much.
void Manager::Impl::TidyUp()
{
    desk.GetStoreDesk().EndOldBackups();
    const auto now = store.Now();
    const auto before = now - options.kept;
    int removed = 0;
    while (const int count = store.RemoveFinal(before, RemovedAtOnce))
        removed += count;
    const auto getNeeded = [this] {
        return store.GetNeededFiles();
    };
    auto freed = files.Sweep(getNeeded, now);
    while (files.GetDiskUse() > options.keptBytes) {
        const int count = store.RemoveFinal(now, RemovedAtOnce);
        const auto more = count == 0 ? 0 : files.Sweep(getNeeded, now);
        removed += count;
        freed += more;
        // Their files are of the last hour, or held by a backup: it is no use to remove more jobs now.
        if (more == 0)
            break;
    }
    if (removed > 0 || freed > 0)
        Log("removed " + std::to_string(removed) + " jobs that are over, and " + std::to_string(freed) +
            " bytes of files");
}

void Manager::Impl::SweepPrinters() const
{
    for (const auto& machine : store.GetMachines()) {
        if (machine.printer.empty())
            continue;
        TavSDK::StopExceptions([&] { options.dispatch.makeLink(machine.printer)->Sweep(); },
                               [&](const char* ip_why) { Log(machine.name + ": " + ip_why); });
    }
}

void Manager::Impl::RunHousekeeping()
{
    const auto tell = [this](const char* ip_why) {
        Log(std::string("housekeeping waits: ") + ip_why);
    };
    TavSDK::StopExceptions(
        [this] {
            const auto report = store.Check(true);
            for (const auto& finding : report.findings)
                Log(finding);
        },
        tell);
    TavSDK::MutexLock lock(mutex);
    while (!isStopped) {
        lock.unlock();
        TavSDK::StopExceptions([this] { TidyUp(); }, tell);
        TavSDK::StopExceptions([this] { SweepPrinters(); }, tell);
        lock.lock();
        const auto end = std::chrono::steady_clock::now() + TidyInterval;
        while (!isStopped && std::chrono::steady_clock::now() < end)
            wakeUp.wait_until(lock, end);
    }
}

Manager::Manager(ManagerOptions i_options, AbstractMachinesCatalog& io_catalog)
    : _impl(std::make_unique<Impl>(std::move(i_options), io_catalog))
{}

Manager::~Manager()
{
    Stop();
}

void Manager::Start()
{
    _impl->dispatcher.Start();
    _impl->housekeeping = std::thread([impl = _impl.get()] { impl->RunHousekeeping(); });
}

void Manager::Stop()
{
    {
        const TavSDK::MutexLock lock(_impl->mutex);
        _impl->isStopped = true;
        _impl->wakeUp.notify_all();
    }
    if (_impl->housekeeping.joinable())
        _impl->housekeeping.join();
    TavSDK::StopExceptions([this] { _impl->dispatcher.Stop(); },
                           [this](const char* ip_why) { _impl->Log(std::string("stopping: ") + ip_why); });
}

JobDesk& Manager::GetDesk()
{
    return _impl->desk;
}

JobStore& Manager::GetStore()
{
    return _impl->store;
}

std::unique_ptr<AbstractServiceCatalog>
Manager::MakeCatalog(std::function<JobListAddress(const boost::uuids::uuid& i_job, const Actor& i_actor)> i_get_address,
                     std::function<Actor(const std::string& i_caller)> i_find_actor)
{
    if (!i_find_actor)
        i_find_actor = [owner = Actor{_impl->options.owner, Role::Operate}](const std::string&) {
            return owner;
        };
    return MakeManagerCatalog(_impl->desk, _impl->board, std::move(i_find_actor), std::move(i_get_address));
}

bool Manager::IsIdle() const
{
    return _impl->dispatcher.IsIdle();
}

} // namespace MachineService::MachineManager
