#include "server/ConnectionListener.h"

#include "client/interface/CommunicationException.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::Server {

struct ConnectionListener::Impl
{
    ~Impl();
    void Run();
    void Accept(int i_socket);
    /// \return false when everything ends.
    bool Wait();

    std::vector<int> sockets;
    std::size_t most = 0;
    Handlers handlers;
    int wakeUp = -1;
    std::vector<int> connections;                 ///< used by the thread only
    std::atomic<std::size_t> connectionCount = 0; ///< of those, written by the thread
    bool isFull = false;
    std::thread thread;
};

ConnectionListener::Impl::~Impl()
{
    if (wakeUp >= 0)
        close(wakeUp);
    for (const int socket : sockets)
        close(socket);
    for (const int connection : connections)
        close(connection);
}

ConnectionListener::ConnectionListener(std::vector<int> i_sockets, std::size_t i_most_connections, Handlers i_handlers)
    : _impl(std::make_unique<Impl>())
{
    _impl->sockets = std::move(i_sockets);
    _impl->most = i_most_connections;
    _impl->handlers = std::move(i_handlers);
    _impl->wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    // Without it nothing would end the thread.
    if (_impl->wakeUp < 0)
        throw CommunicationException(ErrorCode::InternalError,
                                     "The service cannot listen because it may not open more files; let it open more.");
    _impl->thread = std::thread([impl = _impl.get()] { impl->Run(); });
}

ConnectionListener::~ConnectionListener()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(_impl->wakeUp, &one, sizeof one);
    _impl->thread.join();
}

bool ConnectionListener::Impl::Wait()
{
    std::vector<pollfd> polled{{wakeUp, POLLIN, 0}};
    for (const int socket : sockets)
        polled.push_back({socket, POLLIN, 0});
    for (const int connection : connections)
        polled.push_back({connection, POLLRDHUP, 0});
    if (poll(polled.data(), polled.size(), -1) < 0)
        return errno == EINTR;
    if (polled[0].revents != 0)
        return false;
    std::vector<int> open;
    for (std::size_t place = 1 + sockets.size(); place < polled.size(); ++place) {
        if (polled[place].revents == 0)
            open.push_back(polled[place].fd);
        else
            close(polled[place].fd);
    }
    connections = std::move(open);
    for (std::size_t place = 0; place < sockets.size(); ++place) {
        if (polled[1 + place].revents != 0)
            Accept(sockets[place]);
    }
    connectionCount = connections.size();
    return true;
}

std::size_t ConnectionListener::GetConnectionCount() const
{
    return _impl->connectionCount;
}

void ConnectionListener::Impl::Accept(int i_socket)
{
    const int connection = accept4(i_socket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (connection < 0) {
        // Without descriptors the socket stays readable: wait until one may be free, or the end.
        pollfd stop{wakeUp, POLLIN, 0};
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
            poll(&stop, 1, 100);
        return;
    }
    const bool isAdmitted = !handlers.admit || handlers.admit(connection);
    const bool isTooMany = connections.size() >= most;
    if (isTooMany && !isFull)
        handlers.log("There are as many connections as there may be; further ones are refused.");
    isFull = isTooMany;
    const int second = isAdmitted && !isTooMany ? fcntl(connection, F_DUPFD_CLOEXEC, 0) : -1;
    if (second < 0) {
        close(connection);
        return;
    }
    connections.push_back(second);
    handlers.take(connection);
}

void ConnectionListener::Impl::Run()
{
    while (Wait()) {
    }
}

} // namespace MachineService::Server
