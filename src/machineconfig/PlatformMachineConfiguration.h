#pragma once

#include "machinelayer/MachineRecords.h"

#include <optional>
#include <string>

namespace MachineService {

/// How surfaces are supported.
struct SupportProfilesConfiguration
{
    /// By name of the surface type, which is not empty.
    MachineLayer::Data::SupportProfiles surfaceTypes;
    std::optional<MachineLayer::Data::SupportProfileSet> inUse;
    bool operator==(const SupportProfilesConfiguration&) const = default;
};

/// What platforms for one machine are prepared with, as it leaves the host.
///
/// Each optional member is a section with a schema of its own; docs/machine-configuration.md describes them.
/// Units: mm, degrees; MachineRecords.h says which. An absent value means that the machine has none, never zero.
struct PlatformMachineConfiguration
{
    std::wstring machineName;
    std::wstring manufacturer;
    std::wstring modelId;
    std::optional<SupportProfilesConfiguration> supportProfiles;
    std::optional<MachineLayer::Data::Nesting> nesting;
    std::optional<MachineLayer::Data::Baseplate> baseplate;
    std::optional<MachineLayer::Data::ZBrace> zBrace;
    std::optional<MachineLayer::Data::ZCompensation> zCompensation;
    std::optional<MachineLayer::Data::PartExport> partExport;
    bool operator==(const PlatformMachineConfiguration&) const = default;
};

} // namespace MachineService
