#include "server/ServiceCalls.h"
#include "server/TextLanguage.h"
#include "wire/Chunks.h"
#include "wire/Conversions.h"

#include <algorithm>
#include <functional>

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

using Kind = Wire::WireFailure::Kind;

/// Sends progress while a machine works, and then what it made. Slow hosts are given up by the watchdog.
class PlatformSender
{
public:
    PlatformSender(ServerState& io_state, grpc::ServerContext& io_context,
                   std::function<bool(const pb::PlatformReply&)> i_send)
        : _send(std::move(i_send))
        , _heartbeat(io_state.options.heartbeat)
        , _watch(io_state.watchdog.Watch(io_state.options.limits.idle, [&io_context] { io_context.TryCancel(); }))
    {}

    /// Every change, and often enough for a heartbeat.
    void Tick(int i_percent)
    {
        // The host waits for the machine, not the other way round.
        _watch->Feed();
        const auto now = std::chrono::steady_clock::now();
        const int percent = std::clamp(i_percent, _percent, 100);
        if (percent == _percent && now - _lastSent < _heartbeat / 2)
            return;
        _percent = percent;
        pb::PlatformReply reply;
        reply.set_percent(static_cast<std::uint32_t>(percent));
        _Send(reply);
    }

    void SendHeader(const pb::PlatformHeader& i_header)
    {
        pb::PlatformReply reply;
        *reply.mutable_header() = i_header;
        _Send(reply);
    }

    void SendBytes(const std::string& i_bytes)
    {
        _chunks.Send(i_bytes, [this](const pb::Chunk& i_chunk) {
            pb::PlatformReply reply;
            *reply.mutable_chunk() = i_chunk;
            _Send(reply);
            return true;
        });
    }

private:
    void _Send(const pb::PlatformReply& i_reply)
    {
        if (!_send(i_reply))
            throw CommunicationException(ErrorCode::ProcessingAborted, "The host gave up waiting.");
        _lastSent = std::chrono::steady_clock::now();
        _watch->Feed();
    }

    const std::function<bool(const pb::PlatformReply&)> _send;
    const std::chrono::milliseconds _heartbeat;
    const std::unique_ptr<Wire::IdleWatchdog::Guard> _watch;
    Wire::ByteChunks _chunks;
    int _percent = 0;
    std::chrono::steady_clock::time_point _lastSent = std::chrono::steady_clock::now();
};

void AddItem(pb::PlatformHeader& io_header, const Platform& i_platform)
{
    auto& item = *io_header.add_items();
    item.set_kind(static_cast<pb::PlatformDataKind>(i_platform.kind));
    item.set_size_bytes(i_platform.data.size());
}

/// The machine is told when nobody waits any more.
template <class Result>
void AwaitWithProgress(const ServerState& i_state, const grpc::ServerContext& i_context,
                       ProgressWatcherFuture<Result>& io_future, PlatformSender& io_sender)
{
    try {
        Await(i_state, i_context, io_future, [&] { io_sender.Tick(io_future.GetProgress()); });
    } catch (...) {
        io_future.RequestStop();
        throw;
    }
}

Platform ReadPlatform(ServerState& io_state, grpc::ServerContext& io_context,
                      grpc::ServerReaderWriter<pb::PlatformReply, pb::ModifyPlatformRequest>& io_stream,
                      pb::ModifyPlatformHeader& o_header)
{
    const auto watch = io_state.watchdog.Watch(io_state.options.limits.idle, [&] { io_context.TryCancel(); });
    pb::ModifyPlatformRequest request;
    if (!io_stream.Read(&request) || !request.has_header())
        throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                "A change of a platform begins with its header.", "wrong-order");
    o_header = request.header();
    const auto size = o_header.platform().size_bytes();
    if (size > std::min(Wire::MaxPlatformBytes, io_state.options.limits.platformBytes))
        throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                "The platform is larger than the service takes; make it smaller.", "too-large");
    Platform platform;
    platform.kind = static_cast<PlatformDataKind>(o_header.platform().kind());
    Wire::ChunkReader reader(size);
    while (reader.GetReceived() < size && io_stream.Read(&request)) {
        watch->Feed();
        const auto piece = reader.Take(Wire::ToPiece(request.chunk()),
                                       [&](std::string_view i_bytes) { platform.data.append(i_bytes); });
        if (piece == Wire::ChunkReader::Piece::Damaged)
            throw Wire::WireFailure(Kind::Damaged, ErrorCode::InternalError,
                                    "The platform was damaged on the way; send it again.", "damaged");
        if (piece != Wire::ChunkReader::Piece::Taken)
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                    "The pieces of the platform do not follow each other.", "wrong-order");
    }
    if (reader.GetReceived() < size)
        throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                "The platform is shorter than was announced.", "wrong-order");
    return platform;
}

} // namespace

