#pragma once

namespace MachineService {

struct MachineData;

namespace Helpers {

/// Labels of one kind of command in the host's statistics.
struct TraceLabels
{
    const char* usage;
    const char* machine;
};

inline constexpr TraceLabels BuildTrace = {"Build", "Build"};
inline constexpr TraceLabels AutomaticPlacementTrace = {"Automatic placement", "Autoplacement"};
inline constexpr TraceLabels ConfigurePartsTrace = {"Configure parts", "Configure parts"};
inline constexpr TraceLabels ConfigurePlatformTrace = {"Configure platform", "ConfigurePlatform"};
inline constexpr TraceLabels AdditionalCommandTrace = {"Additional command", "Additional commands"};

/// Tells the host's statistics that a command was used, and on which machine.
void SendTraces(const TraceLabels& i_labels, const MachineData& i_data);

} // namespace Helpers
} // namespace MachineService
