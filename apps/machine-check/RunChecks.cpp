#include "hashing/Sha256.h"
#include "machine-check/Session.h"
#include "tavsdk/Text.h"
#include "wire/Chunks.h"
#include "wire/Conversions.h"

#include <boost/uuid/random_generator.hpp>

#include <algorithm>
#include <optional>

namespace MachineCheck {

namespace {

namespace Wire = MachineService::Wire;

constexpr std::size_t InputBytes = 200'000;
constexpr std::size_t PieceBytes = 50'000;
/// The service has one second; the rest is the way.
constexpr auto LongestCancel = std::chrono::seconds(3);

std::string MakeId()
{
    return Wire::ToBytes(boost::uuids::random_generator()());
}

bool HasEnded(const pb::Run& i_run)
{
    return i_run.phase() == pb::RUN_PHASE_FINISHED || i_run.phase() == pb::RUN_PHASE_FAILED;
}

/// One run and what is done with it.
class CheckedRun
{
public:
    CheckedRun(Session& io_session, const pb::Machine& i_machine)
        : _session(io_session)
        , _command(i_machine.commands(0))
        , _input(InputBytes, 'm')
    {
        _order.set_run_id(MakeId());
        _order.mutable_machine()->set_machine_id(i_machine.id());
        _order.set_command_id(i_machine.commands(0).id());
        _order.set_job_name("machine-check");
        _order.mutable_input()->set_name("input.TavAMX");
        _order.mutable_input()->set_size_bytes(_input.size());
        _order.mutable_input()->set_sha256(MachineService::HashOf(_input));
        _named.set_run_id(_order.run_id());
    }

    /// From now on both sides tell hashes with the last piece only.
    void TellHashesLate()
    {
        _order.mutable_input()->clear_sha256();
        _order.set_takes_late_hashes(true);
    }
    pb::Run Start(bool i_is_resumption = false)
    {
        pb::Run run;
        _order.set_is_resumption(i_is_resumption);
        status = _session.Call(&pb::MachineService::Stub::StartRun, _order, run);
        return run;
    }
    pb::Run Cancel()
    {
        pb::Run run;
        status = _session.Call(&pb::MachineService::Stub::CancelRun, _named, run);
        return run;
    }
    void Release()
    {
        pb::ReleaseRunReply reply;
        status = _session.Call(&pb::MachineService::Stub::ReleaseRun, _named, reply);
    }
    /// \param i_damaged the last piece is.
    void Upload(std::size_t i_from, std::size_t i_to, bool i_damaged = false)
    {
        pb::Run run;
        const auto context = _session.MakeContext();
        const auto writer = _session.Get().Upload(context.get(), &run);
        while (i_from < i_to) {
            const auto end = std::min(i_from + PieceBytes, i_to);
            pb::UploadRequest request;
            request.set_run_id(_order.run_id());
            auto& chunk = *request.mutable_chunk();
            chunk.set_offset_bytes(i_from);
            chunk.set_content(_input.substr(i_from, end - i_from));
            chunk.set_sha256_so_far(MachineService::HashOf(_input.substr(0, end)));
            if (i_damaged && end == i_to)
                chunk.mutable_content()->back() = 'X';
            if (!writer->Write(request))
                break;
            i_from = end;
        }
        writer->WritesDone();
        status = writer->Finish();
    }
    std::vector<pb::Run> Watch()
    {
        std::vector<pb::Run> states;
        status = _session.Read<pb::RunRequest, pb::Run>(&pb::MachineService::Stub::WatchRun, _named,
                                                        [&](const pb::Run& i_run) {
                                                            states.push_back(i_run);
                                                            return true;
                                                        });
        return states;
    }
    /// Empty when a piece was not the next one, or damaged.
    std::optional<std::string> Download(int i_file, const std::string& i_known)
    {
        pb::DownloadRequest request;
        request.set_run_id(_order.run_id());
        request.set_file(static_cast<std::uint32_t>(i_file));
        request.set_offset_bytes(i_known.size());
        std::string content = i_known;
        bool isGood = true;
        status = _session.Read<pb::DownloadRequest, pb::Chunk>(
            &pb::MachineService::Stub::Download, request, [&](const pb::Chunk& i_chunk) {
                isGood = i_chunk.offset_bytes() == content.size();
                content += i_chunk.content();
                isGood = isGood && MachineService::HashOf(content) == i_chunk.sha256_so_far();
                return isGood;
            });
        return isGood && status.ok() ? std::optional(content) : std::nullopt;
    }