grpc::Status ServiceCalls::GetPlatformInformation(grpc::ServerContext* iop_context,
                                                  const pb::PlatformInformationRequest* ip_request,
                                                  grpc::ServerWriter<pb::PlatformReply>* iop_writer)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        PlatformSender sender(_state, *iop_context, [&](const auto& i_reply) { return iop_writer->Write(i_reply); });
        auto future = _state.FindMachine(ip_request->machine()).GetPlatformInformation();
        AwaitWithProgress(_state, *iop_context, future, sender);
        const PlatformInfo info = future.get();
        pb::PlatformHeader header;
        header.set_code(info.code);
        Wire::SetText(*header.mutable_message(), info.message);
        header.set_xml_bytes(info.xml.size());
        for (const auto& item : info.items)
            AddItem(header, item);
        NameLanguage(_state.options.language, header);
        sender.SendHeader(header);
        sender.SendBytes(info.xml);
        for (const auto& item : info.items)
            sender.SendBytes(item.data);
    });
}

grpc::Status ServiceCalls::GetEmptyPlatform(grpc::ServerContext* iop_context,
                                            const pb::EmptyPlatformRequest* ip_request,
                                            grpc::ServerWriter<pb::PlatformReply>* iop_writer)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        if (ip_request->parameters().size() > Wire::MaxParametersBytes)
            throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError,
                                    "The choices for the platform are too long.", "too-large");
        PlatformSender sender(_state, *iop_context, [&](const auto& i_reply) { return iop_writer->Write(i_reply); });
        auto future = _state.FindMachine(ip_request->machine()).GetEmptyPlatform(ip_request->parameters());
        Await(_state, *iop_context, future, [&] { sender.Tick(0); });
        const auto [result, platform] = future.get();
        pb::PlatformHeader header;
        *header.mutable_result() = Wire::ToMessage(result);
        AddItem(header, platform);
        NameLanguage(_state.options.language, header);
        sender.SendHeader(header);
        sender.SendBytes(platform.data);
    });
}

grpc::Status
ServiceCalls::ModifyPlatform(grpc::ServerContext* iop_context,
                             grpc::ServerReaderWriter<pb::PlatformReply, pb::ModifyPlatformRequest>* iop_stream)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        pb::ModifyPlatformHeader header;
        const Platform platform = ReadPlatform(_state, *iop_context, *iop_stream, header);
        PlatformSender sender(_state, *iop_context, [&](const auto& i_reply) { return iop_stream->Write(i_reply); });
        auto future = _state.FindMachine(header.machine()).ModifyPlatform(platform);
        AwaitWithProgress(_state, *iop_context, future, sender);
        future.get();
        sender.SendHeader({});
    });
}

grpc::Status ServiceCalls::GetProfileAssignments(grpc::ServerContext* iop_context,
                                                 const pb::ProfileAssignmentsRequest* ip_request,
                                                 pb::ProfileAssignments* op_reply)
{
    return Answer(_state, *iop_context, [&](const std::string&) {
        auto future = _state.FindMachine(ip_request->machine()).GetProfileAssignments();
        // A machine without strategies need not answer.
        if (!future.valid())
            return;
        Await(_state, *iop_context, future, [] {});
        *op_reply = Wire::ToMessage(future.get());
    });
}

} // namespace MachineService::Server
