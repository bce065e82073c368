#include "workbench/plate/Problems.h"

#include "workbench/base/LengthText.h"

#include "tavam/Collision.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace Workbench {

namespace {

using TavAM::BoundingBox;
using TavAM::Point3d;
using Kind = PlateProblem::Kind;

constexpr double Tolerance = 0.01; ///< mm, what a placement loses when it is written as text

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::Problems)
};

/// How far the point is beyond the edge of the bed; below zero inside. Units: mm.
double GetExcess(const PlateBed& i_bed, const Point3d& i_point)
{
    if (i_bed.isCircular) {
        const double radius = (i_bed.maxX - i_bed.minX) / 2;
        return std::hypot(i_point.x - (i_bed.minX + i_bed.maxX) / 2, i_point.y - (i_bed.minY + i_bed.maxY) / 2) -
               radius;
    }
    return std::max({i_bed.minX - i_point.x, i_point.x - i_bed.maxX, i_bed.minY - i_point.y, i_point.y - i_bed.maxY});
}

/// Do a triangle seen from above and a rectangle share an area? By the five axes that could part them.
bool OverlapFromAbove(const std::array<Point3d, 3>& i_triangle, const BoundingBox& i_box)
{
    const std::array<Point3d, 4> corners{{{i_box.min.x, i_box.min.y, 0},
                                          {i_box.max.x, i_box.min.y, 0},
                                          {i_box.max.x, i_box.max.y, 0},
                                          {i_box.min.x, i_box.max.y, 0}}};
    const auto arePartedAlong = [&](double i_x, double i_y) {
        const double length = std::hypot(i_x, i_y);
        if (length < 1e-12)
            return false;
        const auto reach = [&](const auto& i_points) {
            double least = 1e300, most = -1e300;
            for (const Point3d& point : i_points) {
                const double along = (point.x * i_x + point.y * i_y) / length;
                least = std::min(least, along);
                most = std::max(most, along);
            }
            return std::pair(least, most);
        };
        const auto [least, most] = reach(i_triangle);
        const auto [boxLeast, boxMost] = reach(corners);
        return most - Tolerance <= boxLeast || boxMost <= least + Tolerance;
    };
    if (arePartedAlong(1, 0) || arePartedAlong(0, 1))
        return false;
    for (std::size_t index = 0; index < 3; ++index) {
        const Point3d& from = i_triangle[index];
        const Point3d& to = i_triangle[(index + 1) % 3];
        if (arePartedAlong(from.y - to.y, to.x - from.x))
            return false;
    }
    return true;
}

class Finder
{
public:
    Finder(const PlateBed& i_bed, const std::vector<PlatePart>& i_parts, const std::stop_token& i_stop)
        : _bed(i_bed)
        , _parts(i_parts)
        , _stop(i_stop)
        , _trees(i_parts.size())
    {}

    std::vector<PlateProblem> Run()
    {
        for (std::size_t index = 0; index < _parts.size() && !_stop.stop_requested(); ++index) {
            if (!_parts[index].box.IsEmpty()) {
                if (_bed.isKnown)
                    _CheckVolume(_parts[index]);
                _CheckZones(_parts[index]);
                _CheckPairs(index);
            }
            // Parts come in their order: nobody meets this one any more.
            _trees[index].reset();
        }
        return std::move(_problems);
    }

private:
    static QString _Label(const PlatePart& i_part)
    {
        return i_part.name.isEmpty() ? Texts::tr("(without a name)") : i_part.name;
    }

    template <class Visit>
    static void _ForEachTriangle(const PlatePart& i_part, const Visit& i_visit)
    {
        for (const PlateBody& body : i_part.bodies) {
            for (const auto& triangle : body.mesh->triangles) {
                std::array<Point3d, 3> corners;
                for (std::size_t index = 0; index < 3; ++index) {
                    const TavAM::Point3f& point = body.mesh->vertices[triangle[index]];
                    corners[index] = body.placement.Apply({point.x, point.y, point.z});
                }
                if (!i_visit(corners))
                    return;
            }
        }
    }

    void _Add(Kind i_kind, const PlatePart& i_part, const QString& i_text)
    {
        _problems.push_back({i_kind, i_part.id, {}, i_text});
    }

    static QString _Length(double i_millimetres) { return LengthText::Show(i_millimetres, i_millimetres < 1 ? 2 : 1); }

