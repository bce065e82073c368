#include "server/RunMessages.h"

#include "hashing/Sha256.h"
#include "server/ServerState.h"
#include "server/TextLanguage.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

using Kind = Wire::WireFailure::Kind;

/// What makes two orders the same.
std::string GetFingerprint(pb::StartRunRequest i_request)
{
    i_request.clear_is_resumption();
    return HashOf(i_request.SerializeAsString());
}

pb::RunPhase ToPhase(RunState::Phase i_phase)
{
    switch (i_phase) {
    case RunState::Phase::WaitingForInput:
        return pb::RUN_PHASE_WAITING_FOR_INPUT;
    case RunState::Phase::Running:
        return pb::RUN_PHASE_RUNNING;
    case RunState::Phase::Finished:
        return pb::RUN_PHASE_FINISHED;
    case RunState::Phase::Failed:
        return pb::RUN_PHASE_FAILED;
    }
    return pb::RUN_PHASE_UNKNOWN;
}

} // namespace

boost::uuids::uuid ReadRunId(const std::string& i_bytes)
{
    return ReadRequest([&] {
        const auto id = Wire::ToUuid(i_bytes, "run's id");
        if (id.is_nil())
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError, "The run has no id.", "bad-request");
        return id;
    });
}

RunOrder ToOrder(const pb::StartRunRequest& i_request, const std::string& i_client)
{
    RunOrder order;
    order.id = ReadRunId(i_request.run_id());
    order.client = i_client;
    order.fingerprint = GetFingerprint(i_request);
    order.isResumption = i_request.is_resumption();
    order.takesLateHashes = i_request.takes_late_hashes();
    order.parameters = ReadRequest([&] { return Wire::GetParameters(i_request); });
    order.parameters.runId = order.id;
    if (i_request.has_input()) {
        const auto& input = i_request.input();
        order.input = RunFile{input.name(), input.size_bytes(), input.sha256()};
        if (!input.sha256().empty() && input.sha256().size() != 32)
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                    "The input is announced with a hash that is none.", "bad-request");
    }
    if (!pb::RunKind_IsValid(i_request.kind()))
        throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                "The service does not know this kind of run; install a newer version of it.",
                                "bad-request");
    return order;
}

pb::Run ToMessage(const RunState& i_state, const std::string& i_language)
{
    pb::Run run;
    run.set_run_id(Wire::ToBytes(i_state.id));
    run.set_phase(ToPhase(i_state.phase));
    run.set_received_bytes(i_state.received);
    run.set_percent(static_cast<std::uint32_t>(i_state.percent));
    Wire::SetText(*run.mutable_stage(), i_state.stage);
    if (i_state.phase == RunState::Phase::Finished)
        *run.mutable_result() = Wire::ToMessage(i_state.result);
    for (const auto& file : i_state.files) {
        auto& message = *run.add_files();
        message.set_name(file.name);
        message.set_size_bytes(file.size);
        message.set_sha256(file.hash);
    }
    if (i_state.failure)
        *run.mutable_failure() = Wire::ToFailure(i_state.failure, i_language);
    NameLanguage(i_language, run);
    return run;
}

} // namespace MachineService::Server
