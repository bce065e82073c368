#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "workbench/access/ISecretStore.h"

#include <QObject>

#include <deque>
#include <map>
#include <vector>

namespace Workbench {

/// What the user is asked before a service on another computer can be used: credentials, and whether a certificate is
/// the right one. One question at a time; one that was declined is asked again only when the user wants it.
///
/// Credentials come from the secret store first, and go there only when the service has accepted them.
///
/// Thread: UI thread.
/// Ownership: the store must outlive it.
class ServiceAccess final : public QObject
{
    Q_OBJECT

public:
    /// Gives credentials to a service, or takes them away; what comes of it is told by NoteStatus.
    using SignInCall =
        std::function<void(MachineService::ServiceId, const std::optional<MachineService::AuthenticationData>&)>;

    struct Question
    {
        enum class Kind
        {
            SignIn,
            Certificate,
        };

        Kind kind = Kind::SignIn;
        QString address;
        QString user;        ///< to sign in: as last time
        QString reason;      ///< to sign in: the service's sentence
        QString fingerprint; ///< of the certificate
    };

    /// What can be asked of the user about a service.
    enum class Offer
    {
        Nothing,
        SignIn,
        SignOut,
        Certificate,
    };

    ServiceAccess(ISecretStore& io_store, SignInCall i_sign_in, QObject* ip_parent = nullptr);

    /// \param i_reason the service's sentence when it does not run.
    void NoteStatus(MachineService::ServiceId i_service, const QString& i_address,
                    MachineService::ServiceStatus i_status, const QString& i_reason);
    void NoteCertificate(const MachineService::ServiceCertificate& i_certificate, std::function<void(bool)> i_answer);

    /// The one to be shown now; none when there is none.
    std::optional<Question> GetQuestion() const;
    /// \param i_is_kept in the secret store, when the service accepts them; otherwise the store forgets what it has.
    void SignIn(const MachineService::AuthenticationData& i_data, bool i_is_kept);
    void Trust();
    void Decline();

    Offer GetOffer(MachineService::ServiceId i_service) const;
    /// Does what is offered: asks once more, or signs out and forgets the credentials.
    void TakeOffer(MachineService::ServiceId i_service);

Q_SIGNALS:
    /// There is another question, or none any more.
    void QuestionChanged();
    void OffersChanged();
    /// A sentence for the user.
    void Told(const QString& i_sentence);

private:
    using Id = MachineService::ServiceId;

    struct Service
    {
        QString address;
        QString reason;
        MachineService::ServiceStatus status = MachineService::ServiceStatus::Stopped;
        std::optional<MachineService::AuthenticationData> given; ///< last, by the store or the user
        bool isStoreAsked = false;
        bool isDeclined = false;
        bool isToBeKept = false; ///< when the service accepts what the user gave
        bool isFromUser = false; ///< what was given; otherwise from the store
    };
    struct Certificate
    {
        QString address;
        QString fingerprint;
        std::function<void(bool)> answer;
        bool isDeclined = false;
    };

    void _Require(Id i_id);
    void _TakeStored(Id i_id, const std::optional<MachineService::AuthenticationData>& i_data);
    void _NoteAccepted(Id i_id);
    void _Ask(Id i_id);
    const Certificate* _FindDeclined(const QString& i_address) const;

    ISecretStore& _store;
    const SignInCall _signIn;
    std::map<Id, Service> _services;
    std::vector<Certificate> _certificates; ///< those not answered with yes
    /// What is asked, the first one now: a service to sign in to, or a certificate by its fingerprint.
    struct Asked
    {
        Id service = Id::None;
        QString address;
        QString fingerprint;

        bool operator==(const Asked&) const = default;
    };
    std::deque<Asked> _asked;
};

} // namespace Workbench
