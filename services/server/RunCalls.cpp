#include "client/interface/Caller.h"
#include "server/RunMessages.h"
#include "server/ServiceCalls.h"
#include "server/Streams.h"
#include "tavsdk/FileError.h"
#include "wire/Conversions.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

using Kind = Wire::WireFailure::Kind;

} // namespace

grpc::Status ServiceCalls::StartRun(grpc::ServerContext* iop_context, const pb::StartRunRequest* ip_request,
                                    pb::Run* op_reply)
{
    return Answer(_state, *iop_context, [&](const std::string& i_client) {
        RunOrder order = ToOrder(*ip_request, i_client);
        // Whoever asks again gets the answer also when the machine has gone.
        std::optional<Machine> machine;
        if (!order.isResumption)
            machine = _state.FindMachine(ip_request->machine());
        order.begin = [machine, kind = ip_request->kind(), i_client](const CommandParameters& i_parameters) {
            const CallerScope caller(i_client);
            switch (kind) {
            case pb::RUN_KIND_PREPROCESSING:
                return machine->Preprocessing(i_parameters);
            case pb::RUN_KIND_REPORT_PROPERTIES:
                return machine->FillReportProperties(i_parameters);
            default:
                return machine->RunCommand(i_parameters);
            }
        };
        *op_reply = ToMessage(_state.book.Start(std::move(order)), _state.options.language);
    });
}

grpc::Status ServiceCalls::Upload(grpc::ServerContext* iop_context, grpc::ServerReader<pb::UploadRequest>* iop_reader,
                                  pb::Run* op_reply)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        const auto watch = _state.watchdog.Watch(_state.options.limits.idle, [&] { iop_context->TryCancel(); });
        pb::UploadRequest request;
        if (!iop_reader->Read(&request))
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError, "An upload begins with the run's id.",
                                    "wrong-order");
        const auto id = ReadRunId(request.run_id());
        const auto attendance = _state.book.Attend(id);
        const auto upload = _state.book.BeginUpload(id);
        do {
            watch->Feed();
            if (request.has_chunk())
                _state.book.Take(id, upload, Wire::ToPiece(request.chunk()));
        } while (_state.book.Get(id).phase == RunState::Phase::WaitingForInput && iop_reader->Read(&request));
        *op_reply = ToMessage(_state.book.Get(id), _state.options.language);
    });
}

grpc::ServerWriteReactor<pb::Run>* ServiceCalls::WatchRun(grpc::CallbackServerContext* iop_context,
                                                          const pb::RunRequest* ip_request)
{
    boost::uuids::uuid id = {};
    std::exception_ptr refusal;
    try {
        _state.Admit(*iop_context);
        id = ReadRunId(ip_request->run_id());
    } catch (...) {
        refusal = std::current_exception();
    }
    auto stream = std::make_shared<RunStream>(*iop_context, _state.pump, _state.options.limits.idle, _state.book, id,
                                              _state.options.language);
    try {
        if (!refusal)
            stream->Attend();
    } catch (...) {
        refusal = std::current_exception();
    }
    stream->Begin(refusal);
    return stream.get();
}

grpc::Status ServiceCalls::CancelRun(grpc::ServerContext* iop_context, const pb::RunRequest* ip_request,
                                     pb::Run* op_reply)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        *op_reply = ToMessage(_state.book.Cancel(ReadRunId(ip_request->run_id())), _state.options.language);
    });
}

grpc::Status ServiceCalls::Download(grpc::ServerContext* iop_context, const pb::DownloadRequest* ip_request,
                                    grpc::ServerWriter<pb::Chunk>* iop_writer)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        const auto id = ReadRunId(ip_request->run_id());
        const auto attendance = _state.book.Attend(id);
        const auto opened = _state.book.Open(id, ip_request->file());
        if (ip_request->offset_bytes() > opened.file.size)
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                    "A download cannot begin behind the end of its file.", "bad-request");
        try {
            TavSDK::InputFile file(opened.path, TavSDK::InputFile::Links::Refuse);
            Wire::FileChunks chunks(file, ip_request->offset_bytes());
            const auto watch = _state.watchdog.Watch(_state.options.limits.idle, [&] { iop_context->TryCancel(); });
            pb::Chunk chunk;
            while (chunks.Next(chunk) && iop_writer->Write(chunk))
                watch->Feed();
        } catch (const TavSDK::FileError& error) {
            throw CommunicationException(
                ErrorCode::FileError,
                ("The file '" + opened.file.name + "' of the run cannot be read: " + error.what() + ".").c_str());
        }
    });
}

grpc::Status ServiceCalls::ReleaseRun(grpc::ServerContext* iop_context, const pb::RunRequest* ip_request,
                                      pb::ReleaseRunReply* /*op_reply*/)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        try {
            _state.book.Release(ReadRunId(ip_request->run_id()));
        } catch (const Wire::WireFailure& failure) {
            // It may be repeated: a run that is forgotten is released.
            if (failure.kind != Kind::NotFound)
                throw;
        }
    });
}

} // namespace MachineService::Server
