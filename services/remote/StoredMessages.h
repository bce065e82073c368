#pragma once

#include "remote/IconStore.h"
#include "remote/MachineStore.h"

#include <machineservice/v1/types.pb.h>

#include <memory>
#include <set>
#include <string>

namespace MachineService::Remote {

/// \throws CommunicationException that names what is wrong with it.
std::shared_ptr<StoredMachine> ToStored(const machineservice::v1::Machine& i_machine);
machineservice::v1::Machine ToMessage(const StoredMachine& i_machine);

/// The icons and pictures that a machine needs, in any of its forms.
void CollectHashes(const StoredMachine& i_machine, std::set<std::string>& io_hashes);
/// Puts the pictures that are known into the machine's data.
void FillPictures(StoredMachine& io_machine, const IconStore& i_icons);

} // namespace MachineService::Remote
