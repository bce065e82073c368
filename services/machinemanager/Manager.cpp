#include "machinemanager/Manager.h"

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
        , desk(store, files, board)
        , dispatcher(store, files, board, MakeDispatchOptions(options))
    {}

    void Log(const std::string& i_text) const
    {
        if (options.log)
            options.log(i_text);
    }
    void TidyUp();
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
    const auto now = store.Now();
    auto before = now - options.kept;
    int removed = 0;
    while (const int count = store.RemoveFinal(before, RemovedAtOnce))
        removed += count;
    auto freed = files.Sweep(store.GetNeededFiles(), now);
    while (files.GetDiskUse() > options.keptBytes) {
        const int count = store.RemoveFinal(now, RemovedAtOnce);
        if (count == 0)
            break;
        removed += count;
        freed += files.Sweep(store.GetNeededFiles(), now);
    }
    if (removed > 0 || freed > 0)
        Log("removed " + std::to_string(removed) + " jobs that are over, and " + std::to_string(freed) +
            " bytes of files");
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
Manager::MakeCatalog(std::function<JobListAddress(const boost::uuids::uuid& i_job)> i_get_address)
{
    return MakeManagerCatalog(_impl->desk, _impl->board, {_impl->options.owner, Role::Operate},
                              std::move(i_get_address));
}

bool Manager::IsIdle() const
{
    return _impl->dispatcher.IsIdle();
}

} // namespace MachineService::MachineManager
