#pragma once

#include "server/ServerState.h"

#include <machineservice/v1/machines.grpc.pb.h>

namespace MachineService::Server {

/// The calls of the protocol. Streams that hosts listen to are callbacks, everything else has a thread while it lasts.
///
/// Thread: gRPC's.
class ServiceCalls final : public Wire::pb::MachineService::WithRawCallbackMethod_WatchCatalog<
                               Wire::pb::MachineService::WithCallbackMethod_WatchRun<Wire::pb::MachineService::Service>>
{
public:
    explicit ServiceCalls(ServerState& io_state)
        : _state(io_state)
    {}

    grpc::Status GetServiceInformation(grpc::ServerContext* iop_context,
                                       const Wire::pb::ServiceInformationRequest* ip_request,
                                       Wire::pb::ServiceInformation* op_reply) override;
    grpc::Status SetAuthentication(grpc::ServerContext* iop_context, const Wire::pb::AuthenticationRequest* ip_request,
                                   Wire::pb::AuthenticationReply* op_reply) override;
    grpc::Status Refresh(grpc::ServerContext* iop_context, const Wire::pb::RefreshRequest* ip_request,
                         Wire::pb::RefreshReply* op_reply) override;
    grpc::ServerWriteReactor<grpc::ByteBuffer>* WatchCatalog(grpc::CallbackServerContext* iop_context,
                                                             const grpc::ByteBuffer* ip_request) override;
    grpc::Status GetIcons(grpc::ServerContext* iop_context, const Wire::pb::GetIconsRequest* ip_request,
                          grpc::ServerWriter<Wire::pb::Icon>* iop_writer) override;
    grpc::Status GetCanRunAnswers(grpc::ServerContext* iop_context, const Wire::pb::CanRunRequest* ip_request,
                                  Wire::pb::CanRunAnswers* op_reply) override;

    // PlatformCalls.cpp
    grpc::Status GetPlatformInformation(grpc::ServerContext* iop_context,
                                        const Wire::pb::PlatformInformationRequest* ip_request,
                                        grpc::ServerWriter<Wire::pb::PlatformReply>* iop_writer) override;
    grpc::Status GetEmptyPlatform(grpc::ServerContext* iop_context, const Wire::pb::EmptyPlatformRequest* ip_request,
                                  grpc::ServerWriter<Wire::pb::PlatformReply>* iop_writer) override;
    grpc::Status ModifyPlatform(
        grpc::ServerContext* iop_context,
        grpc::ServerReaderWriter<Wire::pb::PlatformReply, Wire::pb::ModifyPlatformRequest>* iop_stream) override;
    grpc::Status GetProfileAssignments(grpc::ServerContext* iop_context,
                                       const Wire::pb::ProfileAssignmentsRequest* ip_request,
                                       Wire::pb::ProfileAssignments* op_reply) override;

    // RunCalls.cpp
    grpc::Status StartRun(grpc::ServerContext* iop_context, const Wire::pb::StartRunRequest* ip_request,
                          Wire::pb::Run* op_reply) override;
    grpc::Status Upload(grpc::ServerContext* iop_context, grpc::ServerReader<Wire::pb::UploadRequest>* iop_reader,
                        Wire::pb::Run* op_reply) override;
    grpc::ServerWriteReactor<Wire::pb::Run>* WatchRun(grpc::CallbackServerContext* iop_context,
                                                      const Wire::pb::RunRequest* ip_request) override;
    grpc::Status CancelRun(grpc::ServerContext* iop_context, const Wire::pb::RunRequest* ip_request,
                           Wire::pb::Run* op_reply) override;
    grpc::Status Download(grpc::ServerContext* iop_context, const Wire::pb::DownloadRequest* ip_request,
                          grpc::ServerWriter<Wire::pb::Chunk>* iop_writer) override;
    grpc::Status ReleaseRun(grpc::ServerContext* iop_context, const Wire::pb::RunRequest* ip_request,
                            Wire::pb::ReleaseRunReply* op_reply) override;

private:
    ServerState& _state;
};

} // namespace MachineService::Server
