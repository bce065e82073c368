#include "hosting/Host.h"

#include "client/interface/CommunicationException.h"
#include "hosting/HostingError.h"

#include <QEventLoop>
#include <QLoggingCategory>
#include <QTimer>

#include <algorithm>
#include <map>
#include <mutex>
#include <utility>

namespace Hosting {

namespace {

Q_LOGGING_CATEGORY(HostingLog, "machineservice.hosting")

} // namespace

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

/// Why services of endpoints do not run.
struct Host::ServiceReasons
{
    void Set(MachineService::ServiceId i_service, const std::string& i_reason)
    {
        const std::lock_guard lock(mutex);
        reasons[i_service] = i_reason;
    }
    std::string Get(MachineService::ServiceId i_service)
    {
        const std::lock_guard lock(mutex);
        return reasons[i_service];
    }

    std::mutex mutex; ///< guards the reasons
    std::map<MachineService::ServiceId, std::string> reasons;
};

Host::Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir,
           const ServiceChoice& i_choice)
    : _dataDir(i_data_dir)
    , _choice(i_choice)
    , _reasons(std::make_shared<ServiceReasons>())
    , _rule(std::make_shared<MachineRule>())
    , _provider(i_documents_dir)
{
    _application.CreateDatabase();
    _client = std::make_unique<MachineService::CommunicationClient>(
        GetApiProviderGetter(),
        [i_data_dir, i_choice, reasons = _reasons](MachineService::ServiceId i_service) {
            return MakePluginUtility(i_service, i_data_dir, i_choice,
                                     [reasons, i_service](MachineService::ServiceStatus, const std::string& i_reason) {
                                         reasons->Set(i_service, i_reason);
                                     });
        },
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

bool Host::_IsNeeded(MachineService::ServiceId i_service) const
{
    const auto number = static_cast<std::int32_t>(i_service) - MachineService::FirstEndpointService;
    return number < 0 || static_cast<std::size_t>(number) < _choice.endpoints.size();
}

void Host::_Refuse(MachineService::ServiceId i_service) const
{
    if (i_service == MachineService::ServiceId::BuildProcessors)
        throw HostingError(tr("The Build Processors did not start."));
    const auto reason = _reasons->Get(i_service);
    if (i_service == MachineService::ServiceId::MachineManager && reason.empty())
        throw HostingError(tr("The Machine Manager did not start."));
    throw HostingError(reason.empty()
                           ? tr("The machine service number %1 did not start.").arg(static_cast<int>(i_service))
                           : QString::fromStdString(reason));
}

QString Host::GetServiceReason(MachineService::ServiceId i_service) const
{
    return QString::fromStdString(_reasons->Get(i_service));
}

std::vector<MachineService::ServiceId> Host::BeginServices()
{
    using namespace MachineService;
    std::vector<ServiceId> started;
    if (!_choice.areOnlyEndpoints) {
        if (!_client->Start(ServiceId::BuildProcessors))
            throw HostingError(tr("The Build Processors cannot be started."));
        started.push_back(ServiceId::BuildProcessors);
    }
    if (_choice.hasManager && _client->Start(ServiceId::MachineManager))
        started.push_back(ServiceId::MachineManager);
    // One after the other, up to the first number that is not there.
    for (auto number = FirstEndpointService;; ++number) {
        try {
            if (!_client->Start(static_cast<ServiceId>(number)))
                return started;
            started.push_back(static_cast<ServiceId>(number));
        } catch (const CommunicationException& failure) {
            _reasons->Set(static_cast<ServiceId>(number), failure.what());
            qCWarning(HostingLog, "%s", failure.what());
            if (_IsNeeded(static_cast<ServiceId>(number)))
                _Refuse(static_cast<ServiceId>(number));
        }
    }
}

bool Host::StartManager()
{
    try {
        return _client->Start(MachineService::ServiceId::MachineManager);
    } catch (const MachineService::CommunicationException& failure) {
        _reasons->Set(MachineService::ServiceId::MachineManager, failure.what());
        _Refuse(MachineService::ServiceId::MachineManager);
    }
}

bool Host::StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled)
{
    using namespace MachineService;
    QEventLoop loop;
    std::map<ServiceId, ServiceStatus> known;
    std::vector<ServiceId> started;
    const auto isSettled = [&](ServiceId i_service) {
        const auto status = known[i_service];
        return status == ServiceStatus::Running || status == ServiceStatus::Failed ||
               status == ServiceStatus::AuthenticationRequired;
    };
    connect(_client.get(), &CommunicationClient::ServiceStatusChanged, &loop,
            [&](ServiceId i_service, ServiceStatus i_status) {
                known[i_service] = i_status;
                if (std::all_of(started.begin(), started.end(), isSettled))
                    loop.quit();
            });
    started = BeginServices();
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
    for (const auto service : started) {
        if (_IsNeeded(service) && known[service] != ServiceStatus::Running)
            _Refuse(service);
    }
    return true;
}

} // namespace Hosting
