#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace VexlorCore {

enum class MeshFormat
{
    Stl,
    ThreeMf,
    Obj,
    Ply,
};

/// What a mesh file may ask of its reader.
namespace MeshBounds {
inline constexpr std::uintmax_t FileSize = std::uintmax_t{1} << 30U; ///< bytes, also of a package's model
inline constexpr std::size_t Triangles = 25'000'000;
inline constexpr std::size_t Vertices = 75'000'000; ///< before equal ones are joined: three for each triangle
inline constexpr std::size_t Parts = 10'000;
} // namespace MeshBounds

/// What a mesh file says of itself, found without building meshes.
struct MeshFileFacts
{
    MeshFormat format = MeshFormat::Stl;
    double millimetresPerUnit = 1;
    /// Counts that the file announces; an importer that finds fewer was given a damaged file.
    std::optional<std::size_t> vertices;
    std::optional<std::size_t> faces;
    /// Of a 3MF: names by object id, where objects have one. UTF-8.
    std::map<std::string, std::string> objectNames;
};

/// Tells the format by content, else by extension, and refuses files that are cut off or announce too much.
/// \param i_extension lower case with its dot. \throws std::runtime_error with the reason, without the file's name.
MeshFileFacts CheckMeshFile(std::string_view i_bytes, const std::string& i_extension);

} // namespace VexlorCore