    void _CheckVolume(const PlatePart& i_part)
    {
        const BoundingBox& box = i_part.box;
        // Corner by corner only where the box does not decide.
        const double boxExcess =
            std::max({GetExcess(_bed, {box.min.x, box.min.y, 0}), GetExcess(_bed, {box.max.x, box.min.y, 0}),
                      GetExcess(_bed, {box.min.x, box.max.y, 0}), GetExcess(_bed, {box.max.x, box.max.y, 0})});
        double excess = boxExcess;
        if (_bed.isCircular && boxExcess > Tolerance) {
            excess = -1e9;
            _ForEachTriangle(i_part, [&](const std::array<Point3d, 3>& i_corners) {
                for (const Point3d& corner : i_corners)
                    excess = std::max(excess, GetExcess(_bed, corner));
                return true;
            });
        }
        if (excess > Tolerance)
            _Add(Kind::OutsideBed, i_part, Texts::tr("%1 leaves the bed by %2.").arg(_Label(i_part), _Length(excess)));
        if (box.max.z > _bed.height + Tolerance)
            _Add(Kind::TooHigh, i_part,
                 Texts::tr("%1 is %2 too high.").arg(_Label(i_part), _Length(box.max.z - _bed.height)));
        if (box.min.z < -Tolerance)
            _Add(Kind::BelowPlate, i_part,
                 Texts::tr("%1 reaches %2 below the plate.").arg(_Label(i_part), _Length(-box.min.z)));
    }

    void _CheckZones(const PlatePart& i_part)
    {
        for (const PlateZone& zone : _bed.zones) {
            const BoundingBox& box = i_part.box;
            bool enters = false;
            if (box.min.z < zone.box.max.z && box.max.z > zone.box.min.z && box.min.x < zone.box.max.x &&
                box.max.x > zone.box.min.x && box.min.y < zone.box.max.y && box.max.y > zone.box.min.y) {
                _ForEachTriangle(i_part, [&](const std::array<Point3d, 3>& i_corners) {
                    enters = OverlapFromAbove(i_corners, zone.box);
                    return !enters;
                });
            }
            if (enters) {
                _Add(Kind::InZone, i_part,
                     zone.name.isEmpty() ? Texts::tr("%1 stands in a zone that must stay free.").arg(_Label(i_part))
                                         : Texts::tr("%1 stands in the zone “%2”, which must stay free.")
                                               .arg(_Label(i_part), zone.name));
            }
        }
    }

    void _CheckPairs(std::size_t i_index)
    {
        for (std::size_t other = i_index + 1; other < _parts.size() && !_stop.stop_requested(); ++other) {
            const PlatePart& left = _parts[i_index];
            const PlatePart& right = _parts[other];
            if (right.box.IsEmpty() || !TavAM::MayCollide(left.box, right.box))
                continue;
            const TavAM::Collision collision = TavAM::FindCollision(_GetTree(i_index), _GetTree(other), _stop);
            if (collision == TavAM::Collision::Found)
                _problems.push_back({Kind::Collision, left.id, right.id,
                                     Texts::tr("%1 and %2 are in each other's way.").arg(_Label(left), _Label(right))});
            else if (collision == TavAM::Collision::TooFine)
                _problems.push_back(
                    {Kind::Unchecked, left.id, right.id,
                     Texts::tr("%1 and %2 are too finely meshed to be compared: keep them further apart.")
                         .arg(_Label(left), _Label(right))});
        }
    }

    const TavAM::TriangleTree& _GetTree(std::size_t i_index)
    {
        if (!_trees[i_index]) {
            std::vector<Point3d> vertices;
            std::vector<std::array<std::uint32_t, 3>> triangles;
            for (const PlateBody& body : _parts[i_index].bodies) {
                const auto first = static_cast<std::uint32_t>(vertices.size());
                for (const TavAM::Point3f& point : body.mesh->vertices)
                    vertices.push_back(body.placement.Apply({point.x, point.y, point.z}));
                for (const auto& [a, b, c] : body.mesh->triangles)
                    triangles.push_back({a + first, b + first, c + first});
            }
            _trees[i_index].emplace(vertices, triangles, TavAM::CollisionInset);
        }
        return *_trees[i_index];
    }

    const PlateBed& _bed;
    const std::vector<PlatePart>& _parts;
    const std::stop_token& _stop;
    std::vector<std::optional<TavAM::TriangleTree>> _trees;
    std::vector<PlateProblem> _problems;
};

} // namespace

std::vector<PlateProblem> FindProblems(const PlateBed& i_bed, const std::vector<PlatePart>& i_parts,
                                       const std::stop_token& i_stop)
{
    return Finder(i_bed, i_parts, i_stop).Run();
}

} // namespace Workbench
