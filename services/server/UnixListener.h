#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace MachineService::Server {

/// Accepts connections of the same user's processes on a unix socket and hands them on.
///
/// gRPC does not tell who is at the other end of such a socket, and takes any number of connections. So they are
/// accepted here: the kernel is asked for the peer's user, and one that is too many is closed at once. Of each
/// connection a second descriptor is kept, by which its end is seen.
///
/// Thread: one of its own, on which i_take is called. The destructor removes the socket.
class UnixListener
{
public:
    /// \param i_take gets a connection that does not block, and owns it.
    /// \throws CommunicationException InternalError with one sentence that names the socket.
    UnixListener(std::filesystem::path i_path, std::size_t i_most_connections, std::function<void(int)> i_take,
                 std::function<void(const std::string&)> i_log);
    ~UnixListener();
    UnixListener(const UnixListener&) = delete;
    UnixListener& operator=(const UnixListener&) = delete;

    /// Connections that are open. Thread: any.
    std::size_t GetConnectionCount() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::Server
