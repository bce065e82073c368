#include "workbench/plate/MeshForms.h"

#include <meshoptimizer.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <numbers>

namespace Workbench {

namespace {

constexpr std::size_t CoarseGrades[] = {8000, 4000, 2000, 1000, 500, 250}; ///< triangles
constexpr std::uint32_t None = std::numeric_limits<std::uint32_t>::max();

struct Direction
{
    float x = 0;
    float y = 0;
    float z = 0;
};

float Dot(const Direction& i_a, const Direction& i_b)
{
    return i_a.x * i_b.x + i_a.y * i_b.y + i_a.z * i_b.z;
}

/// As long as twice the triangle's area.
Direction GetNormal(const TavAM::Mesh& i_mesh, const std::array<std::uint32_t, 3>& i_triangle)
{
    const TavAM::Point3f& a = i_mesh.vertices[i_triangle[0]];
    const TavAM::Point3f& b = i_mesh.vertices[i_triangle[1]];
    const TavAM::Point3f& c = i_mesh.vertices[i_triangle[2]];
    const Direction u{b.x - a.x, b.y - a.y, b.z - a.z};
    const Direction v{c.x - a.x, c.y - a.y, c.z - a.z};
    return {u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
}

std::uint32_t Pack(const Direction& i_direction)
{
    const float length = std::sqrt(Dot(i_direction, i_direction));
    if (!(length > 0))
        return 0;
    const auto bits = [&](float i_value) {
        return static_cast<std::uint32_t>(std::lround(i_value / length * 511)) & 0x3FFU;
    };
    return bits(i_direction.x) | bits(i_direction.y) << 10 | bits(i_direction.z) << 20;
}

/// The triangles around each vertex: those of vertex v are around[begins[v] .. begins[v + 1]).
struct Neighbours
{
    std::vector<std::uint32_t> begins;
    std::vector<std::uint32_t> around;
};

Neighbours FindNeighbours(const TavAM::Mesh& i_mesh)
{
    Neighbours result;
    result.begins.assign(i_mesh.vertices.size() + 2, 0);
    for (const auto& triangle : i_mesh.triangles) {
        for (const std::uint32_t vertex : triangle)
            ++result.begins[vertex + 2];
    }
    for (std::size_t index = 2; index < result.begins.size(); ++index)
        result.begins[index] += result.begins[index - 1];
    result.around.resize(i_mesh.triangles.size() * 3);
    for (std::size_t index = 0; index < i_mesh.triangles.size(); ++index) {
        for (const std::uint32_t vertex : i_mesh.triangles[index])
            result.around[result.begins[vertex + 1]++] = static_cast<std::uint32_t>(index);
    }
    return result;
}

/// Corners of one vertex that have the same normal become one corner of the drawn form.
class CornerMaker
{
public:
    CornerMaker(const TavAM::Mesh& i_mesh, MeshForms& io_forms)
        : _mesh(i_mesh)
        , _forms(io_forms)
        , _neighbours(FindNeighbours(i_mesh))
    {
        // Room for all grades at once: moved to a larger place they would be there twice.
        std::size_t coarse = 0;
        for (const std::size_t triangles : CoarseGrades)
            coarse += std::min(triangles, i_mesh.triangles.size());
        _forms.indices.reserve((i_mesh.triangles.size() + coarse) * 3);
        _forms.indices.resize(i_mesh.triangles.size() * 3);
        _forms.vertices.reserve(i_mesh.vertices.size());
    }

    bool Run(const std::stop_token& i_stop)
    {
        for (std::uint32_t vertex = 0; vertex < _mesh.vertices.size(); ++vertex) {
            if (vertex % 65536 == 0 && i_stop.stop_requested())
                return false;
            _SplitVertex(vertex);
        }
        return true;
    }

private:
    void _SplitVertex(std::uint32_t i_vertex)
    {
        const std::uint32_t* const begin = _neighbours.around.data() + _neighbours.begins[i_vertex];
        const std::uint32_t* const end = _neighbours.around.data() + _neighbours.begins[i_vertex + 1];
        // Beyond this a vertex is the tip of a fan, where each face for itself costs too much and shows nothing.
        constexpr std::ptrdiff_t largestFan = 64;
        _made.clear();
        // Worked out for each vertex again: those of all faces would take as much memory as the mesh.
        _normals.clear();
        for (const std::uint32_t* face = begin; face != end; ++face)
            _normals.push_back(GetNormal(_mesh, _mesh.triangles[*face]));
        for (const std::uint32_t* face = begin; face != end; ++face) {
            const Direction& own = _normals[static_cast<std::size_t>(face - begin)];
            const std::uint32_t normal = Pack(end - begin > largestFan ? own : _Blend(own));
            const auto& triangle = _mesh.triangles[*face];
            const auto corner = std::find(triangle.begin(), triangle.end(), i_vertex) - triangle.begin();
            _forms.indices[std::size_t{*face} * 3 + static_cast<std::size_t>(corner)] = _Find(i_vertex, normal);
        }
    }

    /// Of the faces around the vertex that continue this one without an edge.
    Direction _Blend(const Direction& i_own) const
    {
        static const float limit = static_cast<float>(std::cos(CreaseDegrees * std::numbers::pi / 180));
        const float ownLength = std::sqrt(Dot(i_own, i_own));
        Direction sum;
        for (const Direction& other : _normals) {
            if (Dot(i_own, other) >= limit * ownLength * std::sqrt(Dot(other, other)))
                sum = {sum.x + other.x, sum.y + other.y, sum.z + other.z};
        }
        return sum;
    }

    std::uint32_t _Find(std::uint32_t i_vertex, std::uint32_t i_normal)
    {
        for (const std::uint32_t corner : _made) {
            if (_forms.vertices[corner].normal == i_normal)
                return corner;
        }
        const TavAM::Point3f& point = _mesh.vertices[i_vertex];
        _made.push_back(static_cast<std::uint32_t>(_forms.vertices.size()));
        _forms.vertices.push_back({point.x, point.y, point.z, i_normal});
        return _made.back();
    }

    const TavAM::Mesh& _mesh;
    MeshForms& _forms;
    const Neighbours _neighbours;
    std::vector<Direction> _normals;  ///< of the faces around the vertex at hand
    std::vector<std::uint32_t> _made; ///< corners of the vertex at hand
};

/// Each from the one before: the first costs what the mesh costs, the others nothing.
void AddCoarseGrades(MeshForms& io_forms)
{
    // As large as the simplifier asks for; what it does not write takes no memory.
    const auto coarse = std::make_unique_for_overwrite<std::uint32_t[]>(io_forms.indices.size());
    for (const std::size_t triangles : CoarseGrades) {
        const MeshForms::Grade former = io_forms.grades.back();
        if (former.count / 3 <= triangles)
            continue;
        const std::size_t count = meshopt_simplifySloppy(
            coarse.get(), io_forms.indices.data() + former.begin, former.count, &io_forms.vertices.front().x,
            io_forms.vertices.size(), sizeof(MeshVertex), triangles * 3, 1.0F);
        // What is too thin for its cells vanishes: the form before then has to do.
        if (count == 0)
            break;
        io_forms.grades.push_back({io_forms.indices.size(), count});
        io_forms.indices.insert(io_forms.indices.end(), coarse.get(), coarse.get() + count);
    }
}

} // namespace

std::shared_ptr<MeshForms> MakeMeshForms(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    auto forms = std::make_shared<MeshForms>();
    if (!CornerMaker(i_mesh, *forms).Run(i_stop))
        return nullptr;
    forms->grades.push_back({0, forms->indices.size()});
    if (i_stop.stop_requested())
        return nullptr;
    if (!forms->vertices.empty())
        AddCoarseGrades(*forms);
    forms->vertices.shrink_to_fit();
    // Of a small mesh; that of a large one would be there twice for it.
    if (forms->indices.capacity() > forms->indices.size() * 9 / 8)
        forms->indices.shrink_to_fit();
    return forms;
}

CoarseMesh MakeCoarseMesh(const MeshForms& i_forms)
{
    constexpr std::size_t enough = 1000;
    const MeshForms::Grade& grade = FindGrade(i_forms.grades, enough);
    CoarseMesh coarse;
    std::vector<std::uint32_t> numbers(i_forms.vertices.size(), None);
    for (std::size_t index = 0; index < grade.count; ++index) {
        const std::uint32_t vertex = i_forms.indices[grade.begin + index];
        if (numbers[vertex] == None) {
            numbers[vertex] = static_cast<std::uint32_t>(coarse.vertices.size());
            const MeshVertex& corner = i_forms.vertices[vertex];
            coarse.vertices.push_back({corner.x, corner.y, corner.z});
        }
        if (index % 3 == 0)
            coarse.triangles.emplace_back();
        coarse.triangles.back()[index % 3] = numbers[vertex];
    }
    return coarse;
}

const MeshForms::Grade& FindGrade(const std::vector<MeshForms::Grade>& i_grades, std::size_t i_triangles)
{
    const auto found = std::find_if(i_grades.begin(), i_grades.end(),
                                    [&](const MeshForms::Grade& i_grade) { return i_grade.count / 3 <= i_triangles; });
    return found == i_grades.end() ? i_grades.back() : *found;
}

} // namespace Workbench
