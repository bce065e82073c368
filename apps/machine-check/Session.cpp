#include "machine-check/Session.h"

#include "tavsdk/InputFile.h"
#include "tavsdk/Text.h"
#include "wire/Failures.h"

#include <grpcpp/create_channel.h>

#include <stdexcept>

namespace MachineCheck {

namespace {

constexpr std::string_view TlsScheme = "tls://";
constexpr std::uint64_t MaxCaBytes = 1 << 20;

std::shared_ptr<grpc::Channel> MakeChannel(const Target& i_target)
{
    grpc::ChannelArguments arguments;
    // Each session is a connection of its own.
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    if (!i_target.address.starts_with(TlsScheme))
        return grpc::CreateCustomChannel(i_target.address, grpc::InsecureChannelCredentials(), arguments);
    grpc::SslCredentialsOptions options;
    if (!i_target.caFile.empty())
        options.pem_root_certs = TavSDK::ReadFile(i_target.caFile, MaxCaBytes);
    return grpc::CreateCustomChannel(i_target.address.substr(TlsScheme.size()), grpc::SslCredentials(options),
                                     arguments);
}

} // namespace

Session::Session(const Target& i_target)
    : _target(i_target)
    , _stub(pb::MachineService::NewStub(MakeChannel(i_target)))
{}

std::unique_ptr<grpc::ClientContext> Session::MakeContext() const
{
    auto context = std::make_unique<grpc::ClientContext>();
    context->set_deadline(std::chrono::system_clock::now() + _target.longestCall);
    if (!_target.token.empty())
        context->AddMetadata(MachineService::Wire::TokenMetadata, _target.token);
    return context;
}

bool Session::IsRefusedAsUnknown(const grpc::Status& i_status, const char* ip_reason) const
{
    const auto failure = MachineService::Wire::GetFailure(i_status, *_context);
    return i_status.error_code() == grpc::StatusCode::NOT_FOUND && failure && failure->reason() == ip_reason;
}

Report CheckService(const Target& i_target)
{
    Session session(i_target);
    Report report;
    pb::ServiceInformationRequest request;
    request.set_protocol_revision(MachineService::Wire::ProtocolRevision);
    request.set_host("machine-check");
    pb::ServiceInformation information;
    const auto status = session.Call(&pb::MachineService::Stub::GetServiceInformation, request, information);
    if (!status.ok())
        throw std::runtime_error("The service at " + TavSDK::Quote(i_target.address) +
                                 " does not tell of itself; look whether it runs. It says " +
                                 TavSDK::Quote(status.error_message(), 200) + '.');
    report.Expect(information.protocol_revision() >= 1 && information.oldest_host_revision() >= 1 &&
                      information.oldest_host_revision() <= information.protocol_revision(),
                  "I1",
                  "It speaks revision " + std::to_string(information.protocol_revision()) + " and asks for " +
                      std::to_string(information.oldest_host_revision()) + " at least.");
    report.Expect(!information.name().empty(), "I2", "The name is empty.");
    CheckAuthentication(session, information.requires_authentication(), report);
    Seen seen = CheckCatalog(session, information.heartbeat_interval_ms(), report);
    seen.revision = information.protocol_revision();
    CheckResumption(session, information.heartbeat_interval_ms(), report);
    CheckAnswers(session, seen, report);
    CheckPlatforms(session, seen, report);
    CheckAssignments(session, seen, report);
    CheckRuns(session, seen, report);
    return report;
}

} // namespace MachineCheck
