#pragma once

#include "tavam/Geometry.h"

#include <array>
#include <cstdint>
#include <stop_token>
#include <vector>

namespace MachineService::BuildProcessor {

/// An undirected edge whose triangles do not pass it as often each way.
struct OpenEdge
{
    std::uint32_t from = 0; ///< below to
    std::uint32_t to = 0;
    std::int32_t net = 0; ///< passes from `from` to `to` less passes back
    std::uint32_t count = 0;
};

/// The edges of a mesh, found bucket by bucket of their lower vertex: in proportion to the triangles.
class MeshEdges
{
public:
    using Triangles = std::vector<std::array<std::uint32_t, 3>>;

    /// Triangles that have a vertex twice are left out.
    /// \throws CommunicationException ProcessingAborted.
    MeshEdges(const Triangles& i_triangles, std::size_t i_vertex_count, const std::stop_token& i_stop);

    const std::vector<OpenEdge>& GetOpen() const { return _open; }
    /// For each triangle the number of its body, from 0: what hangs together by edges of exactly two triangles.
    const std::vector<std::uint32_t>& GetBodies() const { return _bodies; }
    std::uint32_t GetBodyCount() const { return _bodyCount; }

private:
    std::vector<OpenEdge> _open;
    std::vector<std::uint32_t> _bodies;
    std::uint32_t _bodyCount = 0;
};

/// The number of the first vertex with the same place, for each vertex.
std::vector<std::uint32_t> FindEqualVertices(const std::vector<TavAM::Point3f>& i_vertices,
                                             const std::stop_token& i_stop);

/// Follows parents to the root, halving the way; the tree of groups that union-find keeps.
std::uint32_t FindRoot(std::vector<std::uint32_t>& io_parents, std::uint32_t i_item);

} // namespace MachineService::BuildProcessor
