#pragma once

#include "client/CommunicationClient.h"
#include "hosting/PluginUtility.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QObject>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Hosting {

/// The reference host: an application with one database, an API provider and the communication client.
///
/// It shows all that embedding the library takes.
///
/// Thread: UI thread, on which an event loop must run.
class Host final : public QObject
{
    Q_OBJECT

public:
    /// \param i_documents_dir copies of documents that machines return.
    /// \param i_data_dir what the services make.
    Host(const std::filesystem::path& i_documents_dir, const std::filesystem::path& i_data_dir,
         const ServiceChoice& i_choice = {});
    ~Host() override;

    VexlorCore::Database& GetDatabase() { return *_application.GetDatabase(); }
    Vexlor::ReferenceApiProvider& GetApiProvider() { return _provider; }
    MachineService::CommunicationClient& GetClient() { return *_client; }
    /// What the services make.
    const std::filesystem::path& GetDataDir() const { return _dataDir; }
    /// Which machines exist for this host, from now on; all of them without a rule. It is called on any thread.
    void SetMachineRule(std::function<bool(const MachineService::MachineData&)> i_rule);
    /// For the operations of the library that take one.
    VexlorCore::ApiProviderGetter GetApiProviderGetter();

    /// Starts the services without waiting for them: their news tell how they do.
    /// \return those that were started, in the order of their numbers.
    /// \throws HostingError when the Build Processors, or a service of the command line, cannot be started.
    std::vector<MachineService::ServiceId> BeginServices();
    /// Starts the user's own Machine Manager as BeginServices does where the choice has one, for a host that makes up
    /// its mind later. Once more it tries again what has failed. There is no way back while the host lives.
    /// \return false when there is none in this library.
    /// \throws HostingError when it cannot be started.
    bool StartManager();
    /// Why a service of an endpoint, or the Machine Manager, does not run, a sentence for the user; empty when
    /// it is not known, and for others.
    QString GetServiceReason(MachineService::ServiceId i_service) const;
    /// "unix:PATH" or "tls://HOST:PORT" of a service of an endpoint; empty for others.
    QString GetServiceAddress(MachineService::ServiceId i_service) const;
    using CertificateQuestion =
        std::function<void(const MachineService::ServiceCertificate&, std::function<void(bool)>)>;
    /// Who answers AbstractPluginUtility::ConfirmCertificate, on the UI thread. Without it nobody is asked.
    void SetCertificateQuestion(CertificateQuestion i_question) { _certificateQuestion = std::move(i_question); }
    /// Gets the service's sentence and what takes the answer, which may come later; without credentials it declines.
    using CredentialsQuestion = std::function<void(
        const QString&, std::function<void(const std::optional<MachineService::AuthenticationData>&)>)>;
    /// Who gives credentials to services that ask for them while StartServices waits, on the UI thread.
    void SetCredentialsQuestion(CredentialsQuestion i_question) { _credentialsQuestion = std::move(i_question); }
    /// Starts the services and waits, with the event loop turning, until each runs or has failed.
    /// \return false when i_is_cancelled says so meanwhile.
    /// \throws HostingError when the Build Processors, or a service of the command line, do not run within i_deadline,
    /// not counting the time in which the user is asked.
    /// Of those of the user's file, which come and go, the window and the log tell.
    bool StartServices(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled);

private:
    struct MachineRule;
    struct ServiceNotes;
    struct Waiting;

    ServiceListener _Listen(MachineService::ServiceId i_service);
    void _AskAbout(const MachineService::ServiceCertificate& i_certificate, const std::function<void(bool)>& i_answer);
    void _NoteStatus(const std::shared_ptr<Waiting>& ip_waiting, MachineService::ServiceId i_service,
                     MachineService::ServiceStatus i_status);
    [[noreturn]] void _Refuse(MachineService::ServiceId i_service) const;
    /// Those without which the host is not what was asked for.
    bool _IsNeeded(MachineService::ServiceId i_service) const;

    const std::filesystem::path _dataDir;
    const ServiceChoice _choice;
    const std::shared_ptr<ServiceNotes> _notes; ///< the services may still tell while the client goes
    const std::shared_ptr<MachineRule> _rule;   ///< the services may still ask while the client goes
    CertificateQuestion _certificateQuestion;
    CredentialsQuestion _credentialsQuestion;
    std::weak_ptr<Waiting> _waiting; ///< of StartServices
    // Destroyed in reverse order: the client first, while application and provider are still there for its last calls.
    VexlorCore::UiThread _uiThread;
    VexlorCore::Application _application;
    Vexlor::ReferenceApiProvider _provider;
    std::unique_ptr<MachineService::CommunicationClient> _client;
};

} // namespace Hosting
