#include "remote/RunCall.h"

#include "contract/Failure.h"
#include "remote/BuiltFiles.h"
#include "remote/Log.h"
#include "remote/ServiceAnswers.h"
#include "remote/StatusTrouble.h"
#include "remote/Trouble.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "wire/Chunks.h"
#include "wire/Conversions.h"
#include "wire/Failures.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

namespace MachineService::Remote {

namespace {

/// A connection that broke may be used again after it.
constexpr std::chrono::milliseconds RetryPause(500);
/// For what the caller does not wait for.
constexpr std::chrono::milliseconds FarewellDeadline(300);
/// A service that was not told of the run yet, or is no process any more, has not got it.
constexpr std::chrono::seconds LongestHopeless(5);

} // namespace

RunCall::RunCall(std::shared_ptr<RemoteService> ip_service, const RunSubject& i_subject,
                 const CommandParameters& i_parameters)
    : _service(std::move(ip_service))
    , _subject(i_subject)
    , _parameters(i_parameters)
{
    Wire::SetParameters(_request, i_parameters);
    _request.set_run_id(Wire::ToBytes(boost::uuids::random_generator()()));
    *_request.mutable_machine() = i_subject.machine;
    _request.set_kind(i_subject.kind);
    _request.set_takes_late_hashes(true);
    for (const auto& token : {_service->stop.get_token(), i_parameters.stopToken})
        _stops.emplace_back(token, [this] { _stop.request_stop(); });
}

CommandResult RunCall::Execute()
{
    _connection = _service->GetConnection();
    _OpenInput();
    try {
        _Execute();
        _KeepBuiltFiles();
        return _transfer->GetResult();
    } catch (...) {
        _GiveUp();
        if (_stop.stop_requested()) {
            // Whatever a stopped run stumbled over, it was stopped.
            _service->ThrowIfClosed();
            throw CommunicationException(ErrorCode::ProcessingAborted);
        }
        throw;
    }
}

void RunCall::_OpenInput()
{
    std::uint64_t size = 0;
    if (!_parameters.inputFile.empty()) {
        try {
            _input.emplace(_parameters.inputFile);
            size = _input->GetSize();
            const auto largest = _connection->told.largestInput;
            if (largest > 0 && size > largest)
                throw TroubleException(Trouble::TooLarge, _service->address);
            auto& input = *_request.mutable_input();
            input.set_name(TavSDK::PathToUtf8(_parameters.inputFile.filename()));
            input.set_size_bytes(size);
            if (!_connection->told.takesLateHashes)
                input.set_sha256(Wire::HashOfFile(*_input, [this] {
                    if (_stop.stop_requested())
                        throw CommunicationException(ErrorCode::ProcessingAborted);
                }));
        } catch (const TavSDK::FileError& failure) {
            Fail(ErrorCode::FileError, "The file " + TavSDK::Quote(TavSDK::ShowPath(_parameters.inputFile)) +
                                           " cannot be sent to the machine: " + failure.what() + '.');
        }
    }
    _transfer.emplace(size, _connection->told.grace, RunTransfer::Clock::now());
}

void RunCall::_Execute()
{
    while (_transfer->GetStep() != RunTransfer::Step::Done) {
        if (_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        try {
            _Do(_transfer->GetStep());
        } catch (const TroubleException& failure) {
            if (failure.trouble == Trouble::Damaged) {
                if (!_transfer->HandleDamage())
                    throw;
                continue;
            }
            if (!MayPass(failure.trouble) || _stop.stop_requested())
                throw;
            _transfer->HandleBroken();
            if (_transfer->GetStep() != RunTransfer::Step::Done)
                _WaitForConnection();
        }
    }
}

void RunCall::_KeepBuiltFiles() const
{
    const auto told = _transfer->GetResult().dataFormat;
    const auto format = told == DataFormat::Undefined ? _subject.dataFormat : told;
    if (_subject.machineFolder.empty() || format < DataFormat::Platform || format > DataFormat::AdditionalParts)
        return;
    std::vector<std::string> names;
    for (const RunFile& file : _transfer->GetFiles())
        names.push_back(file.name);
    _Report("Keeping the machine file");
    KeepBuiltFiles({_service->jobsDir, _subject.machineFolder, _parameters.jobName}, _parameters.outputDir, names,
                   _stop.get_token());
}

void RunCall::_Do(RunTransfer::Step i_step)
{
    switch (i_step) {
    case RunTransfer::Step::Start:
        return _Start();
    case RunTransfer::Step::Upload:
        return _Upload();
    case RunTransfer::Step::Watch:
        return _Watch();
    case RunTransfer::Step::Download:
        return _Download();
    case RunTransfer::Step::Release:
        return _Release();
    case RunTransfer::Step::Done:
        break;
    }
}

void RunCall::_Check(const grpc::Status& i_status, Call& io_call, bool i_was_idle) const
{
    _service->Check(i_status, io_call.GetContext(), _stop.get_token(), i_was_idle);
}

std::unique_ptr<Wire::IdleWatchdog::Guard> RunCall::_WatchIdle(std::chrono::milliseconds i_longest, Call& io_call)
{
    return _service->watchdog.Watch(i_longest, [&io_call] { io_call.GetContext().TryCancel(); });
}

pb::RunRequest RunCall::_MakeRequest() const
{
    pb::RunRequest request;
    request.set_run_id(_request.run_id());
    return request;
}

void RunCall::_HandleState(const pb::Run& i_run)
{
    if (_transfer->HandleState(ToRunState(i_run), RunTransfer::Clock::now()))
        _Report(_transfer->GetStage());
}

void RunCall::_Report(const std::string& i_stage) const
{
    if (_parameters.onProgress && !_stop.stop_requested())
        _parameters.onProgress(_transfer->GetPercent(), i_stage);
}

void RunCall::_Start()
{
    _request.set_is_resumption(_transfer->IsResumption());
    Call call(*_connection, QuestionDeadline, {_stop.get_token()});
    pb::Run run;
    _Check(_connection->GetStub().StartRun(&call.GetContext(), _request, &run), call);
    _HandleState(run);
}

void RunCall::_Upload()
{
    if (!_input)
        Fail(ErrorCode::InternalError,
             "The machine service waits for an input that the command has not got; it needs to be repaired.");
    _Report("Sending the platform");
    _input->Rewind();
    Wire::FileChunks chunks(*_input, _transfer->GetReceivedBytes());
    Call call(*_connection, std::nullopt, {_stop.get_token()});
    const auto watch = _WatchIdle(LongestIdle, call);
    pb::Run run;
    const auto writer = _connection->GetStub().Upload(&call.GetContext(), &run);
    pb::UploadRequest request;
    request.set_run_id(_request.run_id());
    // What ends the sending shows in the status.
    bool isTaken = writer->Write(request);
    request.clear_run_id();
    while (isTaken && chunks.Next(*request.mutable_chunk())) {
        isTaken = writer->Write(request);
        watch->Feed();
    }
    writer->WritesDone();
    const auto status = writer->Finish();
    _Check(status, call, watch->HasBitten());
    _HandleState(run);
}

void RunCall::_Watch()
{
    Call call(*_connection, std::nullopt, {_stop.get_token()});
    const auto silence = _connection->told.longestSilence;
    const auto watch = silence.count() > 0 ? _WatchIdle(silence, call) : nullptr;
    const auto reader = _connection->GetStub().WatchRun(&call.GetContext(), _MakeRequest());
    for (pb::Run run; _transfer->GetStep() == RunTransfer::Step::Watch && reader->Read(&run);) {
        if (watch)
            watch->Feed();
        try {
            _HandleState(run);
        } catch (...) {
            call.GetContext().TryCancel();
            reader->Finish();
            throw;
        }
    }
    if (_transfer->GetStep() != RunTransfer::Step::Watch) {
        call.GetContext().TryCancel();
        reader->Finish();
        return;
    }
    const auto status = reader->Finish();
    _Check(status, call, watch && watch->HasBitten());
    throw TroubleException(Trouble::Lost, _service->address);
}

void RunCall::_Download()
{
    const RunFile& file = _transfer->GetFile();
    if (!_file) {
        _Report("Fetching the results");
        _file.emplace(_parameters.outputDir / TavSDK::PathFromUtf8(file.name), file.size, file.hash);
    }
    if (!_file->IsComplete()) {
        Call call(*_connection, std::nullopt, {_stop.get_token()});
        const auto watch = _WatchIdle(LongestIdle, call);
        pb::DownloadRequest request;
        request.set_run_id(_request.run_id());
        request.set_file(static_cast<std::uint32_t>(_transfer->GetFileIndex()));
        request.set_offset_bytes(_file->GetReceived());
        const auto reader = _connection->GetStub().Download(&call.GetContext(), request);
        bool isGood = true;
        for (pb::Chunk chunk; isGood && reader->Read(&chunk);) {
            watch->Feed();
            try {
                isGood = _file->Take(Wire::ToPiece(chunk)) == Wire::ChunkReader::Piece::Taken;
            } catch (...) {
                call.GetContext().TryCancel();
                reader->Finish();
                throw;
            }
            if (isGood)
                _transfer->HandleProgress(RunTransfer::Clock::now());
        }
        if (!isGood)
            call.GetContext().TryCancel();
        const auto status = reader->Finish();
        if (!isGood)
            throw TroubleException(Trouble::Damaged, _service->address);
        _Check(status, call, watch->HasBitten());
        if (!_file->IsComplete())
            throw TroubleException(Trouble::Lost, _service->address);
    }
    if (!_file->Accept())
        throw TroubleException(Trouble::Damaged, _service->address);
    _file.reset();
    _transfer->HandleDownloaded(RunTransfer::Clock::now());
}

void RunCall::_Release()
{
    // Everything is here: a service that does not hear of it forgets the run by itself.
    Call call(*_connection, FarewellDeadline, {_stop.get_token()});
    pb::ReleaseRunReply reply;
    _connection->GetStub().ReleaseRun(&call.GetContext(), _MakeRequest(), &reply);
    _transfer->HandleReleased();
}

void RunCall::_WaitForConnection()
{
    qCInfo(RemoteLog, "The run %s goes on when %s answers again.",
           boost::uuids::to_string(Wire::ToUuid(_request.run_id(), "run's id")).c_str(),
           _service->address.text.c_str());
    for (;;) {
        if (const auto connection = _service->link.WaitForOther(_connection, RetryPause, _stop.get_token())) {
            _connection = connection;
            return;
        }
        if (_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        const auto now = RunTransfer::Clock::now();
        // Another process would know nothing of the run.
        const auto loss = _service->link.GetLoss();
        const bool isHopeless = !_transfer->IsResumption() || (loss && loss->isGone);
        if (_transfer->IsTooLate(now) || (isHopeless && _transfer->GetSilence(now) > LongestHopeless))
            throw TroubleException(Trouble::RunLost, _service->address);
    }
}

void RunCall::_GiveUp() noexcept
{
    if (!_transfer || !_connection)
        return;
    try {
        Call call(*_connection, FarewellDeadline, {});
        pb::Run run;
        _connection->GetStub().CancelRun(&call.GetContext(), _MakeRequest(), &run);
        if (_stop.stop_requested())
            return;
        Call release(*_connection, FarewellDeadline, {});
        pb::ReleaseRunReply reply;
        _connection->GetStub().ReleaseRun(&release.GetContext(), _MakeRequest(), &reply);
    } catch (const std::exception& failure) {
        qCWarning(RemoteLog, "A run could not be given up: %s", failure.what());
    }
}

} // namespace MachineService::Remote
