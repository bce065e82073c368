#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace MachineService::Wire {

/// SHA-256 of what was added so far; can be asked after every piece.
class RunningHash
{
public:
    RunningHash();
    ~RunningHash();
    RunningHash(const RunningHash& i_other);
    RunningHash& operator=(const RunningHash& i_other);

    void Add(std::string_view i_bytes);
    /// 32 bytes.
    std::string Get() const;

private:
    struct Impl;
    std::unique_ptr<Impl> _impl;
};

/// SHA-256, 32 bytes.
std::string HashOf(std::string_view i_bytes);

} // namespace MachineService::Wire
