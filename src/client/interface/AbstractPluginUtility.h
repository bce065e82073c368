#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace MachineService {

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
};

} // namespace MachineService
