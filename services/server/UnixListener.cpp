#include "server/UnixListener.h"

#include "client/interface/CommunicationException.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace MachineService::Server {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& i_path, const std::string& i_why)
{
    throw CommunicationException(ErrorCode::InternalError,
                                 ("The socket '" + TavSDK::ShowPath(i_path) + "' cannot be opened: " + i_why).c_str());
}

sockaddr_un MakeAddress(const std::filesystem::path& i_path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (i_path.native().size() >= sizeof(address.sun_path))
        Fail(i_path, "its path is too long; choose a shorter one.");
    std::memcpy(address.sun_path, i_path.c_str(), i_path.native().size());
    return address;
}

/// A socket that a former process left, and nobody serves any more, is removed.
void RemoveLeftOver(const std::filesystem::path& i_path, const sockaddr_un& i_address)
{
    struct stat status = {};
    if (lstat(i_path.c_str(), &status) != 0)
        return;
    if (!S_ISSOCK(status.st_mode))
        Fail(i_path, "there is a file of this name that is no socket; remove it or choose another path.");
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool isServed = connect(probe, reinterpret_cast<const sockaddr*>(&i_address), sizeof i_address) == 0;
    close(probe);
    if (isServed)
        Fail(i_path, "another service is using it; stop that one or choose another path.");
    unlink(i_path.c_str());
}

int Listen(const std::filesystem::path& i_path)
{
    const auto address = MakeAddress(i_path);
    if (mkdir(i_path.parent_path().c_str(), 0700) != 0 && errno != EEXIST)
        Fail(i_path, TavSDK::ErrnoText(errno) + ".");
    RemoveLeftOver(i_path, address);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0 || bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        chmod(i_path.c_str(), 0600) != 0 || listen(listener, SOMAXCONN) != 0) {
        const auto error = errno;
        if (listener >= 0)
            close(listener);
        Fail(i_path, TavSDK::ErrnoText(error) + ".");
    }
    return listener;
}

} // namespace

struct UnixListener::Impl
{
    void Run();
    void Accept();
    /// \return false when everything ends.
    bool Wait();

    std::filesystem::path path;
    std::size_t most = 0;
    std::function<void(int)> take;
    std::function<void(const std::string&)> log;
    int listener = -1;
    int wakeUp = -1;
    std::vector<int> connections;                 ///< used by the thread only
    std::atomic<std::size_t> connectionCount = 0; ///< of those, written by the thread
    bool isFull = false;
    std::thread thread;
};

UnixListener::UnixListener(std::filesystem::path i_path, std::size_t i_most_connections,
                           std::function<void(int)> i_take, std::function<void(const std::string&)> i_log)
    : _impl(std::make_unique<Impl>())
{
    if (!i_path.is_absolute())
        Fail(i_path, "its path is not absolute; begin it with '/'.");
    _impl->path = std::move(i_path);
    _impl->most = i_most_connections;
    _impl->take = std::move(i_take);
    _impl->log = std::move(i_log);
    _impl->listener = Listen(_impl->path);
    _impl->wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    _impl->thread = std::thread([impl = _impl.get()] { impl->Run(); });
}

UnixListener::~UnixListener()
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(_impl->wakeUp, &one, sizeof one);
    _impl->thread.join();
    unlink(_impl->path.c_str());
    close(_impl->listener);
    close(_impl->wakeUp);
    for (const int connection : _impl->connections)
        close(connection);
}

std::size_t UnixListener::GetConnectionCount() const
{
    return _impl->connectionCount;
}

bool UnixListener::Impl::Wait()
{
    std::vector<pollfd> polled{{wakeUp, POLLIN, 0}, {listener, POLLIN, 0}};
    for (const int connection : connections)
        polled.push_back({connection, POLLRDHUP, 0});
    if (poll(polled.data(), polled.size(), -1) < 0)
        return errno == EINTR;
    if (polled[0].revents != 0)
        return false;
    std::vector<int> open;
    for (std::size_t place = 2; place < polled.size(); ++place) {
        if (polled[place].revents == 0)
            open.push_back(polled[place].fd);
        else
            close(polled[place].fd);
    }
    connections = std::move(open);
    if (polled[1].revents != 0)
        Accept();
    connectionCount = connections.size();
    return true;
}

void UnixListener::Impl::Accept()
{
    const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (connection < 0) {
        // Without descriptors the socket stays readable: wait until one may be free, or the end.
        pollfd stop{wakeUp, POLLIN, 0};
        if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
            poll(&stop, 1, 100);
        return;
    }
    ucred peer = {};
    socklen_t size = sizeof peer;
    const bool isOurs =
        getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && (peer.uid == geteuid() || peer.uid == 0);
    if (!isOurs)
        log("A connection of user " + std::to_string(peer.uid) + " was refused.");
    const bool isTooMany = connections.size() >= most;
    if (isTooMany && !isFull)
        log("There are as many connections as there may be; further ones are refused.");
    isFull = isTooMany;
    const int second = isOurs && !isTooMany ? fcntl(connection, F_DUPFD_CLOEXEC, 0) : -1;
    if (second < 0) {
        close(connection);
        return;
    }
    connections.push_back(second);
    take(connection);
}

void UnixListener::Impl::Run()
{
    while (Wait()) {
    }
}

} // namespace MachineService::Server
