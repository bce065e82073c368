#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// What the data of a Platform item are.
enum class PlatformDataKind : std::int32_t
{
    None = 0,
    Platform = 1,             ///< bytes of a .TavAMX file
    MachineConfiguration = 2, ///< a PLDF file in Base64
    Geometry = 3,             ///< description of the platform's geometry
    MachineData = 4,          ///< machine data of the machine itself
};

/// One item of platform data.
struct Platform
{
    PlatformDataKind kind = PlatformDataKind::None;
    std::string data; ///< bytes

    bool operator==(const Platform&) const = default;
};

/// What a machine tells about the platforms that it can build on.
struct PlatformInfo
{
    std::int32_t code = 0; ///< 0, or the ErrorCode of a failure
    std::string message;   ///< UTF-8
    std::string xml;       ///< platform information, UTF-8; may be empty
    std::vector<Platform> items;
};

/// One print strategy that a machine knows.
struct ProfileAssignment
{
    std::string id;
    std::string name; ///< UTF-8
    std::string role; ///< what it is assigned for, for example "part" or "support"

    bool operator==(const ProfileAssignment&) const = default;
};

using ProfileAssignments = std::vector<ProfileAssignment>;

} // namespace MachineService
