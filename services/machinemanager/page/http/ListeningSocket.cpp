#include "machinemanager/page/http/ListeningSocket.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

constexpr int Backlog = 128;

std::string GetReason()
{
    return TavSDK::ErrnoText(errno);
}

[[noreturn]] void Refuse(const std::string& i_where, const std::string& i_reason)
{
    throw std::runtime_error("The page and its interface cannot be offered at " + i_where + ": " + i_reason + '.');
}

void CheckFolder(const std::filesystem::path& i_folder)
{
    const auto name = TavSDK::Quote(TavSDK::ShowPath(i_folder));
    if (::mkdir(i_folder.c_str(), 0700) != 0 && errno != EEXIST)
        throw std::runtime_error("The folder " + name + " for the interface's socket cannot be made: " + GetReason() +
                                 '.');
    struct stat status = {};
    if (::lstat(i_folder.c_str(), &status) != 0)
        throw std::runtime_error("The folder " + name +
                                 " of the interface's socket cannot be looked at: " + GetReason() + '.');
    if (!S_ISDIR(status.st_mode) || status.st_uid != ::geteuid() || (status.st_mode & 077) != 0)
        throw std::runtime_error("Whoever reaches the interface's socket may do everything, and the folder " + name +
                                 " lets others in: make it a folder of this user alone (chmod 700).");
}

sockaddr_un MakeAddress(const std::filesystem::path& i_socket)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (i_socket.native().size() >= sizeof address.sun_path)
        Refuse("the socket " + TavSDK::Quote(TavSDK::ShowPath(i_socket)), "its path is too long; choose a shorter one");
    std::memcpy(address.sun_path, i_socket.c_str(), i_socket.native().size());
    return address;
}

/// A socket that nobody answers at was left behind by a program that ended badly.
void RemoveAbandoned(const std::filesystem::path& i_socket, const sockaddr_un& i_address)
{
    const int probe = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int result = ::connect(probe, reinterpret_cast<const sockaddr*>(&i_address), sizeof i_address);
    const int reason = errno;
    ::close(probe);
    if (result == 0)
        Refuse("the socket " + TavSDK::Quote(TavSDK::ShowPath(i_socket)), "another program answers there");
    if (reason == ECONNREFUSED)
        ::unlink(i_socket.c_str());
}

} // namespace

ListeningSocket::ListeningSocket(std::filesystem::path i_socket)
    : _socket(std::move(i_socket))
{
    CheckFolder(_socket.parent_path());
    const auto address = MakeAddress(_socket);
    RemoveAbandoned(_socket, address);
    _descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (_descriptor < 0 || ::bind(_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::chmod(_socket.c_str(), 0600) != 0 || ::listen(_descriptor, Backlog) != 0) {
        const auto reason = GetReason();
        ::close(_descriptor);
        Refuse("the socket " + TavSDK::Quote(TavSDK::ShowPath(_socket)), reason);
    }
}

ListeningSocket::ListeningSocket(const std::string& i_host, int i_port)
{
    const auto where = i_host + ':' + std::to_string(i_port);
    sockaddr_in6 six = {};
    sockaddr_in four = {};
    const bool isFour = ::inet_pton(AF_INET, i_host.c_str(), &four.sin_addr) == 1;
    if (!isFour && ::inet_pton(AF_INET6, i_host.c_str(), &six.sin6_addr) != 1)
        Refuse(where, "the host must be an address in numbers, such as 127.0.0.1");
    if (i_port < 0 || i_port > 65'535)
        Refuse(where, "a port is a number up to 65535");
    four.sin_family = AF_INET;
    six.sin6_family = AF_INET6;
    four.sin_port = six.sin6_port = htons(static_cast<std::uint16_t>(i_port));
    auto* const address = isFour ? reinterpret_cast<sockaddr*>(&four) : reinterpret_cast<sockaddr*>(&six);
    socklen_t size = isFour ? sizeof four : sizeof six;

    _descriptor = ::socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Without SO_REUSEPORT, so that no other program gets a part of the connections.
    const int isOn = 1;
    ::setsockopt(_descriptor, SOL_SOCKET, SO_REUSEADDR, &isOn, sizeof isOn);
    if (_descriptor < 0 || ::bind(_descriptor, address, size) != 0 || ::listen(_descriptor, Backlog) != 0 ||
        ::getsockname(_descriptor, address, &size) != 0) {
        const auto reason = GetReason();
        ::close(_descriptor);
        Refuse(where, reason);
    }
    _port = ntohs(isFour ? four.sin_port : six.sin6_port);
}

ListeningSocket::~ListeningSocket()
{
    // While it is still open, so that nobody finds a socket that nobody answers at.
    if (!_socket.empty())
        ::unlink(_socket.c_str());
    ::close(_descriptor);
}

bool IsLoopback(const std::string& i_host)
{
    in_addr four = {};
    in6_addr six = {};
    if (::inet_pton(AF_INET, i_host.c_str(), &four) == 1)
        return (ntohl(four.s_addr) >> 24) == 127;
    return ::inet_pton(AF_INET6, i_host.c_str(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

} // namespace MachineService::MachineManager
