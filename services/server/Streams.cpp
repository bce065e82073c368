#include "server/Streams.h"

#include "wire/Conversions.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

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

pb::Run ToMessage(const RunState& i_state)
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
        *run.mutable_failure() = Wire::ToFailure(i_state.failure);
    return run;
}

RunStream::Next RunStream::_GetNext(pb::Run& o_run)
{
    if (_hasEnded)
        return Next::End;
    const RunState state = _book.Get(_id);
    if (_told == state.version)
        return Next::Nothing;
    _told = state.version;
    _hasEnded = state.HasEnded();
    o_run = ToMessage(state);
    return Next::Ready;
}

} // namespace MachineService::Server
