#pragma once

#include "tavam/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// An edge where the surface of a mesh ends, or where two triangles disagree which side is outside.
struct MeshEdge
{
    TavAM::Point3f from;
    TavAM::Point3f to;
};

/// What keeps a mesh from being the surface of a body. Lengths in mm, as the mesh has them.
struct MeshFindings
{
    std::size_t holes = 0;        ///< groups of open edges that touch one another
    std::size_t openEdges = 0;    ///< edges with a triangle on one side only
    std::size_t turnedEdges = 0;  ///< edges whose triangles face opposite ways
    MeshEdge firstEdge;           ///< the lowest of them; the same whatever the order of the triangles is
    std::size_t turnedBodies = 0; ///< closed surfaces whose inside is out, hollows aside
    double volume = 0;            ///< mm³, of a closed mesh, once every body is turned right
    double area = 0;              ///< mm²
    bool hasDoubles = false;      ///< it is closed only where equal vertices are taken for one

    /// Every edge is passed once each way: sections at any height are closed outlines.
    bool IsClosed() const { return openEdges == 0 && turnedEdges == 0; }
    /// A closed surface round less than this thickness has no inside worth a section.
    bool IsFlat() const { return volume <= area / 2 * 0.001; }
    bool IsSound() const { return IsClosed() && !IsFlat() && turnedBodies == 0; }
};

/// Looks at a mesh the way slicing does: equal vertices are one, triangles without an area do not matter, and an edge
/// may belong to any even number of triangles as long as they pass it as often each way, as where two bodies touch.
/// \throws CommunicationException ProcessingAborted when the token asks.
MeshFindings CheckMesh(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop);

/// The mesh with equal vertices made one. The slicing engine tells triangles to be neighbours by the numbers of their
/// vertices, and drops what has no neighbours.
TavAM::Mesh JoinVertices(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop);

/// The mesh with every body that is inside out turned right. \param i_mesh closed.
/// \throws as above.
TavAM::Mesh TurnBodiesRight(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
