#pragma once

#include <cstddef>
#include <cstdint>

/// What a mesh file may ask of its reader. Each bound is checked before room is made for what it counts.
namespace VexlorCore::MeshBounds {

inline constexpr std::uint64_t FileSize = std::uint64_t{1} << 30U; ///< bytes, also of all models of a package together
inline constexpr std::size_t Triangles = 25'000'000;
inline constexpr std::size_t Vertices = 75'000'000; ///< before equal ones are joined: three for each triangle
inline constexpr std::size_t Parts = 10'000;
inline constexpr std::size_t Bodies = 100'000;   ///< meshes that the build items of a package unfold to
inline constexpr std::size_t NameLength = 1'000; ///< bytes of a part's name

} // namespace VexlorCore::MeshBounds
