#include "apps/machine-check/FaultyService.h"

#include "hashing/Sha256.h"
#include "wire/Chunks.h"
#include "wire/Failures.h"

#include <grpcpp/server_builder.h>

namespace TestSupport {

namespace pb = MachineService::Wire::pb;
namespace Wire = MachineService::Wire;

namespace {

const std::string MachineId = "machine-number-1";
const std::string CommandId = "command-number-1";
const std::string Epoch = "the only epoch..";
const std::string IconBytes = "an icon";
const std::string Result = "what the run left";
constexpr int HeartbeatMs = 200;

grpc::Status RefuseAs(grpc::ServerContext& io_context, Wire::WireFailure::Kind i_kind, const char* ip_reason)
{
    return Wire::ToStatus(std::make_exception_ptr(Wire::WireFailure(i_kind, MachineService::ErrorCode::InternalError,
                                                                    "The service refuses it.", ip_reason)),
                          io_context);
}

grpc::Status RefuseUnknown(grpc::ServerContext& io_context, const char* ip_reason)
{
    return RefuseAs(io_context, Wire::WireFailure::Kind::NotFound, ip_reason);
}

} // namespace

FaultyService::FaultyService(const std::string& i_address, Fault i_fault)
    : _fault(i_fault)
{
    grpc::ServerBuilder builder;
    builder.AddListeningPort(i_address, grpc::InsecureServerCredentials());
    builder.RegisterService(this);
    _server = builder.BuildAndStart();
}

FaultyService::~FaultyService()
{
    {
        const std::lock_guard lock(_mutex);
        _isStopping = true;
        _stopped.notify_all();
    }
    _server->Shutdown(std::chrono::system_clock::now());
}

grpc::Status FaultyService::GetServiceInformation(Context*, const pb::ServiceInformationRequest*,
                                                  pb::ServiceInformation* op_reply)
{
    op_reply->set_protocol_revision(_fault == Fault::RevisionZero ? 0 : Wire::ProtocolRevision);
    op_reply->set_oldest_host_revision(1);
    op_reply->set_name(_fault == Fault::NoName ? "" : "Faulty");
    op_reply->set_heartbeat_interval_ms(HeartbeatMs);
    op_reply->set_requires_authentication(_fault >= Fault::NoneButSecret && _fault <= Fault::TakesAnyToken);
    return grpc::Status::OK;
}

bool FaultyService::_IsLetIn(const Context& i_context) const
{
    if (_fault < Fault::NoneButSecret || _fault > Fault::TakesAnyToken || _fault == Fault::LetsAnybodyIn)
        return true;
    const auto token = i_context.client_metadata().find(Wire::TokenMetadata);
    return token != i_context.client_metadata().end() &&
           (_fault == Fault::TakesAnyToken || token->second == FaultyServiceToken);
}

grpc::Status FaultyService::SetAuthentication(Context*, const pb::AuthenticationRequest* ip_request,
                                              pb::AuthenticationReply* op_reply)
{
    const bool isAccepted = ip_request->secret() == FaultyServiceToken || _fault == Fault::AcceptsAnySecret;
    op_reply->set_result(isAccepted ? pb::AUTHENTICATION_RESULT_ACCEPTED : pb::AUTHENTICATION_RESULT_REJECTED);
    op_reply->set_token(isAccepted ? FaultyServiceToken : "");
    return grpc::Status::OK;
}

pb::Machine FaultyService::_MakeMachine()
{
    pb::Machine machine;
    machine.set_id(_fault == Fault::NilMachine ? std::string(16, '\0') : MachineId);
    if (_fault == Fault::OtherMachines && _snapshots++ > 1)
        machine.set_id("machine-number-2");
    machine.set_name(_fault == Fault::NamelessMachine ? "" : "Machine");
    for (int command = 0; command < (_fault == Fault::DoubleCommand ? 2 : 1); ++command) {
        auto& message = *machine.add_commands();
        message.set_id(CommandId);
        message.set_type(pb::COMMAND_TYPE_BUILD);
        message.set_data_format(pb::DATA_FORMAT_PLATFORM);
        message.mutable_name()->set_text("Do");
        message.mutable_name()->set_language(_fault == Fault::WrongLanguage ? "en_GB" : "en-GB");
        message.set_icon_sha256(MachineService::HashOf(IconBytes));
    }
    auto& volume = *machine.mutable_build_volume();
    volume.set_max_x_mm(_fault == Fault::FlatVolume ? 0 : 10);
    volume.set_max_y_mm(10);
    volume.set_height_mm(10);
    return machine;
}

grpc::Status FaultyService::WatchCatalog(Context* iop_context, const pb::WatchCatalogRequest* ip_request,
                                         Writer<pb::CatalogEvent>* iop_writer)
{
    if (!_IsLetIn(*iop_context))
        return {grpc::StatusCode::UNAUTHENTICATED, "Who is there?"};
    const bool isBehind = _fault == Fault::ResumesBehind && ip_request->epoch() == Epoch;
    const bool isResumed = isBehind || (_fault == Fault::ResumesEveryEpoch && !ip_request->epoch().empty());
    std::unique_lock lock(_mutex);
    pb::CatalogEvent event;
    event.set_epoch(Epoch);
    event.set_revision(5);
    event.set_status(pb::SERVICE_STATUS_RUNNING);
    iop_writer->Write(event);
    if (_fault == Fault::OtherEpoch)
        event.set_epoch("another epoch...");
    if (_fault == Fault::FallingRevision)
        event.set_revision(4);
    *event.mutable_snapshot()->add_machines() = _MakeMachine();
    event.mutable_snapshot()->set_is_last(_fault != Fault::NoLastPage);
    if (!isResumed)
        iop_writer->Write(event);
    event.mutable_heartbeat();
    if (isBehind)
        event.set_revision(1);
    while (!_isStopping && !iop_context->IsCancelled()) {
        _stopped.wait_for(lock, std::chrono::milliseconds(HeartbeatMs / 2));
        if (_fault != Fault::NoHeartbeat)
            iop_writer->Write(event);
    }
    return grpc::Status::OK;
}

grpc::Status FaultyService::GetIcons(Context*, const pb::GetIconsRequest* ip_request, Writer<pb::Icon>* iop_writer)
{
    for (const auto& hash : ip_request->sha256()) {
        pb::Icon icon;
        icon.set_sha256(hash);
        icon.set_content(_fault == Fault::WrongIcon ? "another icon" : IconBytes);
        iop_writer->Write(icon);
    }
    return grpc::Status::OK;
}

grpc::Status FaultyService::GetCanRunAnswers(Context* iop_context, const pb::CanRunRequest* ip_request,
                                             pb::CanRunAnswers* op_reply)
{
    if (ip_request->machine().machine_id() == std::string(16, '\x5a') && _fault != Fault::KnowsEveryMachine)
        return RefuseUnknown(*iop_context, "unknown-machine");
    auto& answer = *op_reply->add_answers();
    answer.set_command_id(_fault == Fault::AnswerForOther ? MachineId : CommandId);
    answer.set_can_run(true);
    return grpc::Status::OK;
}

grpc::Status FaultyService::GetEmptyPlatform(Context* iop_context, const pb::EmptyPlatformRequest* ip_request,
                                             Writer<pb::PlatformReply>* iop_writer)
{
    if (ip_request->machine().machine_id() == std::string(16, '\x5a') && _fault != Fault::KnowsEveryMachine)
        return RefuseUnknown(*iop_context, "unknown-machine");
    pb::PlatformReply reply;
    for (const std::uint32_t percent : {10, _fault == Fault::PlatformPercentFalls ? 5 : 20}) {
        reply.set_percent(percent);
        iop_writer->Write(reply);
    }
    pb::PlatformReply header;
    header.mutable_header()->add_items()->set_size_bytes(_fault == Fault::PlatformShort ? 10 : 8);
    auto& chunk = *reply.mutable_chunk();
    chunk.set_content("platform");
    chunk.set_sha256_so_far(MachineService::HashOf(_fault == Fault::PieceDamaged ? "plattform" : "platform"));
    iop_writer->Write(_fault == Fault::HeaderLate ? reply : header);
    iop_writer->Write(_fault == Fault::HeaderLate ? header : reply);
    return grpc::Status::OK;
}

grpc::Status
FaultyService::ModifyPlatform(Context* iop_context,
                              grpc::ServerReaderWriter<pb::PlatformReply, pb::ModifyPlatformRequest>* iop_stream)
{
    pb::ModifyPlatformRequest request;
    std::string content;
    while (iop_stream->Read(&request)) {
        content += request.chunk().content();
        if (request.has_chunk() && MachineService::HashOf(content) != request.chunk().sha256_so_far() &&
            _fault != Fault::TakesDamagedChange)
            return RefuseAs(*iop_context, Wire::WireFailure::Kind::Damaged, "damaged");
    }
    pb::PlatformReply reply;
    reply.mutable_header();
    if (_fault == Fault::ChangeWithItems)
        reply.mutable_header()->add_items();
    iop_stream->Write(reply);
    return grpc::Status::OK;
}

grpc::Status FaultyService::GetProfileAssignments(Context* iop_context, const pb::ProfileAssignmentsRequest* ip_request,
                                                  pb::ProfileAssignments* op_reply)
{
    if (ip_request->machine().machine_id() == std::string(16, '\x5a') && _fault != Fault::KnowsEveryMachine)
        return RefuseUnknown(*iop_context, "unknown-machine");
    for (const char* const role : {"part", _fault == Fault::StrategyTwice ? "part" : "support"}) {
        auto& assignment = *op_reply->add_assignments();
        assignment.set_id("solid");
        assignment.mutable_name()->set_text("Solid");
        assignment.set_role(role);
    }
    return grpc::Status::OK;
}

FaultyService::Run* FaultyService::_Find(const std::string& i_id)
{
    const auto found = _runs.find(i_id);
    if (found != _runs.end())
        return &found->second;
    if (_fault != Fault::KnowsEveryRun)
        return nullptr;
    auto& run = _runs[i_id];
    run.state.set_phase(pb::RUN_PHASE_FAILED);
    return &run;
}

grpc::Status FaultyService::StartRun(Context* iop_context, const pb::StartRunRequest* ip_request, pb::Run* op_reply)
{
    const std::lock_guard lock(_mutex);
    if (_fault == Fault::WantsHashAtOnce && ip_request->input().sha256().empty())
        return RefuseAs(*iop_context, Wire::WireFailure::Kind::BadRequest, "bad-request");
    auto* run = _Find(ip_request->run_id());
    if (!run && ip_request->is_resumption())
        return RefuseUnknown(*iop_context, "unknown-run");
    if (!run || (_fault == Fault::ForgetsOnRestart && run->state.phase() == pb::RUN_PHASE_WAITING_FOR_INPUT)) {
        run = &_runs[ip_request->run_id()];
        *run = {};
        run->order = *ip_request;
        run->state.set_run_id(ip_request->run_id());
        run->state.set_phase(_fault == Fault::StartsAtOnce ? pb::RUN_PHASE_RUNNING : pb::RUN_PHASE_WAITING_FOR_INPUT);
    }
    *op_reply = run->state;
    return grpc::Status::OK;
}

bool FaultyService::_Take(Run& io_run, const pb::Chunk& i_chunk) const
{
    const auto content = io_run.input + i_chunk.content();
    if (MachineService::HashOf(content) != i_chunk.sha256_so_far() && _fault != Fault::TakesDamage)
        return false;
    io_run.input = content;
    io_run.state.set_received_bytes(content.size());
    if (content.size() == io_run.order.input().size_bytes() && _fault != Fault::NeverBegins)
        _End(io_run);
    return true;
}

void FaultyService::_End(Run& io_run) const
{
    auto& state = io_run.state;
    state.set_percent(100);
    if (_fault == Fault::FailureWithoutCode) {
        state.set_phase(pb::RUN_PHASE_FAILED);
        return;
    }
    state.set_phase(_fault == Fault::WatchNeverEnds ? pb::RUN_PHASE_RUNNING : pb::RUN_PHASE_FINISHED);
    std::vector<const char*> names{"result.TavAMX", "result.gcode", "more.txt"};
    names.resize(_fault == Fault::BuildWithoutMachineFile ? 1 : _fault == Fault::BuildWithTwoFiles ? 3 : 2);
    for (const char* const name : names) {
        auto& file = *state.add_files();
        file.set_name(name);
        file.set_size_bytes(Result.size());
        file.set_sha256(MachineService::HashOf(Result));
    }
}

grpc::Status FaultyService::Upload(Context* iop_context, grpc::ServerReader<pb::UploadRequest>* iop_reader,
                                   pb::Run* op_reply)
{
    pb::UploadRequest request;
    while (iop_reader->Read(&request)) {
        const std::lock_guard lock(_mutex);
        auto* const run = _Find(request.run_id());
        if (!run)
            return RefuseUnknown(*iop_context, "unknown-run");
        if (request.chunk().offset_bytes() != run->input.size())
            return RefuseAs(*iop_context, Wire::WireFailure::Kind::BadRequest, "wrong-order");
        if (!_Take(*run, request.chunk()))
            return RefuseAs(*iop_context, Wire::WireFailure::Kind::Damaged, "damaged");
        *op_reply = run->state;
    }
    return grpc::Status::OK;
}

grpc::Status FaultyService::WatchRun(Context* iop_context, const pb::RunRequest* ip_request,
                                     Writer<pb::Run>* iop_writer)
{
    const std::lock_guard lock(_mutex);
    const auto* const run = _Find(ip_request->run_id());
    if (!run)
        return RefuseUnknown(*iop_context, "unknown-run");
    auto before = run->state;
    before.set_phase(pb::RUN_PHASE_RUNNING);
    before.clear_failure();
    before.clear_files();
    before.set_percent(50);
    iop_writer->Write(before);
    if (_fault == Fault::PercentFalls) {
        before.set_percent(40);
        iop_writer->Write(before);
    }
    iop_writer->Write(run->state);
    return grpc::Status::OK;
}

grpc::Status FaultyService::CancelRun(Context* iop_context, const pb::RunRequest* ip_request, pb::Run* op_reply)
{
    const std::lock_guard lock(_mutex);
    auto* const run = _Find(ip_request->run_id());
    if (!run)
        return RefuseUnknown(*iop_context, "unknown-run");
    if (_fault == Fault::CancelIgnored) {
        _End(*run);
    } else {
        run->state.set_phase(pb::RUN_PHASE_FAILED);
        run->state.set_percent(100);
        run->state.mutable_failure()->set_code(pb::ERROR_CODE_PROCESSING_ABORTED);
    }
    *op_reply = run->state;
    return grpc::Status::OK;
}

grpc::Status FaultyService::Download(Context*, const pb::DownloadRequest* ip_request, Writer<pb::Chunk>* iop_writer)
{
    pb::Chunk chunk;
    chunk.set_offset_bytes(ip_request->offset_bytes());
    chunk.set_content(Result.substr(ip_request->offset_bytes()));
    if (_fault == Fault::FileDamaged)
        chunk.mutable_content()->back() = 'X';
    chunk.set_sha256_so_far(MachineService::HashOf(Result.substr(0, ip_request->offset_bytes()) + chunk.content()));
    iop_writer->Write(chunk);
    return grpc::Status::OK;
}

grpc::Status FaultyService::ReleaseRun(Context* iop_context, const pb::RunRequest* ip_request, pb::ReleaseRunReply*)
{
    const std::lock_guard lock(_mutex);
    if (_runs.erase(ip_request->run_id()) == 0 && _fault == Fault::ReleaseTwiceRefused)
        return RefuseUnknown(*iop_context, "unknown-run");
    return grpc::Status::OK;
}

} // namespace TestSupport
