#include "buildprocessor/BuildProcessorCatalog.h"

#include "buildprocessor/BuildProcessorStrategy.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/FolderWatcher.h"
#include "buildprocessor/Log.h"
#include "buildprocessor/ProfileFolder.h"
#include "buildprocessor/ServiceContext.h"
#include "buildprocessor/SlicingEngine.h"

#include <mutex>
#include <thread>

namespace MachineService::BuildProcessor {

namespace {

using Versions = std::vector<std::pair<std::string, std::string>>;

/// Gives the answer also when the question is dropped unasked.
class VersionAnswer
{
public:
    VersionAnswer() = default;
    VersionAnswer(const VersionAnswer&) = delete;
    VersionAnswer& operator=(const VersionAnswer&) = delete;
    ~VersionAnswer()
    {
        if (!_given)
            _promise.set_exception(std::make_exception_ptr(CommunicationException(ErrorCode::ServicesUnavailable)));
    }

    std::future<Versions> GetFuture() { return _promise.get_future(); }
    void Give(Versions i_versions)
    {
        _given = true;
        _promise.set_value(std::move(i_versions));
    }

private:
    std::promise<Versions> _promise;
    bool _given = false;
};

/// Tells listeners. What one of them throws is its own fault: the service goes on with the rest of the news.
template <class Signal>
void Tell(const Signal& i_signal)
{
    try {
        i_signal();
    } catch (const std::exception& failure) {
        qCWarning(ServiceLog, "A listener of the Build Processors failed: %s", failure.what());
    } catch (...) {
        qCWarning(ServiceLog, "A listener of the Build Processors failed.");
    }
}

} // namespace

struct BuildProcessorCatalog::Impl
{
    Impl(BuildProcessorCatalog& i_owner, std::unique_ptr<AbstractPluginUtility> ip_utility)
        : owner(i_owner)
        , context(std::make_shared<ServiceContext>(ip_utility.get()))
        , folder(context->profilesDir)
        , watcher(context->profilesDir)
    {}

    Machine MakeMachine(const DatedProfile& i_profile) const
    {
        return Machine(std::make_unique<BuildProcessorStrategy>(i_profile, context));
    }

    // The service's thread.
    void Run();
    void Publish();
    void TellStatus(ServiceStatus i_status)
    {
        Tell([&] { owner._serviceStatusUpdated(ServiceId::BuildProcessors, i_status); });
    }
    void End(const char* ip_reason);

