#include "buildprocessor/BuildProcessorCatalog.h"

#include "buildprocessor/BuildProcessorStrategy.h"
#include "buildprocessor/ServiceContext.h"
#include "buildprocessor/base/FolderWatcher.h"
#include "buildprocessor/base/JsonFields.h"
#include "buildprocessor/base/Log.h"
#include "buildprocessor/engine/SettingsCheck.h"
#include "buildprocessor/engine/SlicingEngine.h"
#include "buildprocessor/machines/ProfileFolder.h"
#include "buildprocessor/machines/ProfileInstaller.h"
#include "contract/Failure.h"

namespace MachineService::BuildProcessor {

namespace {

std::string DescribeFault(const MachineProfile& i_profile, ServiceContext& io_context, const std::stop_token& i_stop)
{
    const auto fault = FindSettingsFault(i_profile, io_context.enginePath, io_context.cache, i_stop);
    return fault ? "field " + fault->field + ' ' + fault->reason : std::string();
}

} // namespace

struct BuildProcessorCatalog::Impl
{
    explicit Impl(std::unique_ptr<AbstractPluginUtility> ip_utility)
        : context(std::make_shared<ServiceContext>(ip_utility.get()))
        , folder(
              context->profilesDir,
              [this](const MachineProfile& i_profile) { return DescribeFault(i_profile, *context, stop.get_token()); })
        , watcher(context->profilesDir)
    {}

    std::stop_source stop; ///< asked once, by Stop
    const std::shared_ptr<ServiceContext> context;
    ProfileFolder folder; ///< used by the service's thread only
    FolderWatcher watcher;
    bool isArmed = false; ///< used by the service's thread only
};

BuildProcessorCatalog::BuildProcessorCatalog(std::unique_ptr<AbstractPluginUtility> ip_utility)
    : ServiceCatalogBase(ServiceId::BuildProcessors, "the Build Processors")
    , _impl(std::make_unique<Impl>(std::move(ip_utility)))
{}

BuildProcessorCatalog::~BuildProcessorCatalog()
{
    Stop();
}

void BuildProcessorCatalog::Stop()
{
    _impl->stop.request_stop();
    _impl->watcher.Stop();
    ServiceCatalogBase::Stop();
    _impl->context->Close();
}

bool BuildProcessorCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->context->registry.Find(i_id) != nullptr;
}

std::vector<boost::uuids::uuid> BuildProcessorCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> ids;
    for (const auto& profile : _impl->context->registry.GetAll())
        ids.push_back(profile->profile.id);
    return ids;
}

std::future<std::vector<std::pair<std::string, std::string>>> BuildProcessorCatalog::GetVersionInformation() const
{
    return _impl->context->queries.Submit({}, {}, [engine = _impl->context->enginePath](std::stop_token i_stop) {
        std::vector<std::pair<std::string, std::string>> versions{{"Build Processor", BUILDPROCESSOR_VERSION}};
        try {
            versions.emplace_back("prusa-slicer", GetEngineVersion(engine, i_stop));
        } catch (const CommunicationException& failure) {
            versions.emplace_back("prusa-slicer", failure.code() == ErrorCode::ProcessingAborted ? "" : failure.what());
        }
        return versions;
    });
}

std::future<std::string> BuildProcessorCatalog::InstallMachine(ServiceId /*i_service*/,
                                                               const std::filesystem::path& i_file)
{
    ServiceContext& context = *_impl->context;
    return context.queries.Submit({}, {}, [&context, i_file](std::stop_token i_stop) {
        const auto findFault = [&](const MachineProfile& i_profile) {
            return DescribeFault(i_profile, context, i_stop);
        };
        try {
            return InstallProfile(i_file, context.profilesDir, findFault);
        } catch (const ProfileError& error) {
            Fail(ErrorCode::FileError, error.what());
        }
    });
}

MachineNews BuildProcessorCatalog::_FindNews()
{
    // Before the folder is read: what changes meanwhile is seen next time.
    _impl->watcher.Arm();
    if (!std::exchange(_impl->isArmed, true) && !_impl->watcher.IsWatching())
        qCWarning(ServiceLog, "The system cannot watch the folder of profiles; it is read every half second.");
    std::vector<std::string> problems;
    auto news = _impl->context->registry.Replace(_impl->folder.Scan(problems));
    for (const std::string& problem : problems)
        qCWarning(ServiceLog, "%s", problem.c_str());
    return news;
}

void BuildProcessorCatalog::_Wait()
{
    _impl->watcher.Wait();
}

void BuildProcessorCatalog::_Wake()
{
    _impl->watcher.Wake();
}

std::optional<Machine> BuildProcessorCatalog::_MakeMachine(const boost::uuids::uuid& i_id) const
{
    const auto profile = _impl->context->registry.Find(i_id);
    if (!profile)
        return std::nullopt;
    return Machine(std::make_unique<BuildProcessorStrategy>(*profile, _impl->context));
}

} // namespace MachineService::BuildProcessor
