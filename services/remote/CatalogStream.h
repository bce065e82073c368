#pragma once

#include "remote/Connection.h"

#include <grpcpp/completion_queue.h>
#include <grpcpp/generic/generic_stub.h>

#include <remote/pages.pb.h>

#include <memory>

namespace MachineService::Remote {

/// The events of WatchCatalog.
namespace messages = machineservice::remote;

/// One call of WatchCatalog, with its events as remote/pages.proto has them.
///
/// Thread: one; the call's context may be cancelled from any.
class CatalogStream
{
public:
    /// \param io_context of the call; outlives this.
    CatalogStream(const Connection& i_connection, grpc::ClientContext& io_context,
                  const pb::WatchCatalogRequest& i_request);
    ~CatalogStream();
    CatalogStream(const CatalogStream&) = delete;
    CatalogStream& operator=(const CatalogStream&) = delete;

    /// Waits for the next one.
    /// \return false when no more comes; Finish tells why.
    bool Read(messages::CatalogEvent& o_event);
    /// After Read gave false.
    grpc::Status Finish();

private:
    using Stub = grpc::TemplatedGenericStub<pb::WatchCatalogRequest, messages::CatalogEvent>;

    /// What was begun has ended, well or not.
    bool _Await();

    grpc::CompletionQueue _queue;
    Stub _stub;
    std::unique_ptr<grpc::ClientAsyncReaderWriter<pb::WatchCatalogRequest, messages::CatalogEvent>> _call;
};

} // namespace MachineService::Remote
