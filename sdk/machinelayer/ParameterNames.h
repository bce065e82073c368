#pragma once

#include "machinelayer/Node.h"
#include "tavam/PersistentProperties.h"

#include <map>
#include <string>

namespace MachineLayer {

/// Adds each field of a machine as a property named by its path: elements with a small first letter, joined by points,
/// repeatable ones followed by their number from 1 on ("scanField.2.minX"). Settings, and what machine parameters have
/// members for, are left out.
void FlattenMachine(const Node& i_root, TavAM::PersistentProperties& io_values);
/// The reverse. Properties that are no such field go to o_rest.
/// \throws FieldError that begins with the property's name, for a value that it cannot have and for a number that skips
/// others.
Node GrowMachine(const TavAM::PersistentProperties& i_values, std::map<std::wstring, std::wstring>& o_rest);

} // namespace MachineLayer
