#pragma once

#include <utility>

#include <unistd.h>

namespace MachineService::MachineManager {

/// An open file or folder, closed with the object.
///
/// Thread: one at a time.
class FileDescriptor
{
public:
    explicit FileDescriptor(int i_file)
        : _file(i_file)
    {}
    ~FileDescriptor()
    {
        if (_file >= 0)
            ::close(_file);
    }
    FileDescriptor(FileDescriptor&& io_other) noexcept
        : _file(std::exchange(io_other._file, -1))
    {}
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool IsOpen() const { return _file >= 0; }
    int Get() const { return _file; }
    int Release() { return std::exchange(_file, -1); }

private:
    int _file;
};

} // namespace MachineService::MachineManager