    const pb::Command& GetCommand() const { return _command; }
    bool TellsHashesLate() const { return _order.takes_late_hashes(); }
    std::size_t GetSize() const { return _input.size(); }

    grpc::Status status; ///< of the last call

private:
    Session& _session;
    const pb::Command _command;
    const std::string _input;
    pb::StartRunRequest _order;
    pb::RunRequest _named;
};

/// Of a run that has finished.
void CheckBuilt(const pb::Command& i_command, const pb::Run& i_end, Report& io_report)
{
    const auto told = i_end.result().data_format();
    const auto format = told == pb::DATA_FORMAT_UNDEFINED ? i_command.data_format() : told;
    if (i_command.type() != pb::COMMAND_TYPE_BUILD || format < pb::DATA_FORMAT_PLATFORM ||
        format > pb::DATA_FORMAT_ADDITIONAL_PARTS)
        return;
    const auto beside = std::count_if(i_end.files().begin(), i_end.files().end(),
                                      [](const auto& i_file) { return !i_file.name().ends_with(".TavAMX"); });
    io_report.Expect(beside == 1, "R12", "There were " + std::to_string(beside) + '.');
}

void CheckEnd(CheckedRun& io_run, Report& io_report)
{
    const auto states = io_run.Watch();
    const bool hasEnded = !states.empty() && HasEnded(states.back());
    io_report.Expect(hasEnded && io_run.status.ok(), "R6", "Watching it ended before the run did.");
    std::uint32_t percent = 0;
    for (const auto& state : states) {
        io_report.Expect(state.percent() <= 100 && state.percent() >= percent, "R5",
                         "It went from " + std::to_string(percent) + " to " + std::to_string(state.percent()) + '.');
        percent = std::max(percent, state.percent());
    }
    if (!hasEnded)
        return;
    const auto& end = states.back();
    const auto again = io_run.Watch();
    io_report.Expect(!again.empty() && again.back().phase() == end.phase(), "R6",
                     "Asked again, it did not tell the same end.");
    const bool isFailed = end.phase() == pb::RUN_PHASE_FAILED;
    io_report.Expect(isFailed == (end.has_failure() && end.failure().code() != pb::ERROR_CODE_NONE), "R7",
                     isFailed ? "It failed without a failure that has a code." : "It finished with a failure.");
    if (!isFailed)
        CheckBuilt(io_run.GetCommand(), end, io_report);
    for (int file = 0; !isFailed && file < end.files_size(); ++file) {
        const auto& told = end.files(file);
        const auto name = TavSDK::Quote(told.name(), 100);
        io_report.Expect(Wire::IsPlainFileName(told.name()), "R8", name + " is no plain name.");
        const auto content = io_run.Download(file, {});
        // That of the pieces was looked at as they came.
        const bool isTold = content && (told.sha256().empty() ? io_run.TellsHashesLate()
                                                              : MachineService::HashOf(*content) == told.sha256());
        io_report.Expect(isTold && content->size() == told.size_bytes(), "R8",
                         name + " came in another size, or damaged.");
        if (content && content->size() > 1) {
            const auto half = content->substr(0, content->size() / 2);
            io_report.Expect(io_run.Download(file, half) == content, "R8", name + " did not go on from an offset.");
        }
    }
}

void CheckTransfer(CheckedRun& io_run, Report& io_report)
{
    const auto started = io_run.Start();
    io_report.Expect(
        io_run.status.ok() && started.phase() == pb::RUN_PHASE_WAITING_FOR_INPUT && started.received_bytes() == 0, "R1",
        "It answered with phase " + std::to_string(started.phase()) + ": " +
            TavSDK::Quote(io_run.status.error_message(), 200) + '.');
    if (!io_run.status.ok())
        return;
    io_run.Upload(0, PieceBytes);
    auto again = io_run.Start(true);
    io_report.Expect(io_run.status.ok() && again.received_bytes() == PieceBytes, "R2",
                     "Started again, it had received " + std::to_string(again.received_bytes()) + " bytes of " +
                         std::to_string(PieceBytes) + '.');
    io_run.Upload(PieceBytes, 2 * PieceBytes, true);
    const bool isRefused = !io_run.status.ok();
    again = io_run.Start(true);
    io_report.Expect(isRefused && again.received_bytes() <= PieceBytes, "R3",
                     isRefused ? "It counted." : "It was not refused.");
    io_run.Upload(again.received_bytes(), io_run.GetSize());
    again = io_run.Start(true);
    io_report.Expect(io_run.status.ok() && again.phase() != pb::RUN_PHASE_WAITING_FOR_INPUT, "R4",
                     "The rest was sent, and it still waits.");
    if (again.phase() != pb::RUN_PHASE_WAITING_FOR_INPUT)
        CheckEnd(io_run, io_report);
}

void CheckCancel(CheckedRun& io_run, Report& io_report)
{
    io_run.Start();
    if (!io_run.status.ok())
        return;
    const auto begun = std::chrono::steady_clock::now();
    io_run.Cancel();
    const auto states = io_run.Watch();
    io_report.Expect(!states.empty() && states.back().failure().code() == pb::ERROR_CODE_PROCESSING_ABORTED &&
                         std::chrono::steady_clock::now() - begun < LongestCancel,
                     "R9", "It did not, or later.");
    io_run.Release();
}

/// Of a service that says that it takes them.
void CheckLateHashes(CheckedRun& io_run, Report& io_report)
{
    io_run.TellHashesLate();
    io_run.Start();
    const bool isTaken = io_run.status.ok();
    io_run.Upload(0, io_run.GetSize());
    const auto again = io_run.Start(true);
    io_report.Expect(isTaken && io_run.status.ok() && again.phase() != pb::RUN_PHASE_WAITING_FOR_INPUT, "R13",
                     isTaken ? "All of it was sent, and it still waits." : "It was refused.");
    if (isTaken && again.phase() != pb::RUN_PHASE_WAITING_FOR_INPUT)
        CheckEnd(io_run, io_report);
    io_run.Release();
}

} // namespace

void CheckRuns(Session& io_session, const Seen& i_seen, Report& io_report)
{
    const pb::Machine* machine = nullptr;
    for (const auto& each : i_seen.machines) {
        if (each.commands_size() > 0 && !machine)
            machine = &each;
    }
    if (!machine)
        return;
    CheckedRun run(io_session, *machine);
    CheckTransfer(run, io_report);
    run.Release();
    if (run.status.error_code() != grpc::StatusCode::UNIMPLEMENTED) {
        run.Release();
        const bool isHarmless = run.status.ok();
        run.Start(true);
        io_report.Expect(isHarmless && io_session.IsRefusedAsUnknown(run.status, "unknown-run"), "R11",
                         isHarmless ? "It was still known." : "Releasing it again was refused.");
    }
    if (i_seen.revision >= Wire::LateHashRevision) {
        CheckedRun late(io_session, *machine);
        CheckLateHashes(late, io_report);
    }
    CheckedRun cancelled(io_session, *machine);
    CheckCancel(cancelled, io_report);
    CheckedRun unknown(io_session, *machine);
    unknown.Start(true);
    io_report.Expect(io_session.IsRefusedAsUnknown(unknown.status, "unknown-run"), "R10",
                     "StartRun did not refuse it.");
    unknown.Watch();
    io_report.Expect(io_session.IsRefusedAsUnknown(unknown.status, "unknown-run"), "R10",
                     "WatchRun did not refuse it.");
}

} // namespace MachineCheck
