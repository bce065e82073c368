#include "buildprocessor/verify/MeshCheck.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/verify/MeshEdges.h"
#include "tavam/TriangleTree.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <tuple>

namespace MachineService::BuildProcessor {

namespace {

using TavAM::Point3d;
using TavAM::Point3f;

Point3d ToDouble(const Point3f& i_point)
{
    return {i_point.x, i_point.y, i_point.z};
}

/// The triangles over joined vertices; as they are when the vertices are joined already, as in most files.
struct JoinedMesh
{
    JoinedMesh(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
        : mesh(i_mesh)
        , edges(i_mesh.triangles, i_mesh.vertices.size(), i_stop)
    {
        if (edges.GetOpen().empty())
            return;
        const auto firsts = FindEqualVertices(i_mesh.vertices, i_stop);
        MeshEdges::Triangles joined = i_mesh.triangles;
        for (auto& triangle : joined) {
            for (auto& vertex : triangle)
                vertex = firsts[vertex];
        }
        edges = MeshEdges(joined, i_mesh.vertices.size(), i_stop);
        hasDoubles = true;
    }

    const TavAM::Mesh& mesh;
    MeshEdges edges;
    bool hasDoubles = false;
};

struct Body
{
    /// Rounding apart.
    bool FacesInwards(bool i_turned) const { return (i_turned ? -volume : volume) < -1e-6 * area; }

