#pragma once

#include "client/interface/ServiceTypes.h"

#include <boost/uuid/uuid.hpp>

#include <utility>
#include <vector>

namespace MachineService {

/// What happened to a service's machines between two states, in the order in which it is told.
struct MachineNews
{
    std::vector<boost::uuids::uuid> removed;
    std::vector<std::pair<boost::uuids::uuid, MachineChanges>> updated;
    std::vector<boost::uuids::uuid> added;
};

} // namespace MachineService
