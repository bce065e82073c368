#pragma once

#include "machinelayer/FieldDescription.h"

#include <string>
#include <vector>

namespace MachineLayer {

/// A field or a record between the machine's data and what they are written to or read from. Texts are UTF-8.
struct Node
{
    const Field* field = nullptr; ///< what it is, in one of the descriptions
    std::string text;             ///< of a field
    std::vector<Node> children;   ///< of a record
};

} // namespace MachineLayer
