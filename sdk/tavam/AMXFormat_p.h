#pragma once

#include "tavam/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// What the writer and the reader of .TavAMX files agree on; docs/tavamx-format.md explains it.
namespace TavAM::AMXFormat {

inline constexpr char DocumentEntry[] = "platform.xml";
inline constexpr char Namespace[] = "https://www.vexlor.example/AM/PlatformFile/2026/11";
inline constexpr unsigned Version = 1;

/// Members within members.
inline constexpr unsigned LargestDepth = 32;
/// Of the numbers of a placement, either way: what placements within one another do to a mesh stays a number.
inline constexpr double LargestPlacementNumber = 1e6;
inline constexpr std::size_t LargestShapeCount = 100'000;

/// Counts the shapes of a file. Any number of them may share an entry; what they unfold to must not be more than what a
/// package without shared entries could hold.
class ShapeCounter
{
public:
    /// \param ip_mesh null for a shape that is none.
    /// \throws FileError beyond the bounds.
    void Add(const Mesh* ip_mesh);

private:
    std::size_t _count = 0;
    std::uint64_t _bytes = 0;
};

/// First bytes of a mesh entry; vertices and triangles follow as they lie in memory, little endian.
struct MeshHeader
{
    char magic[4] = {'T', 'A', 'V', 'M'};
    std::uint32_t version = 1;
    std::uint32_t vertexCount = 0;
    std::uint32_t triangleCount = 0;
};
static_assert(sizeof(MeshHeader) == 16);

/// Text as the document carries it. XML has no control characters and no halves of surrogate pairs: these become
/// "\{hexadecimal number}", and a backslash becomes two.
std::string EncodeText(std::wstring_view i_text);
/// Bytes that such a text takes at most as the value of an attribute.
std::size_t CountAttributeBytes(std::string_view i_text);
/// \throws FileError when it is not what EncodeText() makes.
std::wstring DecodeText(std::string_view i_text);

} // namespace TavAM::AMXFormat
