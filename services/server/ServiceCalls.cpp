#include "server/ServiceCalls.h"

#include "server/Streams.h"
#include "server/TextLanguage.h"
#include "wire/Conversions.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

/// Hosts ask often and wait for nothing else meanwhile.
constexpr auto LongestCanRunAnswer = std::chrono::seconds(2);
constexpr int MaxIconsAtOnce = 10'000;

void CheckRevision(std::uint32_t i_revision)
{
    if (i_revision < Wire::OldestHostRevision)
        throw Wire::WireFailure(Wire::WireFailure::Kind::BadRequest, ErrorCode::InternalError,
                                "The host speaks a revision of the machine service protocol that is too old for this "
                                "service; install a newer version of the host.",
                                "bad-request");
}

/// Empty when the machine does not answer in time.
std::optional<CanRunAnswer> Ask(const Machine& i_machine, const boost::uuids::uuid& i_command,
                                std::chrono::steady_clock::time_point i_until)
{
    if (const auto* const explaining = i_machine.TryExplain()) {
        auto answer = explaining->ExplainCanRunCommand(i_command);
        if (!answer.valid() || answer.wait_until(i_until) != std::future_status::ready)
            return std::nullopt;
        return answer.get();
    }
    auto answer = i_machine.CanRunCommand(i_command);
    if (!answer.valid() || answer.wait_until(i_until) != std::future_status::ready)
        return std::nullopt;
    return CanRunAnswer{answer.get(), {}};
}

} // namespace

grpc::Status ServiceCalls::GetServiceInformation(grpc::ServerContext* iop_context,
                                                 const pb::ServiceInformationRequest* ip_request,
                                                 pb::ServiceInformation* op_reply)
{
    try {
        CheckRevision(ip_request->protocol_revision());
        const auto& limits = _state.options.limits;
        op_reply->set_protocol_revision(Wire::ProtocolRevision);
        op_reply->set_oldest_host_revision(Wire::OldestHostRevision);
        op_reply->set_name(_state.options.name);
        op_reply->set_heartbeat_interval_ms(static_cast<std::uint32_t>(_state.options.heartbeat.count()));
        op_reply->set_host_grace_ms(static_cast<std::uint32_t>(limits.runs.hostGrace.count()));
        op_reply->set_finished_run_kept_ms(static_cast<std::uint32_t>(limits.runs.finishedKept.count()));
        op_reply->set_largest_input_bytes(limits.runs.inputBytes);
        op_reply->set_requires_authentication(_state.NeedsSecret(*iop_context));
        // A service that does not tell its versions now is a service all the same.
        auto versions = _state.catalog.GetVersionInformation();
        if (!versions.valid() || versions.wait_for(std::chrono::seconds(1)) != std::future_status::ready)
            return grpc::Status::OK;
        for (const auto& [name, version] : versions.get()) {
            auto& component = *op_reply->add_components();
            pb::Text text;
            Wire::SetText(text, name);
            component.set_name(text.text());
            Wire::SetText(text, version);
            component.set_version(text.text());
        }
        return grpc::Status::OK;
    } catch (...) {
        return Wire::ToStatus(std::current_exception(), *iop_context, _state.options.language);
    }
}

grpc::Status ServiceCalls::SetAuthentication(grpc::ServerContext* iop_context,
                                             const pb::AuthenticationRequest* ip_request,
                                             pb::AuthenticationReply* op_reply)
{
    try {
        if (_state.NeedsSecret(*iop_context)) {
            // The secret itself is the token: that it is revoked then counts with the next call.
            const bool isIn = !ip_request->forget() && _state.options.admit(ip_request->secret());
            op_reply->set_result(isIn || ip_request->forget() ? pb::AUTHENTICATION_RESULT_ACCEPTED
                                                              : pb::AUTHENTICATION_RESULT_REJECTED);
            if (isIn)
                op_reply->set_token(ip_request->secret());
            return grpc::Status::OK;
        }
        auto result = AuthenticationResult::NotRequired;
        for (const auto service : _state.options.services) {
            const auto data = ip_request->forget()
                                  ? std::nullopt
                                  : std::optional(AuthenticationData{ip_request->user(), ip_request->secret()});
            const auto answer = _state.catalog.SetAuthentication(service, data);
            if (answer != AuthenticationResult::NotRequired)
                result = answer;
        }
        op_reply->set_result(static_cast<pb::AuthenticationResult>(result));
        return grpc::Status::OK;
    } catch (...) {
        return Wire::ToStatus(std::current_exception(), *iop_context, _state.options.language);
    }
}

