#include "tavam/Part.h"

#include <boost/uuid/random_generator.hpp>

#include <utility>

namespace TavAM {

Part::Part()
    : _revisionId(boost::uuids::random_generator()())
{}

Part::Measured& Part::Measured::operator=(const Measured& i_other)
{
    if (this == &i_other)
        return *this;
    const std::scoped_lock lock(_mutex, i_other._mutex);
    _last = i_other._last;
    return *this;
}

std::optional<BoundingBox> Part::Measured::Find(const Transform& i_turn) const
{
    const std::lock_guard lock(_mutex);
    return _last && _last->first == i_turn ? std::optional(_last->second) : std::nullopt;
}

void Part::Measured::Keep(const Transform& i_turn, const BoundingBox& i_box)
{
    const std::lock_guard lock(_mutex);
    _last.emplace(i_turn, i_box);
}

void Part::Measured::Forget()
{
    const std::lock_guard lock(_mutex);
    _last.reset();
}

void Part::SetRepresentation(Representation i_representation)
{
    _representation = std::move(i_representation);
    _measured.Forget();
}

BoundingBox Part::GetBoundingBox() const
{
    Transform turn = _placement;
    const Point3d shift = {std::exchange(turn.rows[3], 0), std::exchange(turn.rows[7], 0),
                           std::exchange(turn.rows[11], 0)};
    auto box = _measured.Find(turn);
    if (!box) {
        box.emplace();
        _representation.ForEachMesh(turn, [&box](const Mesh& i_mesh, const Transform& i_placement) {
            box->Add(TavAM::GetBoundingBox(i_mesh, i_placement));
        });
        _measured.Keep(turn, *box);
    }
    if (box->IsEmpty())
        return *box;
    const auto move = [&](const Point3d& i_corner) {
        return Point3d{i_corner.x + shift.x, i_corner.y + shift.y, i_corner.z + shift.z};
    };
    return {move(box->min), move(box->max)};
}

} // namespace TavAM
