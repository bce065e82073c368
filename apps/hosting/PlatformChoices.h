#pragma once

#include <QString>

#include <utility>
#include <vector>

namespace MachineService {
class IPlatformCreator;
}

namespace Hosting {

/// Values by id of the choice.
using ChosenValues = std::vector<std::pair<QString, QString>>;

/// What a machine is sent for a platform: the user's values, of other choices the first default; choices with neither
/// are left out. In the machine's order.
/// \throws HostingError for an id or a value that the machine does not offer, and for a required choice without value.
ChosenValues CompleteChoices(const MachineService::IPlatformCreator& i_creator, const ChosenValues& i_chosen);

} // namespace Hosting
