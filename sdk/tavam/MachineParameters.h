#pragma once

#include "tavam/PersistentProperties.h"

#include <string>

namespace TavAM {

/// The machine that a platform was made for, as the platform file carries it.
struct MachineParameters
{
    std::wstring name;
    std::wstring manufacturer;
    std::wstring modelId;
    /// Everything else by name, for example "platform.width". Units are told where the names are documented.
    PersistentProperties values;

    bool operator==(const MachineParameters&) const = default;
};

} // namespace TavAM
