#pragma once

#include "machinelayer/MachineRecords.h"
#include "machinelayer/RecordTree.h"

namespace MachineLayer {

/// Of a document about a machine; its root is to have this name.
Schema MakeMachineSchema(std::string_view i_root);

/// All that the machine has, as children of a nameless node.
Node DescribeMachine(const Data::Machine& i_machine);
/// Shape, geometry and scan fields only.
Node DescribePlatform(const Data::Machine& i_machine);

/// The machine that the node's children describe. Elements and attributes of other names are passed over: later writers
/// of the same version may add some.
/// \throws std::invalid_argument that names element and attribute, for a value that is missing, no number, beyond its
///         range or none of those possible.
Data::Machine ReadMachine(const Node& i_node);

} // namespace MachineLayer
