#pragma once

#include "client/interface/ServiceTypes.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace MachineService {

/// A machine service in another process or on another host.
struct ServiceEndpoint
{
    /// "unix:PATH" or "tls://HOST:PORT", UTF-8.
    std::string address;
    /// For "tls": PEM file with the certificates of the authorities that may vouch for it; empty: those of the system.
    std::filesystem::path authorityFile;
    /// For "tls": SHA-256 of the one certificate that counts, whatever authority, name and dates it has; 64 hexadecimal
    /// digits, also in pairs with colons between. Empty: one that the user confirmed, or whichever is vouched for.
    std::string pin = {};
};

/// What a service shows of itself for which nobody whom this computer trusts vouches.
struct ServiceCertificate
{
    std::string address;     ///< of the endpoint
    std::string fingerprint; ///< SHA-256 of the certificate, as people compare it: "12:AB:…"
};

/// The first endpoint is the service of this number, each further one of the next.
inline constexpr std::int32_t FirstEndpointService = 1000;

/// Tells one machine service where its folders and settings are; the host makes one per service.
///
/// Thread: called while the catalog is made and from the service's threads.
class AbstractPluginUtility
{
public:
    virtual ~AbstractPluginUtility() = default;

    /// Folder of the service's own configuration, for example machine profiles. Need not exist.
    virtual std::filesystem::path GetConfigurationDir() const = 0;
    /// Folder in which the service keeps what it makes, for example a folder per machine with its jobs. Made on demand.
    virtual std::filesystem::path GetDataDir() const = 0;
    /// A setting of the service by name, UTF-8; empty when the host has none.
    virtual std::optional<std::string> GetSetting(const std::string& i_name) const = 0;

    // From here on what hosts may leave out.

    /// The services in other processes and on other hosts that this host wants to have. Asked of the utility of
    /// ServiceId::None, which is for no service alone; without any, nothing of what they need is loaded.
    virtual std::vector<ServiceEndpoint> GetServiceEndpoints() const { return {}; }
    /// A file that names further ones (docs/embed.md), which come behind those; empty: there is none. Asked of the
    /// same.
    virtual std::filesystem::path GetServiceListFile() const { return {}; }
    /// Folder for what can be had again, such as the machines of a service that is out of reach. Made on demand; empty:
    /// nothing is kept.
    virtual std::filesystem::path GetCacheDir() const { return {}; }
    /// Which endpoint the service of this number is, for services of endpoints: told before anything is asked of their
    /// utility.
    virtual void HandleEndpoint(const ServiceEndpoint& /*i_endpoint*/) {}
    /// Called before the status is raised as news, on the same thread, for services of endpoints.
    /// \param i_reason a sentence for the user when the service cannot be used; otherwise empty. UTF-8.
    virtual void HandleStatus(ServiceStatus /*i_status*/, const std::string& /*i_reason*/) {}
    /// File in which the library keeps which certificates users confirmed, of all services. Made on demand; empty: they
    /// count until the program ends.
    virtual std::filesystem::path GetPinFile() const { return {}; }
    /// Asks the user whether a service that shows this certificate is the one that is meant, once for each certificate.
    ///
    /// Thread: one of the service's, which does not wait. The answer may be given from any thread, at any time, also
    /// after the service has gone, and by copies; with yes the certificate is pinned and connected to. Never: no.
    virtual void ConfirmCertificate(const ServiceCertificate& /*i_certificate*/, std::function<void(bool)> /*i_answer*/)
    {}
};

} // namespace MachineService
