#pragma once

#include <filesystem>

namespace MachineService {

/// The folder of the library, or program, that this is linked into; empty when it cannot be told.
std::filesystem::path GetOwnFolder();

} // namespace MachineService