grpc::Status ServiceCalls::Refresh(grpc::ServerContext* iop_context, const pb::RefreshRequest* /*ip_request*/,
                                   pb::RefreshReply* /*op_reply*/)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        for (const auto service : _state.options.services)
            _state.catalog.Refresh(service);
    });
}

grpc::ServerWriteReactor<grpc::ByteBuffer>* ServiceCalls::WatchCatalog(grpc::CallbackServerContext* iop_context,
                                                                       const grpc::ByteBuffer* ip_request)
{
    pb::WatchCatalogRequest request;
    grpc::ByteBuffer bytes(*ip_request);
    const bool isRequest = grpc::SerializationTraits<pb::WatchCatalogRequest>::Deserialize(&bytes, &request).ok();
    auto stream = std::make_shared<CatalogStream>(*iop_context, _state.pump, _state.options.limits.idle,
                                                  _state.journal.Follow(request.epoch(), request.revision()));
    std::exception_ptr refusal;
    try {
        _state.Admit(*iop_context);
        if (!isRequest)
            throw Wire::WireFailure(Wire::WireFailure::Kind::BadRequest, ErrorCode::InternalError,
                                    "What the host asked for is not understood.", "bad-request");
    } catch (...) {
        refusal = std::current_exception();
    }
    stream->Begin(refusal);
    return stream.get();
}

grpc::Status ServiceCalls::GetIcons(grpc::ServerContext* iop_context, const pb::GetIconsRequest* ip_request,
                                    grpc::ServerWriter<pb::Icon>* iop_writer)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        if (ip_request->sha256_size() > MaxIconsAtOnce)
            throw Wire::WireFailure(Wire::WireFailure::Kind::BadRequest, ErrorCode::InternalError,
                                    "The host asked for too many icons at once.", "too-large");
        const auto watch = _state.watchdog.Watch(_state.options.limits.idle, [&] { iop_context->TryCancel(); });
        for (const auto& hash : ip_request->sha256()) {
            const auto icon = _state.icons.Find(hash);
            if (!icon)
                continue;
            pb::Icon message;
            message.set_sha256(icon->hash);
            message.set_content(icon->content);
            if (!iop_writer->Write(message))
                return;
            watch->Feed();
        }
    });
}

grpc::Status ServiceCalls::GetCanRunAnswers(grpc::ServerContext* iop_context, const pb::CanRunRequest* ip_request,
                                            pb::CanRunAnswers* op_reply)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        const Machine machine = _state.FindMachine(ip_request->machine());
        const auto until = std::chrono::steady_clock::now() + LongestCanRunAnswer;
        auto commands = machine.GetCommands();
        if (!commands.valid() || commands.wait_until(until) != std::future_status::ready)
            return;
        for (const auto& command : commands.get()) {
            const auto answer = Ask(machine, command.id, until);
            if (!answer)
                continue;
            auto& message = *op_reply->add_answers();
            message.set_command_id(Wire::ToBytes(command.id));
            message.set_can_run(answer->canRun);
            if (!answer->canRun)
                Wire::SetText(*message.mutable_reason(), answer->reason);
        }
        NameLanguage(_state.options.language, *op_reply);
    });
}

} // namespace MachineService::Server
