#include "server/Streams.h"

#include "server/RunMessages.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

grpc::ByteBuffer ToBuffer(const std::string& i_bytes)
{
    const grpc::Slice slice(i_bytes);
    return {&slice, 1};
}

} // namespace

CatalogStream::Next CatalogStream::_GetNext(grpc::ByteBuffer& o_event)
{
    std::string bytes;
    if (!_reader.Next(bytes))
        return Next::Nothing;
    o_event = ToBuffer(bytes);
    return Next::Ready;
}

void CatalogStream::_MakeHeartbeat(grpc::ByteBuffer& o_event)
{
    o_event = ToBuffer(_reader.MakeHeartbeat());
}

RunStream::Next RunStream::_GetNext(pb::Run& o_run)
{
    if (_hasEnded)
        return Next::End;
    const RunState state = _book.Get(_id);
    if (_told == state.version)
        return Next::Nothing;
    _told = state.version;
    _hasEnded = state.HasEnded();
    o_run = ToMessage(state, _language);
    return Next::Ready;
}

} // namespace MachineService::Server
