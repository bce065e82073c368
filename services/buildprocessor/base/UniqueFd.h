#pragma once

#include <unistd.h>

#include <utility>

namespace MachineService::BuildProcessor {

/// Owns a file descriptor.
class UniqueFd
{
public:
    UniqueFd() = default;
    explicit UniqueFd(int i_fd)
        : _fd(i_fd)
    {}
    UniqueFd(UniqueFd&& io_other) noexcept
        : _fd(std::exchange(io_other._fd, -1))
    {}
    UniqueFd& operator=(UniqueFd&& io_other) noexcept
    {
        Reset(std::exchange(io_other._fd, -1));
        return *this;
    }
    ~UniqueFd() { Reset(); }

    int Get() const { return _fd; }
    explicit operator bool() const { return _fd >= 0; }
    void Reset(int i_fd = -1)
    {
        if (_fd >= 0)
            close(_fd);
        _fd = i_fd;
    }

private:
    int _fd = -1;
};

} // namespace MachineService::BuildProcessor
