#include "remote/PlatformCalls.h"

#include "contract/Failure.h"
#include "remote/ServiceAnswers.h"
#include "remote/StatusTrouble.h"
#include "remote/Trouble.h"
#include "tavsdk/Text.h"
#include "wire/Chunks.h"
#include "wire/Conversions.h"

#include <optional>

namespace MachineService::Remote {

namespace {

/// Between two messages: a machine may have to work for its answer.
constexpr std::chrono::seconds LongestSilence(60);
constexpr std::size_t MaxShownName = 200;

/// Reads all replies of a stream.
/// \return its status, unless that is to be thrown.
template <class Stream>
grpc::Status ReadReplies(RemoteService& io_service, Call& io_call, Stream& io_stream, PlatformReader& io_reader,
                         const std::stop_token& i_stop)
{
    const auto cancel = [&io_call] {
        io_call.GetContext().TryCancel();
    };
    const auto watch = io_service.watchdog.Watch(LongestSilence, cancel);
    std::exception_ptr failure;
    for (pb::PlatformReply reply; !failure && io_stream.Read(&reply);) {
        watch->Feed();
        try {
            io_reader.Take(reply);
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure || io_reader.IsDamaged())
            cancel();
    }
    const auto status = io_stream.Finish();
    if (failure)
        std::rethrow_exception(failure);
    if (io_reader.IsDamaged())
        throw TroubleException(Trouble::Damaged, io_service.address);
    if (IsUnknownCall(status))
        return status;
    io_service.Check(status, io_call.GetContext(), i_stop, watch->HasBitten());
    if (!io_reader.IsComplete())
        throw TroubleException(Trouble::Lost, io_service.address);
    return status;
}

} // namespace

PlatformInfo AskPlatformInformation(RemoteService& io_service, const pb::MachineReference& i_machine,
                                    ProgressWatcher& io_watcher)
{
    const auto connection = io_service.GetConnection();
    Call call(*connection, std::nullopt, {io_service.stop.get_token(), io_watcher.GetStopToken()});
    pb::PlatformInformationRequest request;
    *request.mutable_machine() = i_machine;
    PlatformReader reader(&io_watcher);
    const auto stream = connection->GetStub().GetPlatformInformation(&call.GetContext(), request);
    const auto status = ReadReplies(io_service, call, *stream, reader, io_watcher.GetStopToken());
    if (IsUnknownCall(status))
        ThrowFailure(status, call.GetContext(), io_service.address);
    PlatformInfo information;
    information.code = reader.GetHeader().code();
    information.message = Wire::GetText(reader.GetHeader().message(), "message about a platform");
    information.xml = reader.GetXml();
    information.items = reader.GetItems();
    return information;
}

std::pair<CommandResult, Platform> AskEmptyPlatform(RemoteService& io_service, const pb::MachineReference& i_machine,
                                                    const std::string& i_parameters)
{
    const auto connection = io_service.GetConnection();
    Call call(*connection, std::nullopt, {io_service.stop.get_token()});
    pb::EmptyPlatformRequest request;
    *request.mutable_machine() = i_machine;
    request.set_parameters(i_parameters);
    PlatformReader reader(nullptr);
    const auto stream = connection->GetStub().GetEmptyPlatform(&call.GetContext(), request);
    const auto status = ReadReplies(io_service, call, *stream, reader, {});
    if (IsUnknownCall(status))
        ThrowFailure(status, call.GetContext(), io_service.address);
    auto items = reader.GetItems();
    return {Wire::FromMessage(reader.GetHeader().result()), items.empty() ? Platform() : std::move(items.front())};
}

void SendPlatform(RemoteService& io_service, const pb::MachineReference& i_machine, const Platform& i_platform,
                  const std::string& i_name, ProgressWatcher& io_watcher)
{
    const auto connection = io_service.GetConnection();
    Call call(*connection, std::nullopt, {io_service.stop.get_token(), io_watcher.GetStopToken()});
    const auto stream = connection->GetStub().ModifyPlatform(&call.GetContext());
    {
        const auto watch = io_service.watchdog.Watch(LongestIdle, [&call] { call.GetContext().TryCancel(); });
        pb::ModifyPlatformRequest request;
        auto& header = *request.mutable_header();
        *header.mutable_machine() = i_machine;
        header.mutable_platform()->set_kind(static_cast<pb::PlatformDataKind>(i_platform.kind));
        header.mutable_platform()->set_size_bytes(i_platform.data.size());
        // What ends the sending shows in the status.
        if (stream->Write(request))
            Wire::ByteChunks().Send(i_platform.data, [&](const pb::Chunk& i_chunk) {
                watch->Feed();
                *request.mutable_chunk() = i_chunk;
                return stream->Write(request);
            });
        stream->WritesDone();
    }
    PlatformReader reader(&io_watcher);
    const auto status = ReadReplies(io_service, call, *stream, reader, io_watcher.GetStopToken());
    if (IsUnknownCall(status))
        Fail(ErrorCode::InternalError,
             "The printer " + TavSDK::Quote(i_name, MaxShownName) + " does not offer changes of a platform.");
}

ProfileAssignments AskProfileAssignments(const RemoteService& i_service, const pb::MachineReference& i_machine)
{
    const auto connection = i_service.GetConnection();
    Call call(*connection, QuestionDeadline, {i_service.stop.get_token()});
    pb::ProfileAssignmentsRequest request;
    *request.mutable_machine() = i_machine;
    pb::ProfileAssignments reply;
    const auto status = connection->GetStub().GetProfileAssignments(&call.GetContext(), request, &reply);
    if (IsUnknownCall(status))
        return {};
    i_service.Check(status, call.GetContext(), {});
    return Wire::FromMessage(reply);
}

} // namespace MachineService::Remote
