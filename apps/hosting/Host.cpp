#include "hosting/Host.h"

#include "hosting/HostingError.h"
#include "hosting/PluginUtility.h"

#include <QEventLoop>
#include <QTimer>

#include <mutex>
#include <utility>

namespace Hosting {

struct Host::MachineRule
{
    bool Accepts(const MachineService::MachineData& i_data)
    {
        std::function<bool(const MachineService::MachineData&)> accepts;
        {
            const std::lock_guard lock(mutex);
            accepts = rule;
        }
        return !accepts || accepts(i_data);
    }

    std::mutex mutex; ///< guards the rule, which is called without it
    std::function<bool(const MachineService::MachineData&)> rule;
};

Host::Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir)
    : _dataDir(i_data_dir)
    , _rule(std::make_shared<MachineRule>())
    , _provider(i_documents_dir)
{
    _application.CreateDatabase();
    _client = std::make_unique<MachineService::CommunicationClient>(
        GetApiProviderGetter(),
        [i_data_dir](MachineService::ServiceId i_service) { return MakePluginUtility(i_service, i_data_dir); },
        [rule = _rule](const MachineService::MachineData& i_data) { return rule->Accepts(i_data); }, nullptr);
    _client->HandleModeChanged(ProgramModePlatform);
}

Host::~Host()
{
    _client->HandleModeChanged(ProgramModeNone);
}

void Host::SetMachineRule(std::function<bool(const MachineService::MachineData&)> i_rule)
{
    {
        const std::lock_guard lock(_rule->mutex);
        _rule->rule = std::move(i_rule);
    }
    _client->InvalidateProxyMachineCatalog();
}

VexlorCore::ApiProviderGetter Host::GetApiProviderGetter()
{
    return [this]() -> IVexlorApiProvider& {
        return _provider;
    };
}

bool Host::StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled)
{
    using namespace MachineService;
    QEventLoop loop;
    ServiceStatus status = ServiceStatus::Stopped;
    connect(_client.get(), &CommunicationClient::ServiceStatusChanged, &loop,
            [&](ServiceId i_service, ServiceStatus i_status) {
                if (i_service != ServiceId::BuildProcessors)
                    return;
                status = i_status;
                if (status == ServiceStatus::Running || status == ServiceStatus::Failed)
                    loop.quit();
            });
    if (!_client->Start(ServiceId::BuildProcessors))
        throw HostingError(tr("The Build Processors cannot be started."));
    QTimer::singleShot(i_deadline, &loop, &QEventLoop::quit);
    QTimer cancelled;
    connect(&cancelled, &QTimer::timeout, &loop, [&] {
        if (i_is_cancelled())
            loop.quit();
    });
    cancelled.start(std::chrono::milliseconds(50));
    loop.exec();
    if (i_is_cancelled())
        return false;
    if (status != ServiceStatus::Running)
        throw HostingError(tr("The Build Processors did not start."));
    return true;
}

} // namespace Hosting
