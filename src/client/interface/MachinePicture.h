#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace MachineService {

/// An encoded picture of a machine, shared by its copies. Its bounds are those of CommandDescription::icon: whoever
/// decodes it bounds it first.
class MachinePicture
{
public:
    MachinePicture() = default;
    explicit MachinePicture(std::vector<std::uint8_t> i_bytes)
        : _bytes(std::make_shared<const std::vector<std::uint8_t>>(std::move(i_bytes)))
    {}

    bool IsEmpty() const { return !_bytes || _bytes->empty(); }
    const std::vector<std::uint8_t>& GetBytes() const
    {
        static const std::vector<std::uint8_t> none;
        return _bytes ? *_bytes : none;
    }
    bool operator==(const MachinePicture& i_other) const
    {
        return _bytes == i_other._bytes || GetBytes() == i_other.GetBytes();
    }

private:
    std::shared_ptr<const std::vector<std::uint8_t>> _bytes;
};

} // namespace MachineService
