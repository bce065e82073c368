#include "remote/Handshake.h"

#include "contract/Failure.h"
#include "remote/ServiceAnswers.h"
#include "remote/StatusTrouble.h"
#include "remote/trust/CertificateLook.h"
#include "remote/trust/Fingerprint.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "wire/Protocol.h"

#include <QCoreApplication>

#include <algorithm>

namespace MachineService::Remote {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineService::Remote)
};

constexpr std::chrono::seconds ConnectDeadlineHere(5);
constexpr std::chrono::seconds ConnectDeadlineElsewhere(10);
constexpr std::chrono::seconds LongestLook(2);
constexpr std::uint64_t MaxAuthorityBytes = 10'000'000;

std::string ReadAuthority(const RemoteService& i_service)
{
    if (i_service.authorityFile.empty())
        return {};
    try {
        return TavSDK::ReadFile(i_service.authorityFile, MaxAuthorityBytes);
    } catch (const TavSDK::FileError& failure) {
        Fail(ErrorCode::FileError, "The file with the certificates for the machine service at " +
                                       TavSDK::Quote(i_service.address.text, 300) + ", " +
                                       TavSDK::Quote(TavSDK::ShowPath(i_service.authorityFile)) +
                                       ", cannot be read: " + failure.what() + '.');
    }
}

/// Of which of two lists the pin is to be taken out, or nothing.
std::string DescribePin(const RemoteService& i_service)
{
    if (!i_service.pin.empty() || i_service.pins.GetFile().empty())
        return {};
    const std::string file = TavSDK::Quote(TavSDK::ShowPath(i_service.pins.GetFile()));
    return ' ' + Texts::tr("The pin is in the file %1.").arg(QString::fromStdString(file)).toStdString();
}

/// More about a connection that was not made.
[[noreturn]] void ThrowAboutCertificate(const RemoteService& i_service, Trouble i_trouble, const ServiceTrust& i_trust)
{
    const auto& address = i_service.address;
    if (i_trouble == Trouble::CertificateChanged)
        throw TroubleException(i_trouble, address, DescribePin(i_service));
    const auto look = LookAtCertificate(address, i_trust.authority, LongestLook, i_service.stop.get_token());
    if (look.trouble != Trouble::CertificateUnknown || look.fingerprint.empty())
        throw TroubleException(look.trouble, address);
    const QString more =
        Texts::tr("The fingerprint of its certificate is %1: pin it if the administrator of the service tells the same "
                  "one.")
            .arg(QString::fromStdString(ShowFingerprint(look.fingerprint)));
    throw TroubleException(look.trouble, address, ' ' + more.toStdString(), look.fingerprint);
}

} // namespace

std::shared_ptr<Connection> Connect(const RemoteService& i_service, const std::stop_token& i_stop)
{
    ServiceTrust trust;
    if (!i_service.address.isLocal) {
        trust.pin = i_service.pin.empty() ? i_service.pins.Find(i_service.address.text).value_or("") : i_service.pin;
        trust.authority = trust.pin.empty() ? ReadAuthority(i_service) : std::string();
    }
    const auto connection = std::make_shared<Connection>(i_service.address, trust);
    pb::ServiceInformationRequest request;
    request.set_protocol_revision(Wire::ProtocolRevision);
    const QString host =
        QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion();
    request.set_host(host.trimmed().toStdString());
    for (const auto& language : i_service.languages)
        request.add_languages(language);
    Call call(*connection, i_service.address.isLocal ? ConnectDeadlineHere : ConnectDeadlineElsewhere,
              {i_service.stop.get_token(), i_stop});
    pb::ServiceInformation information;
    const auto status = connection->GetStub().GetServiceInformation(&call.GetContext(), request, &information);
    try {
        i_service.Check(status, call.GetContext(), i_stop);
    } catch (const TroubleException& failure) {
        if (failure.trouble != Trouble::CertificateUnknown && failure.trouble != Trouble::CertificateChanged)
            throw;
        ThrowAboutCertificate(i_service, failure.trouble, trust);
    }
    if (information.oldest_host_revision() > Wire::ProtocolRevision)
        throw TroubleException(Trouble::HostTooOld, i_service.address);
    if (information.protocol_revision() < Wire::OldestServiceRevision)
        throw TroubleException(Trouble::ServiceTooOld, i_service.address);
    connection->told = ToServiceTold(information);
    connection->requiresAuthentication = information.requires_authentication();
    return connection;
}

void Authenticate(const RemoteService& i_service, Connection& io_connection,
                  const std::optional<AuthenticationData>& i_credentials, const std::stop_token& i_stop)
{
    if (!i_credentials) {
        if (io_connection.requiresAuthentication)
            throw TroubleException(Trouble::CredentialsNeeded, i_service.address);
        return;
    }
    Call call(io_connection, QuestionDeadline, {i_service.stop.get_token(), i_stop});
    pb::AuthenticationRequest request;
    request.set_user(i_credentials->user);
    request.set_secret(i_credentials->secret);
    pb::AuthenticationReply reply;
    const auto status = io_connection.GetStub().SetAuthentication(&call.GetContext(), request, &reply);
    if (IsUnknownCall(status))
        return;
    i_service.Check(status, call.GetContext(), i_stop);
    if (reply.result() == pb::AUTHENTICATION_RESULT_REJECTED)
        throw TroubleException(Trouble::CredentialsRefused, i_service.address);
    if (reply.result() == pb::AUTHENTICATION_RESULT_UNAVAILABLE)
        throw TroubleException(Trouble::Busy, i_service.address);
    io_connection.token = reply.token();
}

} // namespace MachineService::Remote
