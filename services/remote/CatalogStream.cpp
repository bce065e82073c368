#include "remote/CatalogStream.h"

#include <string>

namespace MachineService::Remote {

namespace {

std::string GetMethod()
{
    return '/' + std::string(pb::MachineService::service_full_name()) + "/WatchCatalog";
}

} // namespace

CatalogStream::CatalogStream(const Connection& i_connection, grpc::ClientContext& io_context,
                             const pb::WatchCatalogRequest& i_request)
    : _stub(i_connection.GetChannel())
    , _call(_stub.PrepareCall(&io_context, GetMethod(), &_queue))
{
    _call->StartCall(nullptr);
    // Where that fails, so does the first Read.
    if (!_Await())
        return;
    _call->WriteLast(i_request, {}, nullptr);
    _Await();
}

CatalogStream::~CatalogStream()
{
    _queue.Shutdown();
    void* tag = nullptr;
    bool isDone = false;
    while (_queue.Next(&tag, &isDone)) {
    }
}

bool CatalogStream::Read(messages::CatalogEvent& o_event)
{
    _call->Read(&o_event, nullptr);
    return _Await();
}

grpc::Status CatalogStream::Finish()
{
    grpc::Status status;
    _call->Finish(&status, nullptr);
    _Await();
    return status;
}

bool CatalogStream::_Await()
{
    void* tag = nullptr;
    bool isDone = false;
    return _queue.Next(&tag, &isDone) && isDone;
}

} // namespace MachineService::Remote
