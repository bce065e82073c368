#include "server/ListeningSockets.h"

#include "client/interface/CommunicationException.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
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

[[noreturn]] void FailTcp(const std::string& i_address, const std::string& i_why)
{
    throw CommunicationException(
        ErrorCode::InternalError,
        ("The address " + TavSDK::Quote(i_address) + " cannot be listened on: " + i_why).c_str());
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

void SetPort(addrinfo& io_address, int i_port)
{
    if (io_address.ai_family == AF_INET6)
        reinterpret_cast<sockaddr_in6*>(io_address.ai_addr)->sin6_port = htons(static_cast<std::uint16_t>(i_port));
    else
        reinterpret_cast<sockaddr_in*>(io_address.ai_addr)->sin_port = htons(static_cast<std::uint16_t>(i_port));
}

int GetPort(int i_socket)
{
    sockaddr_storage address = {};
    socklen_t size = sizeof address;
    getsockname(i_socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.ss_family == AF_INET6 ? reinterpret_cast<const sockaddr_in6&>(address).sin6_port
                                               : reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

/// \return -1 with errno when it cannot be.
int ListenOn(const addrinfo& i_address)
{
    const int listener = socket(i_address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener < 0)
        return -1;
    const int on = 1;
    // A service that was just stopped leaves connections behind that still end. Two that serve exclude each other.
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    // Small answers must not wait for further ones; connections take it over.
    setsockopt(listener, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    // "[::]" is every address of the computer, whatever the system's default.
    const int off = 0;
    if (i_address.ai_family == AF_INET6)
        setsockopt(listener, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    if (bind(listener, i_address.ai_addr, i_address.ai_addrlen) == 0 && listen(listener, SOMAXCONN) == 0)
        return listener;
    const int error = errno;
    close(listener);
    errno = error;
    return -1;
}

} // namespace

int ListenOnUnix(const std::filesystem::path& i_path)
{
    if (!i_path.is_absolute())
        Fail(i_path, "its path is not absolute; begin it with '/'.");
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

bool IsOfSameUser(int i_connection, std::string& o_user)
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    const bool isKnown = getsockopt(i_connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0;
    o_user = std::to_string(peer.uid);
    return isKnown && (peer.uid == geteuid() || peer.uid == 0);
}

std::vector<int> ListenOnTcp(const std::string& i_address, int& o_port)
{
    const auto colon = i_address.rfind(':');
    std::string host = i_address.substr(0, colon);
    if (colon == std::string::npos || host.empty())
        FailTcp(i_address, "it is not of the form HOST:PORT; correct it.");
    if (host.front() == '[' && host.back() == ']')
        host = host.substr(1, host.size() - 2);
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    const int failure = getaddrinfo(host.c_str(), i_address.c_str() + colon + 1, &hints, &found);
    if (failure != 0)
        FailTcp(i_address, std::string(gai_strerror(failure)) + "; correct it.");
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, &freeaddrinfo);
    std::vector<int> sockets;
    int error = 0;
    o_port = 0;
    for (auto* address = found; address; address = address->ai_next) {
        if (!sockets.empty())
            SetPort(*address, o_port);
        const int socket = ListenOn(*address);
        // Of a host with two kinds of addresses one may not be in use.
        if (socket < 0 && errno == EADDRINUSE) {
            error = EADDRINUSE;
            break;
        }
        if (socket < 0) {
            error = errno;
            continue;
        }
        sockets.push_back(socket);
        o_port = GetPort(socket);
    }
    if (sockets.empty() || error == EADDRINUSE) {
        for (const int socket : sockets)
            close(socket);
        FailTcp(i_address, TavSDK::ErrnoText(error) + "; look whether another program uses it.");
    }
    return sockets;
}

} // namespace MachineService::Server
