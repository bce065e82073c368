#pragma once

#include "machinelayer/MachineRecords.h"
#include "machinelayer/Node.h"

namespace MachineLayer {

/// All that the machine has, as PLDF has it.
/// \param i_is_xml refuse the texts that a reader of XML would.
/// \throws FieldError with place and reason for what PLDF cannot hold.
Node MachineToNode(const Data::Machine& i_machine, bool i_is_xml);
/// Shape, geometry and scan fields only.
Node PlatformToNode(const Data::Machine& i_machine);
/// \param i_node made by a NodeBuilder.
Data::Machine NodeToMachine(const Node& i_node);

/// All of the configuration, as a document with sections has it.
/// \throws FieldError with place and reason for what no document can hold.
Node ConfigurationToNode(const Data::MachineConfiguration& i_configuration);
/// \param i_node made by a NodeBuilder.
Data::MachineConfiguration NodeToConfiguration(const Node& i_node);

} // namespace MachineLayer
