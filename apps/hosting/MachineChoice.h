#pragma once

#include "client/interface/Machine.h"
#include "tavam/Part.h"

#include <QString>

#include <optional>
#include <vector>

namespace Hosting {

/// For example "180 × 180 × 180 mm".
QString DescribeVolume(const MachineService::MachineData& i_data);

/// The machine of this name or id; without one, the first that the parts fit into, or the very first: it will name the
/// parts that do not fit. Empty when no machine is called so, or there is none.
///
/// \param i_posts_job the machine is one of a Machine Manager, by the name of the machine that it stands for as well;
///        otherwise such a machine is taken only when it is called by its own.
std::optional<MachineService::Machine> ChooseMachine(const std::vector<MachineService::Machine>& i_machines,
                                                     const QString& i_wanted, const std::vector<TavAM::Part>& i_parts,
                                                     bool i_posts_job = false);

} // namespace Hosting
