#include "WorkbenchHost.h"

#include "HostPluginUtility.h"

#include <QEventLoop>
#include <QTimer>

#include <stdexcept>

namespace Workbench {

WorkbenchHost::WorkbenchHost(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir)
    : _provider(i_documents_dir)
{
    _application.CreateDatabase();
    _client = std::make_unique<MachineService::CommunicationClient>(
        GetApiProviderGetter(),
        [i_data_dir](MachineService::ServiceId i_service) { return MakePluginUtility(i_service, i_data_dir); },
        [](const MachineService::MachineData&) { return true; }, nullptr);
    _client->HandleModeChanged(ProgramModePlatform);
}

WorkbenchHost::~WorkbenchHost()
{
    _client->HandleModeChanged(ProgramModeNone);
}

std::function<IVexlorApiProvider&()> WorkbenchHost::GetApiProviderGetter()
{
    return [this]() -> IVexlorApiProvider& {
        return _provider;
    };
}

bool WorkbenchHost::StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled)
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
        throw std::runtime_error(tr("The Build Processors cannot be started.").toStdString());
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
        throw std::runtime_error(tr("The Build Processors did not start.").toStdString());
    return true;
}

} // namespace Workbench
