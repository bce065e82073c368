#pragma once

namespace MachineLayer {

/// The host's own notion of what a machine stands for.
enum class MachineRepType
{
    Default = 0,
    Machine = 1,
    Queue = 2,
    Group = 3,
    Template = 4,
};

} // namespace MachineLayer
