#pragma once

#include <cstdint>

namespace MachineService::MachineManager {

/// How many bytes came over a TCP connection, read or not; 0 when that is not known. In a unit of its own, because the
/// kernel's header that tells it and the C library's cannot be included together.
///
/// Thread: any.
std::uint64_t CountReceivedBytes(int i_socket);

} // namespace MachineService::MachineManager
