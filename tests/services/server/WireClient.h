#pragma once

#include "hashing/Sha256.h"
#include "support/Test.h"
#include "wire/Chunks.h"
#include "wire/Protocol.h"

#include <machineservice/v1/machines.grpc.pb.h>

#include <grpcpp/create_channel.h>

namespace TestSupport {

namespace pb = MachineService::Wire::pb;

/// The smallest host: one call after the other, each within some seconds.
class WireClient
{
public:
    explicit WireClient(const std::string& i_address, const std::shared_ptr<grpc::ChannelCredentials>& ip_credentials =
                                                          grpc::InsecureChannelCredentials())
    {
        grpc::ChannelArguments arguments;
        // Otherwise two clients of one address share a connection.
        arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
        arguments.SetInt(GRPC_ARG_INITIAL_RECONNECT_BACKOFF_MS, 100);
        arguments.SetInt(GRPC_ARG_MIN_RECONNECT_BACKOFF_MS, 100);
        arguments.SetInt(GRPC_ARG_MAX_RECONNECT_BACKOFF_MS, 100);
        _channel = grpc::CreateCustomChannel(i_address, ip_credentials, arguments);
        stub = pb::MachineService::NewStub(_channel);
    }

    std::unique_ptr<grpc::ClientContext> MakeContext() const
    {
        auto made = std::make_unique<grpc::ClientContext>();
        made->set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
        made->set_wait_for_ready(true);
        if (!token.empty())
            made->AddMetadata(MachineService::Wire::TokenMetadata, token);
        return made;
    }

    /// A call with one answer.
    template <class Request, class Reply>
    grpc::Status Call(grpc::Status (pb::MachineService::Stub::*i_call)(grpc::ClientContext*, const Request&, Reply*),
                      const Request& i_request, Reply& o_reply)
    {
        context = MakeContext();
        return (stub.get()->*i_call)(context.get(), i_request, &o_reply);
    }

    /// The messages up to the one that is the last, or to the end of the stream.
    template <class Message>
    std::vector<Message> ReadUntil(grpc::ClientReader<Message>& io_reader,
                                   const std::function<bool(const Message&)>& i_is_last)
    {
        std::vector<Message> messages;
        Message message;
        while (io_reader.Read(&message)) {
            messages.push_back(message);
            if (i_is_last && i_is_last(message))
                return messages;
        }
        status = io_reader.Finish();
        return messages;
    }

    pb::Run Upload(const std::string& i_run, const std::string& i_content, std::uint64_t i_from = 0)
    {
        pb::Run run;
        context = MakeContext();
        const auto writer = stub->Upload(context.get(), &run);
        constexpr std::size_t PieceBytes = 64 * 1024;
        do {
            pb::UploadRequest request;
            request.set_run_id(i_run);
            auto& chunk = *request.mutable_chunk();
            chunk.set_offset_bytes(i_from);
            chunk.set_content(i_content.substr(i_from, PieceBytes));
            i_from += chunk.content().size();
            chunk.set_sha256_so_far(MachineService::HashOf(i_content.substr(0, i_from)));
            if (!writer->Write(request))
                break;
        } while (i_from < i_content.size());
        writer->WritesDone();
        status = writer->Finish();
        return run;
    }

    /// To the end of the run.
    std::vector<pb::Run> Watch(const std::string& i_run)
    {
        pb::RunRequest request;
        request.set_run_id(i_run);
        context = MakeContext();
        const auto reader = stub->WatchRun(context.get(), request);
        return ReadUntil<pb::Run>(*reader, {});
    }

    std::string Download(const std::string& i_run, std::uint32_t i_file, std::uint64_t i_from = 0)
    {
        pb::DownloadRequest request;
        request.set_run_id(i_run);
        request.set_file(i_file);
        request.set_offset_bytes(i_from);
        context = MakeContext();
        const auto reader = stub->Download(context.get(), request);
        std::string content;
        for (const auto& chunk : ReadUntil<pb::Chunk>(*reader, {})) {
            EXPECT_EQ(chunk.offset_bytes(), i_from + content.size());
            content += chunk.content();
        }
        return content;
    }

    /// Status, snapshot and whatever else comes first, up to the last page.
    std::vector<pb::CatalogEvent> ReadSnapshot()
    {
        context = MakeContext();
        const auto reader = stub->WatchCatalog(context.get(), {});
        auto events =
            ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.snapshot().is_last(); });
        if (!events.empty() && events.back().snapshot().is_last()) {
            context->TryCancel();
            reader->Finish();
        }
        return events;
    }

    pb::MachineService::Stub& Get() { return *stub; }

    std::unique_ptr<pb::MachineService::Stub> stub;
    std::unique_ptr<grpc::ClientContext> context; ///< of the last call
    grpc::Status status;                          ///< of the last stream
    std::string token;

private:
    std::shared_ptr<grpc::Channel> _channel;
};

} // namespace TestSupport
