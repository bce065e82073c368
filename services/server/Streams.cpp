#include "server/Streams.h"

#include "server/RunMessages.h"

namespace MachineService::Server {

namespace pb = Wire::pb;

RunStream::Next RunStream::_GetNext(pb::Run& o_run)
{
    if (_hasEnded)
        return Next::End;
    const RunState state = _book.Get(_id);
    if (_told == state.version)
        return Next::Nothing;
    _told = state.version;
    _hasEnded = state.HasEnded();
    o_run = ToMessage(state);
    return Next::Ready;
}

} // namespace MachineService::Server
