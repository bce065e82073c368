#pragma once

#include "tavam/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace VexlorCore {

/// Splits faces of four corners and more, convex or not, into triangles.
///
/// \param i_corners of all faces, one after the other; each is an index into i_vertices.
/// \param i_ends where each face ends in i_corners.
/// \param io_triangles gets three corners for each triangle.
/// \throws std::runtime_error when that fails.
void SplitPolygons(const std::vector<TavAM::Point3f>& i_vertices, const std::vector<std::uint32_t>& i_corners,
                   const std::vector<std::size_t>& i_ends, std::vector<std::uint32_t>& io_triangles);

} // namespace VexlorCore
