#include "vexlorcore/meshimport/MeshTransfer.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace VexlorCore {

namespace {

template <class Container>
void Append(const Container& i_values, std::string& io_bytes)
{
    using Value = typename Container::value_type;
    static_assert(std::is_trivially_copyable_v<Value>);
    const std::uint64_t count = i_values.size();
    io_bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
    io_bytes.append(reinterpret_cast<const char*>(i_values.data()), count * sizeof(Value));
}

class Unpacker
{
public:
    explicit Unpacker(const std::string& i_bytes)
        : _bytes(i_bytes)
    {}

    bool IsAtEnd() const { return _position == _bytes.size(); }

    template <class Container>
    void Take(Container& o_values)
    {
        std::uint64_t count = 0;
        _Copy(&count, sizeof count);
        if (count > (_bytes.size() - _position) / sizeof(typename Container::value_type))
            _Fail();
        o_values.resize(count);
        _Copy(o_values.data(), count * sizeof(typename Container::value_type));
    }

private:
    [[noreturn]] static void _Fail()
    {
        throw std::runtime_error("it is damaged in a way that the process that read it did not survive unharmed");
    }

    void _Copy(void* op_to, std::size_t i_size)
    {
        if (i_size > _bytes.size() - _position)
            _Fail();
        if (i_size > 0)
            std::memcpy(op_to, _bytes.data() + _position, i_size);
        _position += i_size;
    }

    const std::string& _bytes;
    std::size_t _position = 0;
};

} // namespace

std::string PackParts(const std::vector<ReadPart>& i_parts)
{
    std::string bytes;
    for (const auto& part : i_parts) {
        Append(part.name, bytes);
        Append(part.mesh.vertices, bytes);
        Append(part.mesh.triangles, bytes);
    }
    return bytes;
}

std::vector<ReadPart> UnpackParts(const std::string& i_bytes)
{
    std::vector<ReadPart> parts;
    for (Unpacker unpacker(i_bytes); !unpacker.IsAtEnd();) {
        auto& part = parts.emplace_back();
        unpacker.Take(part.name);
        unpacker.Take(part.mesh.vertices);
        unpacker.Take(part.mesh.triangles);
        if (const auto defect = TavAM::FindMeshDefect(part.mesh); !defect.empty())
            throw std::runtime_error(defect);
    }
    return parts;
}

} // namespace VexlorCore