    double volume = 0; ///< below zero when it faces inwards
    double area = 0;
    std::uint32_t largest = 0; ///< its triangle with the largest area
    double largestArea = -1;
};

std::vector<Body> MeasureBodies(const JoinedMesh& i_joined)
{
    const TavAM::Mesh& mesh = i_joined.mesh;
    std::vector<Body> bodies(i_joined.edges.GetBodyCount());
    if (mesh.triangles.empty())
        return bodies;
    // Near the mesh, so that places far from the origin do not swallow the volume.
    const Point3d origin = ToDouble(mesh.vertices[mesh.triangles.front()[0]]);
    for (std::uint32_t index = 0; index < mesh.triangles.size(); ++index) {
        const auto& triangle = mesh.triangles[index];
        const Point3d a = ToDouble(mesh.vertices[triangle[0]]) - origin;
        const Point3d b = ToDouble(mesh.vertices[triangle[1]]) - origin;
        const Point3d c = ToDouble(mesh.vertices[triangle[2]]) - origin;
        const Point3d normal = Cross(b - a, c - a);
        const double area = std::sqrt(Dot(normal, normal)) / 2;
        Body& body = bodies[i_joined.edges.GetBodies()[index]];
        body.volume += Dot(a, Cross(b, c)) / 6;
        body.area += area;
        if (area > body.largestArea) {
            body.largestArea = area;
            body.largest = index;
        }
    }
    return bodies;
}

PartGeometry ToGeometry(const TavAM::Mesh& i_mesh)
{
    PartGeometry part;
    for (const Point3f& point : i_mesh.vertices)
        part.vertices.push_back(ToDouble(point));
    part.triangles = i_mesh.triangles;
    return part;
}

/// Which bodies face the wrong way. A hollow faces inwards by right: the surfaces round it and its own cancel out in
/// it.
std::vector<bool> FindTurned(const JoinedMesh& i_joined, const std::vector<Body>& i_bodies,
                             const std::stop_token& i_stop)
{
    double sum = 0;
    for (const Body& body : i_bodies)
        sum += body.volume;
    // Where most is inside out, all of it was exported so, hollows included.
    const bool allTurned = sum < 0;
    std::vector<bool> turned(i_bodies.size(), allTurned);
    if (std::none_of(i_bodies.begin(), i_bodies.end(),
                     [&](const Body& i_body) { return i_body.FacesInwards(allTurned); }))
        return turned;

    PartGeometry part = ToGeometry(i_joined.mesh);
    if (allTurned) {
        for (auto& triangle : part.triangles)
            std::swap(triangle[1], triangle[2]);
    }
    const TavAM::TriangleTree tree(part.vertices, part.triangles, 0);
    for (std::uint32_t index = 0; index < i_bodies.size(); ++index) {
        ThrowIfStopped(i_stop);
        const Body& body = i_bodies[index];
        if (!body.FacesInwards(allTurned))
            continue;
        const auto& [a, b, c] = part.triangles[body.largest];
        const Point3d normal = Cross(part.vertices[b] - part.vertices[a], part.vertices[c] - part.vertices[a]);
        const double step = 0.001 * std::sqrt(body.largestArea) / std::sqrt(Dot(normal, normal));
        const Point3d middle = (part.vertices[a] + part.vertices[b] + part.vertices[c]) * (1.0 / 3);
        if (tree.GetWinding(middle + normal * step) < 0)
            turned[index] = !turned[index];
    }
    return turned;
}

void CountHoles(const JoinedMesh& i_joined, MeshFindings& io_findings)
{
    std::map<std::uint32_t, std::uint32_t> numbers;
    std::vector<std::uint32_t> parents;
    const auto number = [&](std::uint32_t i_vertex) {
        const auto [found, isNew] = numbers.try_emplace(i_vertex, static_cast<std::uint32_t>(parents.size()));
        if (isNew)
            parents.push_back(found->second);
        return FindRoot(parents, found->second);
    };
    const auto key = [](const Point3f& i_point) {
        return std::tuple(i_point.z, i_point.y, i_point.x);
    };
    const auto& vertices = i_joined.mesh.vertices;
    bool hasFirst = false;
    for (const OpenEdge& edge : i_joined.edges.GetOpen()) {
        if (edge.count % 2 != 0) {
            ++io_findings.openEdges;
            const std::uint32_t root = number(edge.from);
            parents[root] = number(edge.to);
        } else {
            ++io_findings.turnedEdges;
        }
        MeshEdge ends{vertices[edge.from], vertices[edge.to]};
        if (key(ends.to) < key(ends.from))
            std::swap(ends.from, ends.to);
        if (!hasFirst || std::tuple(key(ends.from), key(ends.to)) <
                             std::tuple(key(io_findings.firstEdge.from), key(io_findings.firstEdge.to)))
            io_findings.firstEdge = ends;
        hasFirst = true;
    }
    for (std::uint32_t index = 0; index < parents.size(); ++index)
        io_findings.holes += parents[index] == index ? 1 : 0;
}

} // namespace

MeshFindings CheckMesh(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    const JoinedMesh joined(i_mesh, i_stop);
    MeshFindings findings;
    findings.hasDoubles = joined.hasDoubles;
    CountHoles(joined, findings);
    const auto bodies = MeasureBodies(joined);
    for (const Body& body : bodies)
        findings.area += body.area;
    if (!findings.IsClosed())
        return findings;
    const auto turned = FindTurned(joined, bodies, i_stop);
    for (std::size_t index = 0; index < bodies.size(); ++index) {
        findings.turnedBodies += turned[index] ? 1 : 0;
        findings.volume += turned[index] ? -bodies[index].volume : bodies[index].volume;
    }
    return findings;
}

TavAM::Mesh JoinVertices(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    const auto firsts = FindEqualVertices(i_mesh.vertices, i_stop);
    TavAM::Mesh joined;
    std::vector<std::uint32_t> numbers(firsts.size());
    for (std::uint32_t index = 0; index < firsts.size(); ++index) {
        if (firsts[index] != index)
            continue;
        numbers[index] = static_cast<std::uint32_t>(joined.vertices.size());
        joined.vertices.push_back(i_mesh.vertices[index]);
    }
    joined.triangles = i_mesh.triangles;
    for (auto& triangle : joined.triangles) {
        for (auto& vertex : triangle)
            vertex = numbers[firsts[vertex]];
    }
    return joined;
}

TavAM::Mesh TurnBodiesRight(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    const JoinedMesh joined(i_mesh, i_stop);
    const auto turned = FindTurned(joined, MeasureBodies(joined), i_stop);
    TavAM::Mesh mesh = i_mesh;
    for (std::size_t index = 0; index < mesh.triangles.size(); ++index) {
        if (turned[joined.edges.GetBodies()[index]])
            std::swap(mesh.triangles[index][1], mesh.triangles[index][2]);
    }
    return mesh;
}

} // namespace MachineService::BuildProcessor
