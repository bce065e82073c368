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

/// What is known of services of endpoints.
struct Host::ServiceNotes
{
    struct Note
    {
        std::string address;
        std::string reason; ///< why it does not run
    };

    void SetAddress(MachineService::ServiceId i_service, const std::string& i_address)
    {
        const std::lock_guard lock(mutex);
        notes[i_service].address = i_address;
    }
    void SetReason(MachineService::ServiceId i_service, const std::string& i_reason)
    {
        const std::lock_guard lock(mutex);
        notes[i_service].reason = i_reason;
    }
    Note Get(MachineService::ServiceId i_service)
    {
        const std::lock_guard lock(mutex);
        return notes[i_service];
    }

    std::mutex mutex; ///< guards the notes
    std::map<MachineService::ServiceId, Note> notes;
};

/// For services that were started.
struct Host::Waiting
{
    bool IsSettled(MachineService::ServiceId i_service) const
    {
        using MachineService::ServiceStatus;
        const auto found = known.find(i_service);
        return found != known.end() && found->second != ServiceStatus::Stopped &&
               found->second != ServiceStatus::Starting;
    }
    void LeaveIfSettled()
    {
        if (questions == 0 && restarts == 0 &&
            std::all_of(started.begin(), started.end(), [this](auto i_id) { return IsSettled(i_id); }))
            loop.quit();
    }
    /// \param i_goes_on the service tries again with what the user said, and has all its time again.
    void TakeAnswer(bool i_goes_on)
    {
        --questions;
        if (i_goes_on) {
            ++restarts;
            deadline.start();
        }
        LeaveIfSettled();
    }

    QEventLoop loop;
    QTimer deadline;
    std::map<MachineService::ServiceId, MachineService::ServiceStatus> known;
    std::vector<MachineService::ServiceId> started;
    int questions = 0; ///< that the user has before them
    int restarts = 0;  ///< which services will tell, for they were told to go on
};

Host::Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir,
           const ServiceChoice& i_choice)
    : _dataDir(i_data_dir)
    , _choice(i_choice)
    , _notes(std::make_shared<ServiceNotes>())
    , _rule(std::make_shared<MachineRule>())
    , _provider(i_documents_dir)
{
    _application.CreateDatabase();
    _client = std::make_unique<MachineService::CommunicationClient>(
        GetApiProviderGetter(),
        [this, i_data_dir, i_choice](MachineService::ServiceId i_service) {
            return MakePluginUtility(i_service, i_data_dir, i_choice, _Listen(i_service));
        },
        [rule = _rule](const MachineService::MachineData& i_data) { return rule->Accepts(i_data); }, nullptr);
    _client->HandleModeChanged(ProgramModePlatform);
}

Host::~Host()
{
    _client->HandleModeChanged(ProgramModeNone);
}

ServiceListener Host::_Listen(MachineService::ServiceId i_service)
{
    ServiceListener listener;
    listener.handleEndpoint = [notes = _notes, i_service](const MachineService::ServiceEndpoint& i_endpoint) {
        notes->SetAddress(i_service, i_endpoint.address);
    };
    listener.handleStatus = [notes = _notes, i_service](MachineService::ServiceStatus, const std::string& i_reason) {
        notes->SetReason(i_service, i_reason);
    };
    // The threads that call it end with the client, before this; what they left behind goes with this.
    listener.confirmCertificate = [this](const MachineService::ServiceCertificate& i_certificate,
                                         const std::function<void(bool)>& i_answer) {
        QMetaObject::invokeMethod(
            this, [this, i_certificate, i_answer] { _AskAbout(i_certificate, i_answer); }, Qt::QueuedConnection);
    };
    return listener;
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
    const auto reason = _notes->Get(i_service).reason;
    if (i_service == MachineService::ServiceId::MachineManager && reason.empty())
        throw HostingError(tr("The Machine Manager did not start."));
    throw HostingError(reason.empty()
                           ? tr("The machine service number %1 did not start.").arg(static_cast<int>(i_service))
                           : QString::fromStdString(reason));
}

QString Host::GetServiceReason(MachineService::ServiceId i_service) const
{
    return QString::fromStdString(_notes->Get(i_service).reason);
}

QString Host::GetServiceAddress(MachineService::ServiceId i_service) const
{
    return QString::fromStdString(_notes->Get(i_service).address);
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
            _notes->SetReason(static_cast<ServiceId>(number), failure.what());
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
        _notes->SetReason(MachineService::ServiceId::MachineManager, failure.what());
        _Refuse(MachineService::ServiceId::MachineManager);
    }
}

void Host::_AskAbout(const MachineService::ServiceCertificate& i_certificate, const std::function<void(bool)>& i_answer)
{
    if (!_certificateQuestion)
        return;
    const auto waiting = _waiting.lock();
    if (waiting)
        ++waiting->questions;
    _certificateQuestion(i_certificate, [i_answer, weak = std::weak_ptr(waiting)](bool i_is_trusted) {
        i_answer(i_is_trusted);
        if (const auto asked = weak.lock())
            asked->TakeAnswer(i_is_trusted);
    });
}

void Host::_NoteStatus(const std::shared_ptr<Waiting>& ip_waiting, MachineService::ServiceId i_service,
                       MachineService::ServiceStatus i_status)
{
    using namespace MachineService;
    ip_waiting->known[i_service] = i_status;
    if (i_status == ServiceStatus::Starting && ip_waiting->restarts > 0)
        --ip_waiting->restarts;
    if (i_status == ServiceStatus::AuthenticationRequired && _credentialsQuestion) {
        ++ip_waiting->questions;
        _credentialsQuestion(GetServiceReason(i_service), [this, i_service, weak = std::weak_ptr(ip_waiting)](
                                                              const std::optional<AuthenticationData>& i_data) {
            const auto asked = weak.lock();
            if (!asked)
                return;
            if (i_data)
                _client->SetAuthentication(i_service, i_data);
            asked->TakeAnswer(i_data.has_value());
        });
    }
    ip_waiting->LeaveIfSettled();
}

bool Host::StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled)
{
    using namespace MachineService;
    const auto waiting = std::make_shared<Waiting>();
    _waiting = waiting;
    connect(_client.get(), &CommunicationClient::ServiceStatusChanged, &waiting->loop,
            [&](ServiceId i_service, ServiceStatus i_status) { _NoteStatus(waiting, i_service, i_status); });
    waiting->started = BeginServices();
    connect(&waiting->deadline, &QTimer::timeout, &waiting->loop, [&] {
        if (waiting->questions == 0)
            waiting->loop.quit();
    });
    waiting->deadline.start(i_deadline);
    QTimer cancelled;
    connect(&cancelled, &QTimer::timeout, &waiting->loop, [&] {
        if (i_is_cancelled())
            waiting->loop.quit();
    });
    cancelled.start(std::chrono::milliseconds(50));
    waiting->loop.exec();
    if (i_is_cancelled())
        return false;
    for (const auto service : waiting->started) {
        if (_IsNeeded(service) && waiting->known[service] != ServiceStatus::Running)
            _Refuse(service);
    }
    return true;
}

} // namespace Hosting
