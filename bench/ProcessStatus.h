#pragma once

#include <cstddef>

namespace Bench {

/// Threads of this process at this moment.
std::size_t CountThreads();

} // namespace Bench
