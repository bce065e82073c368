#pragma once

#include <cstdint>
#include <string>

namespace MachineService {

/// Which machine service serves a machine.
enum class ServiceId : std::int32_t
{
    None = 0,
    BuildProcessors = 1, ///< machines and queues of the Build Processor Manager
    MachineManager = 2,  ///< takes jobs for further configuration and processing
};

/// State of a machine service as it last reported it.
enum class ServiceStatus : std::int32_t
{
    Stopped = 0,
    Starting = 1,
    Running = 2,
    AuthenticationRequired = 3,
    Failed = 4,
};

/// What changed about a machine; flags. Bits that the library does not know are passed on.
enum class MachineChanges : std::int32_t
{
    None = 0,
    ConfigurationChanged = 1, ///< scenes that have the machine attached refresh their configuration time
    StateChanged = 2,         ///< queue or device state; the machine's can-run answers may differ now
    CommandsChanged = 4,      ///< the list of commands differs
    NameChanged = 8,
};

constexpr MachineChanges operator|(MachineChanges i_left, MachineChanges i_right)
{
    return static_cast<MachineChanges>(static_cast<std::int32_t>(i_left) | static_cast<std::int32_t>(i_right));
}

/// True when every bit of i_bits is set in i_changes.
constexpr bool HasChanges(MachineChanges i_changes, MachineChanges i_bits)
{
    return (static_cast<std::int32_t>(i_changes) & static_cast<std::int32_t>(i_bits)) ==
           static_cast<std::int32_t>(i_bits);
}

/// In which form a machine is asked for by service and id.
enum class MachineRepresentation : std::int32_t
{
    Default = 0,
    Machine = 1,  ///< a single device
    Queue = 2,    ///< a queue in front of one device or several
    Group = 3,    ///< several devices that take the same jobs
    Template = 4, ///< a machine type without a device behind it
};

/// Credentials for a service. UTF-8.
struct AuthenticationData
{
    std::string user;
    std::string secret;
};

enum class AuthenticationResult : std::int32_t
{
    Accepted = 0,
    Rejected = 1,
    NotRequired = 2, ///< the service takes no credentials; nothing was changed
    Unavailable = 3, ///< the service could not be asked
};

/// Format of the files that go to a machine and come back from it.
///
/// The formats 1 to 5 are .TavAMX files and tell what of the file is taken into the scene; 6 to 8 are opened beside it.
enum class DataFormat : std::int32_t
{
    None = -1, ///< there is nothing to load
    Undefined = 0,
    Platform = 1,        ///< parts, placement and properties of the whole platform
    Placement = 2,       ///< placements of the parts
    Properties = 3,      ///< properties of platform and parts, such as estimates
    Strategies = 4,      ///< print strategies assigned to the parts
    AdditionalParts = 5, ///< parts that are added to the platform
    Document = 6,        ///< a document for the user, such as a report
    MachineFile = 7,     ///< a file for the machine
    Other = 8,           ///< any other file that the desktop can open
};

} // namespace MachineService
