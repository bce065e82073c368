#include "machined/Notify.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Machined {

void NotifyManager(const std::string& i_state)
{
    const char* const path = std::getenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const auto length = path ? std::strlen(path) : 0;
    if (length == 0 || length >= sizeof(address.sun_path) || (*path != '/' && *path != '@'))
        return;
    std::memcpy(address.sun_path, path, length);
    // An abstract name is written with "@" in the place of the zero.
    if (*path == '@')
        address.sun_path[0] = '\0';
    const int datagrams = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (datagrams < 0)
        return;
    // A manager that does not listen is no reason not to serve.
    [[maybe_unused]] const auto sent =
        sendto(datagrams, i_state.data(), i_state.size(), MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
               static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + length));
    close(datagrams);
}

} // namespace Machined