    BuildProcessorCatalog& owner;
    const std::shared_ptr<ServiceContext> context;
    ProfileFolder folder; ///< used by the service's thread only
    FolderWatcher watcher;
    std::mutex mutex;       ///< guards thread and isStopped
    bool isStopped = false; ///< for good: by Stop() or by a failure
    std::thread thread;
};

void BuildProcessorCatalog::Impl::Run()
{
    TellStatus(ServiceStatus::Starting);
    watcher.Arm();
    if (!watcher.IsWatching())
        qCWarning(ServiceLog, "The system cannot watch the folder of profiles; it is read every half second.");
    Publish();
    TellStatus(ServiceStatus::Running);
    while (watcher.Wait() != FolderWatcher::Event::Stopped) {
        watcher.Arm();
        Publish();
    }
}

void BuildProcessorCatalog::Impl::End(const char* ip_reason)
{
    qCCritical(ServiceLog, "The service of the Build Processors ended: %s", ip_reason);
    {
        const std::lock_guard lock(mutex);
        isStopped = true;
    }
    TellStatus(ServiceStatus::Failed);
}

void BuildProcessorCatalog::Impl::Publish()
{
    std::vector<std::string> problems;
    const auto news = context->registry.Replace(folder.Scan(problems));
    for (const std::string& problem : problems)
        qCWarning(ServiceLog, "%s", problem.c_str());
    for (const auto& id : news.removed)
        Tell([&] { owner._machineRemoved(id); });
    for (const auto& [id, changes] : news.updated)
        Tell([&] { owner._machineUpdated(id, changes); });
    for (const auto& id : news.added)
        Tell([&] { owner._machineAdded(id); });
}

BuildProcessorCatalog::BuildProcessorCatalog(std::unique_ptr<AbstractPluginUtility> ip_utility)
    : _impl(std::make_unique<Impl>(*this, std::move(ip_utility)))
{}

BuildProcessorCatalog::~BuildProcessorCatalog()
{
    Stop();
}

void BuildProcessorCatalog::Stop()
{
    _impl->watcher.Stop();
    std::thread thread;
    {
        const std::lock_guard lock(_impl->mutex);
        _impl->isStopped = true;
        thread.swap(_impl->thread);
    }
    // Not under the lock: a slot on that thread may ask for a refresh.
    if (thread.joinable())
        thread.join();
    _impl->context->Close();
}

AuthenticationResult BuildProcessorCatalog::SetAuthentication(ServiceId /*i_service*/,
                                                              const std::optional<AuthenticationData>& /*i_data*/)
{
    return AuthenticationResult::NotRequired;
}

bool BuildProcessorCatalog::Start(ServiceId i_service)
{
    if (i_service != ServiceId::BuildProcessors)
        return false;
    const std::lock_guard lock(_impl->mutex);
    if (_impl->isStopped)
        return false;
    if (!_impl->thread.joinable()) {
        try {
            _impl->thread = std::thread([impl = _impl.get()] {
                try {
                    impl->Run();
                } catch (const std::exception& failure) {
                    impl->End(failure.what());
                } catch (...) {
                    impl->End("for an unknown reason");
                }
            });
        } catch (const std::system_error& failure) {
            qCCritical(ServiceLog, "The service of the Build Processors cannot start: %s", failure.what());
            return false;
        }
    }
    return true;
}

bool BuildProcessorCatalog::Refresh(ServiceId i_service)
{
    if (i_service != ServiceId::BuildProcessors)
        return false;
    const std::lock_guard lock(_impl->mutex);
    if (_impl->isStopped || !_impl->thread.joinable())
        return false;
    _impl->watcher.Wake();
    return true;
}

bool BuildProcessorCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->context->registry.Find(i_id) != nullptr;
}

Machine BuildProcessorCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    const auto profile = _impl->context->registry.Find(i_id);
    if (!profile)
        throw CommunicationException(ErrorCode::MachineNotFound);
    return _impl->MakeMachine(*profile);
}

std::optional<Machine> BuildProcessorCatalog::TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                            MachineRepresentation i_representation) const
{
    const auto profile = _impl->context->registry.Find(i_id);
    const bool fits =
        i_representation == MachineRepresentation::Default || i_representation == MachineRepresentation::Machine;
    if (i_service != ServiceId::BuildProcessors || !profile || !fits)
        return std::nullopt;
    return _impl->MakeMachine(*profile);
}

std::vector<Machine> BuildProcessorCatalog::GetMachines() const
{
    std::vector<Machine> machines;
    for (const auto& profile : _impl->context->registry.GetAll())
        machines.push_back(_impl->MakeMachine(*profile));
    return machines;
}

std::vector<boost::uuids::uuid> BuildProcessorCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> ids;
    for (const auto& profile : _impl->context->registry.GetAll())
        ids.push_back(profile->profile.id);
    return ids;
}

std::future<Versions> BuildProcessorCatalog::GetVersionInformation() const
{
    const auto answer = std::make_shared<VersionAnswer>();
    auto future = answer->GetFuture();
    _impl->context->queries.Submit({}, {}, [answer, engine = _impl->context->enginePath](std::stop_token i_stop) {
        Versions versions{{"Build Processor", BUILDPROCESSOR_VERSION}};
        try {
            versions.emplace_back("prusa-slicer", GetEngineVersion(engine, i_stop));
        } catch (const CommunicationException& failure) {
            versions.emplace_back("prusa-slicer", failure.code() == ErrorCode::ProcessingAborted ? "" : failure.what());
        }
        answer->Give(std::move(versions));
        return CommandResult();
    });
    return future;
}

} // namespace MachineService::BuildProcessor
