#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace VexlorCore {

enum class PlyEncoding
{
    Text,
    LittleEndian,
    BigEndian,
};

enum class PlyType
{
    Int8,
    UInt8,
    Int16,
    UInt16,
    Int32,
    UInt32,
    Float,
    Double,
};

std::size_t GetSize(PlyType i_type);

struct PlyProperty
{
    std::string name;
    PlyType type = PlyType::Float;
    std::optional<PlyType> count; ///< of a list: what its length is written as
};

struct PlyElement
{
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;
};

/// What the header of a PLY file describes.
struct PlyHeader
{
    PlyEncoding encoding = PlyEncoding::Text;
    std::vector<PlyElement> elements;
    std::string_view data;    ///< behind the header
    std::size_t dataLine = 1; ///< that the data begin in

    /// Reads the header and checks that the file has room for every element that it announces.
    /// \throws std::runtime_error with the reason.
    static PlyHeader Read(std::string_view i_bytes);
};

} // namespace VexlorCore
