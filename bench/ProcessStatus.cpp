#include "ProcessStatus.h"

#include <fstream>
#include <string>

namespace Bench {

std::size_t CountThreads()
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("Threads:"))
            return std::stoul(line.substr(8));
    }
    return 0;
}

} // namespace Bench
