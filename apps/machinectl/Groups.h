#pragma once

#include "hosting/jobs/JobsTypes.h"
#include "machinectl/CommandLine.h"
#include "machinectl/Table.h"

#include <string>
#include <vector>

namespace MachineCtl {

// A group is all machines of one model: a job for it goes to the first that takes it and has the material loaded.

/// What --group and --material ask for.
/// \param i_machines all of the manager. The group is called by its model, or by how the names of its machines begin.
/// \throws JobsError NotFound when no machine, or those of several models, are called so.
Hosting::Jobs::Target FindGroup(const CommandLine& i_line, const std::vector<Hosting::Jobs::Machine>& i_machines);

/// The machines of a group.
std::vector<Hosting::Jobs::Machine> SelectGroup(const Hosting::Jobs::Target& i_group,
                                                const std::vector<Hosting::Jobs::Machine>& i_machines);
/// Why a machine of the group would not take a job for it now, as a sentence; empty: it would.
QString FindHindrance(const Hosting::Jobs::Target& i_group, const Hosting::Jobs::Machine& i_machine);
/// Its machines, with what keeps each from a job.
Table MakeGroupTable(const Hosting::Jobs::Target& i_group, const std::vector<Hosting::Jobs::Machine>& i_machines);

/// A machine, or a group with its material, that the command line names in one way alone.
/// \throws UsageError unless it does.
void CheckOneTarget(const CommandLine& i_line, bool i_has_machine);

} // namespace MachineCtl
