#include "ProcessStatus.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace Bench {

namespace {

std::size_t ReadStatus(const std::string& i_field)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(i_field))
            return std::stoul(line.substr(i_field.size()));
    }
    throw std::runtime_error("the system does not tell " + i_field);
}

} // namespace

std::size_t CountThreads()
{
    return ReadStatus("Threads:");
}

std::size_t ResetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << 5;
    return GetPeakMemory();
}

std::size_t GetPeakMemory()
{
    return ReadStatus("VmHWM:") * 1024;
}

} // namespace Bench
