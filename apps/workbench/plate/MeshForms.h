#pragma once

#include "tavam/Geometry.h"

#include <array>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <vector>

namespace Workbench {

/// A corner as the graphics card takes it.
struct MeshVertex
{
    float x, y, z;
    std::uint32_t normal; ///< three signed numbers of 10 bits, GL_INT_2_10_10_10_REV
};
static_assert(sizeof(MeshVertex) == 16);

/// A mesh as it is drawn: corners with normals, smooth where the surface is and sharp at edges, and the triangles in
/// several grades. All grades use the same corners.
struct MeshForms
{
    std::vector<MeshVertex> vertices;
    std::vector<std::uint32_t> indices; ///< of all grades, the full one first

    struct Grade
    {
        std::size_t begin = 0; ///< in indices
        std::size_t count = 0; ///< indices, three for each triangle
    };
    std::vector<Grade> grades; ///< the full form, then ever coarser ones; at least one
};

/// A mesh, and its forms to be sent to the graphics card.
struct MeshSource
{
    std::shared_ptr<const TavAM::Mesh> mesh;
    std::shared_ptr<const MeshForms> forms; ///< null before they are made, and when they were sent
};

/// The coarsest form by itself, small enough to be kept: for plan views, shadows and frames.
struct CoarseMesh
{
    std::vector<TavAM::Point3f> vertices;
    std::vector<std::array<std::uint32_t, 3>> triangles;
};

/// Two faces that meet at less than this are drawn as one smooth surface.
inline constexpr double CreaseDegrees = 35;

/// Makes all that drawing needs. Takes about a second for a million triangles.
/// Thread: any. \return null when the token asked before it was done.
std::shared_ptr<MeshForms> MakeMeshForms(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop);
CoarseMesh MakeCoarseMesh(const MeshForms& i_forms);

/// The finest grade that keeps within so many triangles; the coarsest when none does.
const MeshForms::Grade& FindGrade(const std::vector<MeshForms::Grade>& i_grades, std::size_t i_triangles);

} // namespace Workbench
