#pragma once

#include <string>

namespace MachineService::Remote {

/// Where a service is: "unix:PATH" or "tls://HOST:PORT".
struct ServiceAddress
{
    bool isLocal = false; ///< a socket on this host
    std::string text;     ///< as it was given
    std::string target;   ///< as the transport takes it
    std::string host;     ///< of tls
};

/// \throws CommunicationException InternalError with a sentence that says what an address looks like.
ServiceAddress ParseServiceAddress(const std::string& i_text);

} // namespace MachineService::Remote
