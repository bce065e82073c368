#include "server/StreamPump.h"

#include "client/interface/CommunicationException.h"
#include "wire/WireFailure.h"

namespace MachineService::Server {

StreamPump::StreamPump(std::shared_ptr<Bell> ip_bell, std::chrono::milliseconds i_heartbeat, std::size_t i_most)
    : _bell(std::move(ip_bell))
    , _heartbeat(i_heartbeat)
    , _most(i_most)
    , _thread([this] { _Run(); })
{}

StreamPump::~StreamPump()
{
    {
        const TavSDK::MutexLock lock(_mutex);
        _stop = true;
    }
    _bell->Ring();
    _thread.join();
}

void StreamPump::Add(const std::shared_ptr<IStream>& ip_stream)
{
    const TavSDK::MutexLock lock(_mutex);
    if (_hasEnded)
        throw CommunicationException(ErrorCode::ServicesUnavailable, "The service goes down; try again later.");
    if (_streams.size() >= _most)
        throw Wire::WireFailure(Wire::WireFailure::Kind::Busy, ErrorCode::InternalError,
                                "The service has as many listeners as it takes; try again later.", "busy");
    _streams.insert(ip_stream);
}

void StreamPump::Remove(const std::shared_ptr<IStream>& ip_stream)
{
    const TavSDK::MutexLock lock(_mutex);
    _streams.erase(ip_stream);
}

std::set<std::shared_ptr<IStream>> StreamPump::_GetAll() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _streams;
}

void StreamPump::EndAll()
{
    {
        const TavSDK::MutexLock lock(_mutex);
        _hasEnded = true;
    }
    for (const auto& stream : _GetAll())
        stream->End();
}

void StreamPump::_Run()
{
    for (;;) {
        const auto now = Bell::Clock::now();
        for (const auto& stream : _GetAll())
            stream->Pump(now);
        _bell->Wait(now + _heartbeat / 4);
        const TavSDK::MutexLock lock(_mutex);
        if (_stop)
            return;
    }
}

} // namespace MachineService::Server
