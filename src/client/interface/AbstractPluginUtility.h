#pragma once

#include "client/interface/ServiceTypes.h"

#include <cstdint>
#include <filesystem>
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
    /// Called before the status is raised as news, on the same thread, for services of endpoints.
    /// \param i_reason a sentence for the user when the service cannot be used; otherwise empty. UTF-8.
    virtual void HandleStatus(ServiceStatus /*i_status*/, const std::string& /*i_reason*/) {}
};

} // namespace MachineService
