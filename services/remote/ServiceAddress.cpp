#include "remote/ServiceAddress.h"

#include "contract/Failure.h"
#include "tavsdk/Text.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace MachineService::Remote {

namespace {

constexpr std::string_view Unix = "unix:";
constexpr std::string_view Tls = "tls://";
constexpr std::size_t MaxSocketPath = 107; ///< of sockaddr_un, without the zero at its end
constexpr std::size_t MaxHost = 253;       ///< of a name in the domain name system

[[noreturn]] void Refuse(const std::string& i_text, const std::string& i_reason)
{
    Fail(ErrorCode::InternalError, "The address " + TavSDK::Quote(i_text, 300) + " " + i_reason +
                                       ": write 'unix:' and the whole path of a socket, or 'tls://HOST:PORT'.");
}

bool IsPort(std::string_view i_text)
{
    unsigned int port = 0;
    const auto end = i_text.data() + i_text.size();
    return !i_text.empty() && std::from_chars(i_text.data(), end, port).ptr == end && port >= 1 && port <= 65535;
}

bool IsHost(std::string_view i_text)
{
    return !i_text.empty() && i_text.size() <= MaxHost && std::all_of(i_text.begin(), i_text.end(), [](char i_char) {
        return (i_char >= 'a' && i_char <= 'z') || (i_char >= 'A' && i_char <= 'Z') ||
               (i_char >= '0' && i_char <= '9') || i_char == '-' || i_char == '.' || i_char == '_';
    });
}

bool IsAddressOfVersion6(std::string_view i_text)
{
    return i_text.size() > 2 && i_text.front() == '[' && i_text.back() == ']' &&
           i_text.find_first_not_of("0123456789abcdefABCDEF:.", 1) == i_text.size() - 1;
}

} // namespace

ServiceAddress ParseServiceAddress(const std::string& i_text)
{
    ServiceAddress address;
    address.text = i_text;
    const std::string_view text = i_text;
    if (text.starts_with(Unix)) {
        const auto path = text.substr(Unix.size());
        if (!path.starts_with('/') || path.starts_with("//") || path.find('\0') != std::string_view::npos)
            Refuse(i_text, "names no absolute path");
        if (path.size() > MaxSocketPath)
            Refuse(i_text,
                   "is longer than the " + std::to_string(MaxSocketPath) + " bytes that a socket's path may have");
        address.isLocal = true;
        address.target = i_text;
        return address;
    }
    if (!text.starts_with(Tls))
        Refuse(i_text, "is none of a machine service");
    const auto place = text.substr(Tls.size());
    const auto colon = place.rfind(':');
    if (colon == std::string_view::npos || !IsPort(place.substr(colon + 1)))
        Refuse(i_text, "has no port from 1 to 65535");
    const auto host = place.substr(0, colon);
    if (!IsHost(host) && !IsAddressOfVersion6(host))
        Refuse(i_text, "names no host");
    address.host = host.front() == '[' ? host.substr(1, host.size() - 2) : host;
    address.target = "dns:///" + std::string(place);
    return address;
}

} // namespace MachineService::Remote
