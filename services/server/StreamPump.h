#pragma once

#include "server/Bell.h"
#include "tavsdk/Mutex.h"

#include <chrono>
#include <memory>
#include <set>
#include <thread>

namespace MachineService::Server {

/// What hosts listen to: it is asked again and again whether it has something to say.
class IStream
{
public:
    virtual ~IStream() = default;
    /// Sends what there is, or a heartbeat, unless it still sends. Never waits.
    virtual void Pump(Bell::Clock::time_point i_now) = 0;
    /// The service goes down.
    virtual void End() = 0;
};

/// Passes news on to all streams as soon as the bell rings, and lets their heartbeats out.
///
/// Thread: any; one of its own.
/// Ownership: holds the streams until they are removed.
class StreamPump
{
public:
    StreamPump(std::shared_ptr<Bell> ip_bell, std::chrono::milliseconds i_heartbeat, std::size_t i_most);
    ~StreamPump();
    StreamPump(const StreamPump&) = delete;
    StreamPump& operator=(const StreamPump&) = delete;

    /// \throws CommunicationException when there are as many as there may be, or everything goes down.
    void Add(const std::shared_ptr<IStream>& ip_stream);
    void Remove(const std::shared_ptr<IStream>& ip_stream);
    /// Ends all streams; none is taken any more.
    void EndAll();
    std::chrono::milliseconds GetHeartbeat() const { return _heartbeat; }

private:
    void _Run();
    std::set<std::shared_ptr<IStream>> _GetAll() const;

    const std::shared_ptr<Bell> _bell;
    const std::chrono::milliseconds _heartbeat;
    const std::size_t _most;
    mutable TavSDK::Mutex _mutex; ///< guards _streams, _hasEnded and _stop
    std::set<std::shared_ptr<IStream>> _streams TAVSDK_GUARDED_BY(_mutex);
    bool _hasEnded TAVSDK_GUARDED_BY(_mutex) = false;
    bool _stop TAVSDK_GUARDED_BY(_mutex) = false;
    std::thread _thread;
};

} // namespace MachineService::Server
