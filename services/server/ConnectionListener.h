#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace MachineService::Server {

/// Accepts the connections of one address and hands them on, as many at a time as there may be.
///
/// gRPC takes any number of connections, and does not tell who is at the other end of a unix socket. So they are
/// accepted here, and one that is not let in, or is one too many, is closed at once. Of each connection a second
/// descriptor is kept, by which its end is seen.
///
/// Thread: one of its own, on which the functions are called.
class ConnectionListener
{
public:
    struct Handlers
    {
        /// Whether a connection is let in; empty function: each is.
        std::function<bool(int)> admit;
        /// Gets a connection that does not block, and owns it.
        std::function<void(int)> take;
        std::function<void(const std::string&)> log;
    };

    /// \throws CommunicationException InternalError with a sentence where too many files are open.
    /// \param i_sockets that listen and do not block; they are this object's.
    ConnectionListener(std::vector<int> i_sockets, std::size_t i_most_connections, Handlers i_handlers);
    ~ConnectionListener();
    ConnectionListener(const ConnectionListener&) = delete;
    ConnectionListener& operator=(const ConnectionListener&) = delete;

    /// Connections that are open.
    /// Thread: any.
    std::size_t GetConnectionCount() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::Server
