#pragma once

#include <cstddef>

namespace Bench {

/// Threads of this process at this moment.
std::size_t CountThreads();

/// Most bytes of memory in use since the last reset, which gives those in use now.
std::size_t GetPeakMemory();
std::size_t ResetPeakMemory();

} // namespace Bench
