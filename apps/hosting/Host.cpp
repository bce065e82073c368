#include "hosting/Host.h"

#include "hosting/HostingError.h"
#include "hosting/PluginUtility.h"

#include <QEventLoop>
#include <QTimer>

namespace Hosting {

Host::Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir)
    : _provider(i_documents_dir)
{
    _application.CreateDatabase();
    _client = std::make_unique<MachineService::CommunicationClient>(
        GetApiProviderGetter(),
        [i_data_dir](MachineService::ServiceId i_service) { return MakePluginUtility(i_service, i_data_dir); },
        [](const MachineService::MachineData&) { return true; }, nullptr);
    _client->HandleModeChanged(ProgramModePlatform);
}

Host::~Host()
{
    _client->HandleModeChanged(ProgramModeNone);
}

std::function<IVexlorApiProvider&()> Host::GetApiProviderGetter()
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
