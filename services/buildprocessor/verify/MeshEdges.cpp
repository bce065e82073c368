#include "buildprocessor/verify/MeshEdges.h"

#include "buildprocessor/base/Cancellation.h"

#include <algorithm>
#include <bit>

namespace MachineService::BuildProcessor {

namespace {

/// One pass of a triangle over an edge.
struct Pass
{
    std::uint32_t to = 0;
    std::uint32_t triangleAndSide = 0; ///< twice the triangle, odd when the pass goes downwards
};

bool IsDegenerate(const std::array<std::uint32_t, 3>& i_triangle)
{
    return i_triangle[0] == i_triangle[1] || i_triangle[1] == i_triangle[2] || i_triangle[2] == i_triangle[0];
}

template <class Visit>
void ForEachPass(const MeshEdges::Triangles& i_triangles, const std::stop_token& i_stop, const Visit& i_visit)
{
    for (std::size_t index = 0; index < i_triangles.size(); ++index) {
        if (index % 65536 == 0)
            ThrowIfStopped(i_stop);
        const auto& triangle = i_triangles[index];
        if (IsDegenerate(triangle))
            continue;
        for (std::size_t side = 0; side < 3; ++side) {
            const std::uint32_t from = triangle[side];
            const std::uint32_t to = triangle[(side + 1) % 3];
            i_visit(std::min(from, to), Pass{std::max(from, to), static_cast<std::uint32_t>(2 * index) | (from > to)});
        }
    }
}

std::size_t Hash(const TavAM::Point3f& i_point)
{
    // Adding zero makes one of the two zeros.
    std::uint64_t hash = std::bit_cast<std::uint32_t>(i_point.x + 0.0F);
    for (const float value : {i_point.y, i_point.z})
        hash = (hash ^ std::bit_cast<std::uint32_t>(value + 0.0F)) * 0x9E3779B97F4A7C15U + (hash >> 29U);
    return hash ^ (hash >> 32U);
}

} // namespace

std::uint32_t FindRoot(std::vector<std::uint32_t>& io_parents, std::uint32_t i_item)
{
    while (io_parents[i_item] != i_item) {
        io_parents[i_item] = io_parents[io_parents[i_item]];
        i_item = io_parents[i_item];
    }
    return i_item;
}

std::vector<std::uint32_t> FindEqualVertices(const std::vector<TavAM::Point3f>& i_vertices,
                                             const std::stop_token& i_stop)
{
    constexpr auto none = static_cast<std::uint32_t>(-1);
    std::vector<std::uint32_t> slots(std::bit_ceil(i_vertices.size() * 2 + 1), none);
    std::vector<std::uint32_t> firsts(i_vertices.size());
    for (std::uint32_t index = 0; index < i_vertices.size(); ++index) {
        if (index % 65536 == 0)
            ThrowIfStopped(i_stop);
        std::size_t slot = Hash(i_vertices[index]) & (slots.size() - 1);
        while (slots[slot] != none && !(i_vertices[slots[slot]] == i_vertices[index]))
            slot = (slot + 1) & (slots.size() - 1);
        if (slots[slot] == none)
            slots[slot] = index;
        firsts[index] = slots[slot];
    }
    return firsts;
}

MeshEdges::MeshEdges(const Triangles& i_triangles, std::size_t i_vertex_count, const std::stop_token& i_stop)
{
    std::vector<std::uint32_t> begins(i_vertex_count + 1);
    ForEachPass(i_triangles, i_stop, [&](std::uint32_t i_from, const Pass&) { ++begins[i_from + 1]; });
    for (std::size_t vertex = 0; vertex < i_vertex_count; ++vertex)
        begins[vertex + 1] += begins[vertex];
    std::vector<Pass> passes(begins.back());
    std::vector<std::uint32_t> ends(begins.begin(), begins.end() - 1);
    ForEachPass(i_triangles, i_stop,
                [&](std::uint32_t i_from, const Pass& i_pass) { passes[ends[i_from]++] = i_pass; });

    std::vector<std::uint32_t> parents(i_triangles.size());
    for (std::uint32_t triangle = 0; triangle < parents.size(); ++triangle)
        parents[triangle] = triangle;
    for (std::uint32_t vertex = 0; vertex < i_vertex_count; ++vertex) {
        if (vertex % 65536 == 0)
            ThrowIfStopped(i_stop);
        const auto begin = passes.begin() + begins[vertex];
        const auto end = passes.begin() + begins[vertex + 1];
        std::sort(begin, end, [](const Pass& i_a, const Pass& i_b) {
            return i_a.to != i_b.to ? i_a.to < i_b.to : i_a.triangleAndSide < i_b.triangleAndSide;
        });
        for (auto first = begin; first != end;) {
            OpenEdge edge{vertex, first->to, 0, 0};
            auto pass = first;
            for (; pass != end && pass->to == edge.to; ++pass, ++edge.count)
                edge.net += (pass->triangleAndSide & 1U) != 0 ? -1 : 1;
            if (edge.net != 0)
                _open.push_back(edge);
            else if (edge.count == 2)
                parents[FindRoot(parents, first->triangleAndSide / 2)] =
                    FindRoot(parents, (first + 1)->triangleAndSide / 2);
            first = pass;
        }
    }
    std::vector<std::uint32_t> numbers(i_triangles.size(), static_cast<std::uint32_t>(-1));
    _bodies.resize(i_triangles.size());
    for (std::uint32_t triangle = 0; triangle < parents.size(); ++triangle) {
        std::uint32_t& number = numbers[FindRoot(parents, triangle)];
        if (number == static_cast<std::uint32_t>(-1))
            number = _bodyCount++;
        _bodies[triangle] = number;
    }
}

} // namespace MachineService::BuildProcessor
