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

/// Tells the host's statistics that a command was used, and on which machine.
void SendTraces(const TraceLabels& i_labels, const MachineData& i_data);

} // namespace Helpers
} // namespace MachineService
