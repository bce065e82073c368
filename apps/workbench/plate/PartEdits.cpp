#include "workbench/plate/PartEdits.h"

#include "workbench/scene/FreePlaces.h"

#include "vexlorcore/Application.h"
#include "vexlorcore/DataSet.h"

#include <boost/uuid/random_generator.hpp>

#include <QCoreApplication>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>

namespace Workbench::PartEdits {

namespace {

using TavAM::BoundingBox;
using TavAM::Transform;
using VexlorCore::DatabaseAction;

constexpr double Gap = 5;            ///< mm, between a part and its copy
constexpr double LargestPlace = 1e6; ///< mm, as platform files have it
constexpr double Unmoved = 1e-9;     ///< mm
constexpr int LargestRing = 12;      ///< of places for a copy

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::PartEdits)
};

bool Contains(const PartIds& i_ids, const boost::uuids::uuid& i_id)
{
    return std::find(i_ids.begin(), i_ids.end(), i_id) != i_ids.end();
}

/// Runs a change of the scene as one step. What it undoes is kept as values: the scene may be another one by then.
void Execute(VexlorCore::DataSet& io_scene, const QString& i_name, DatabaseAction i_action,
             const std::function<void(VexlorCore::DataSet&)>& i_change,
             std::function<void(VexlorCore::DataSet&)> i_undo)
{
    auto* const application = VexlorCore::Application::GetInstance();
    auto* const operations = application ? application->GetOperationManager() : nullptr;
    if (!operations) {
        i_change(io_scene);
        return;
    }
    const auto weak = io_scene.weak_from_this();
    const auto whileOpen = [weak](const std::function<void(VexlorCore::DataSet&)>& i_what) {
        if (const auto scene = weak.lock())
            i_what(*scene);
    };
    operations->Execute(
        i_name.toStdWString(), static_cast<std::uint32_t>(i_action), [&] { whileOpen(i_change); },
        [whileOpen, undo = std::move(i_undo)] { whileOpen(undo); });
}

using Placements = std::vector<std::pair<boost::uuids::uuid, Transform>>;

void Place(VexlorCore::DataSet& io_scene, const Placements& i_placements)
{
    for (const auto& [id, placement] : i_placements) {
        if (TavAM::Part* const part = io_scene.GetPlatform().FindPart(id))
            part->SetPlacement(placement);
    }
}

bool PlaceAsStep(VexlorCore::DataSet& io_scene, const QString& i_name, const Placements& i_placements)
{
    Placements former;
    bool changes = false;
    for (const auto& [id, placement] : i_placements) {
        const Transform& now = io_scene.GetPlatform().FindPart(id)->GetPlacement();
        for (std::size_t index = 0; index < now.rows.size(); ++index)
            changes = changes || std::abs(now.rows[index] - placement.rows[index]) > Unmoved;
        former.emplace_back(id, now);
    }
    if (!changes)
        return false;
    Execute(
        io_scene, i_name, DatabaseAction::PartsMoved,
        [&](VexlorCore::DataSet& io_open) { Place(io_open, i_placements); },
        [former](VexlorCore::DataSet& io_open) { Place(io_open, former); });
    return true;
}

/// No part is sent where no file could hold it.
bool IsWithinReach(const BoundingBox& i_box)
{
    const auto reaches = [](double i_value) {
        return std::abs(i_value) <= LargestPlace;
    };
    return i_box.IsEmpty() || (reaches(i_box.min.x) && reaches(i_box.min.y) && reaches(i_box.min.z) &&
                               reaches(i_box.max.x) && reaches(i_box.max.y) && reaches(i_box.max.z));
}

BoundingBox Transformed(const BoundingBox& i_box, const Transform& i_change)
{
    BoundingBox box;
    for (int corner = 0; corner < 8 && !i_box.IsEmpty(); ++corner) {
        box.Add(i_change.Apply({(corner & 1) ? i_box.max.x : i_box.min.x, (corner & 2) ? i_box.max.y : i_box.min.y,
                                (corner & 4) ? i_box.max.z : i_box.min.z}));
    }
    return box;
}

bool ApplyAsStep(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const Transform& i_change,
                 const QString& i_name)
{
    if (std::any_of(i_change.rows.begin(), i_change.rows.end(),
                    [](double i_value) { return !std::isfinite(i_value); }) ||
        !IsWithinReach(Transformed(GetBox(io_scene, i_parts), i_change)))
        return false;
    Placements placements;
    for (const TavAM::Part& part : io_scene.GetParts()) {
        if (Contains(i_parts, part.GetRevisionId()))
            placements.emplace_back(part.GetRevisionId(), i_change.After(part.GetPlacement()));
    }
    return PlaceAsStep(io_scene, i_name, placements);
}

/// A shift to the nearest place beside the box that is free of others, ring by ring; one step aside when there is none.
Transform FindRoom(const VexlorCore::DataSet& i_scene, const BoundingBox& i_box,
                   const std::optional<BoundingBox>& i_bed)
{
    std::vector<BoundingBox> others;
    for (const TavAM::Part& part : i_scene.GetParts())
        others.push_back(part.GetBoundingBox());
    const double stepX = i_box.max.x - i_box.min.x + Gap;
    const double stepY = i_box.max.y - i_box.min.y + Gap;
    const auto isFree = [&](double i_x, double i_y) {
        const double minX = i_box.min.x + i_x, maxX = i_box.max.x + i_x;
        const double minY = i_box.min.y + i_y, maxY = i_box.max.y + i_y;
        if (i_bed && (minX < i_bed->min.x || maxX > i_bed->max.x || minY < i_bed->min.y || maxY > i_bed->max.y))
            return false;
        return std::none_of(others.begin(), others.end(), [&](const BoundingBox& i_other) {
            return !i_other.IsEmpty() && minX < i_other.max.x && maxX > i_other.min.x && minY < i_other.max.y &&
                   maxY > i_other.min.y;
        });
    };
    for (int ring = 1; ring <= LargestRing; ++ring) {
        for (int row = ring; row >= -ring; --row) {
            for (int column = ring; column >= -ring; --column) {
                if (std::max(std::abs(row), std::abs(column)) == ring && isFree(column * stepX, row * stepY))
                    return Transform::Translation(column * stepX, row * stepY, 0);
            }
        }
    }
    return Transform::Translation(stepX, 0, 0);
}

std::vector<TavAM::Part> MakeCopies(const VexlorCore::DataSet& i_scene, const PartIds& i_parts,
                                    const std::optional<BoundingBox>& i_bed)
{
    const BoundingBox box = GetBox(i_scene, i_parts);
    const Transform shift = box.IsEmpty() ? Transform() : FindRoom(i_scene, box, i_bed);
    std::vector<TavAM::Part> copies;
    for (const TavAM::Part& part : i_scene.GetParts()) {
        if (!Contains(i_parts, part.GetRevisionId()))
            continue;
        TavAM::Part& copy = copies.emplace_back(part);
        copy.SetRevisionId(boost::uuids::random_generator()());
        copy.SetPlacement(shift.After(part.GetPlacement()));
    }
    return copies;
}

} // namespace

BoundingBox GetBox(const VexlorCore::DataSet& i_scene, const PartIds& i_parts)
{
    BoundingBox box;
    for (const TavAM::Part& part : i_scene.GetParts()) {
        if (Contains(i_parts, part.GetRevisionId()))
            box.Add(part.GetBoundingBox());
    }
    return box;
}

Transform MakeRotation(double i_degrees, const BoundingBox& i_box)
{
    const double angle = i_degrees * std::numbers::pi / 180;
    // Quarter turns are exact, so that four of them lead back.
    const double quarters = i_degrees / 90;
    const bool isQuarter = quarters == std::round(quarters);
    const double cosine = isQuarter ? std::round(std::cos(angle)) : std::cos(angle);
    const double sine = isQuarter ? std::round(std::sin(angle)) : std::sin(angle);
    const double x = (i_box.min.x + i_box.max.x) / 2;
    const double y = (i_box.min.y + i_box.max.y) / 2;
    return Transform::Translation(x, y, 0)
        .After({{cosine, -sine, 0, 0, sine, cosine, 0, 0, 0, 0, 1, 0}})
        .After(Transform::Translation(-x, -y, 0));
}

Transform MakeScale(double i_factor, const BoundingBox& i_box)
{
    const double x = (i_box.min.x + i_box.max.x) / 2;
    const double y = (i_box.min.y + i_box.max.y) / 2;
    return Transform::Translation(x, y, i_box.min.z)
        .After({{i_factor, 0, 0, 0, 0, i_factor, 0, 0, 0, 0, i_factor, 0}})
        .After(Transform::Translation(-x, -y, -i_box.min.z));
}

bool Move(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const TavAM::Point3d& i_by)
{
    return ApplyAsStep(io_scene, i_parts, Transform::Translation(i_by.x, i_by.y, i_by.z), Texts::tr("Move"));
}

bool RotateAboutZ(VexlorCore::DataSet& io_scene, const PartIds& i_parts, double i_degrees)
{
    const BoundingBox box = GetBox(io_scene, i_parts);
    return !box.IsEmpty() && ApplyAsStep(io_scene, i_parts, MakeRotation(i_degrees, box), Texts::tr("Rotate"));
}

bool Scale(VexlorCore::DataSet& io_scene, const PartIds& i_parts, double i_factor)
{
    const BoundingBox box = GetBox(io_scene, i_parts);
    if (box.IsEmpty() || !(i_factor >= SmallestScale && i_factor <= LargestScale))
        return false;
    return ApplyAsStep(io_scene, i_parts, MakeScale(i_factor, box), Texts::tr("Scale"));
}

bool Apply(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const Transform& i_change)
{
    return ApplyAsStep(io_scene, i_parts, i_change, Texts::tr("Move"));
}

bool DropToPlate(VexlorCore::DataSet& io_scene, const PartIds& i_parts)
{
    Placements placements;
    for (const TavAM::Part& part : io_scene.GetParts()) {
        const BoundingBox box = part.GetBoundingBox();
        if (Contains(i_parts, part.GetRevisionId()) && !box.IsEmpty())
            placements.emplace_back(part.GetRevisionId(),
                                    Transform::Translation(0, 0, -box.min.z).After(part.GetPlacement()));
    }
    return PlaceAsStep(io_scene, Texts::tr("Drop to plate"), placements);
}

bool Arrange(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const PlateBed& i_bed)
{
    std::vector<BoundingBox> taken;
    for (const PlateZone& zone : i_bed.zones)
        taken.push_back(zone.box);
    std::vector<std::pair<double, TavAM::Part>> bySize;
    for (const TavAM::Part& part : io_scene.GetParts()) {
        const BoundingBox box = part.GetBoundingBox();
        if (!Contains(i_parts, part.GetRevisionId()))
            taken.push_back(box);
        else if (!box.IsEmpty())
            bySize.emplace_back((box.max.x - box.min.x) * (box.max.y - box.min.y), part);
    }
    std::stable_sort(bySize.begin(), bySize.end(),
                     [](const auto& i_a, const auto& i_b) { return i_a.first > i_b.first; });
    std::vector<TavAM::Part> parts;
    for (auto& [size, part] : bySize)
        parts.push_back(std::move(part));
    MachineService::BuildVolume volume;
    volume.minX = i_bed.minX;
    volume.minY = i_bed.minY;
    volume.maxX = i_bed.maxX;
    volume.maxY = i_bed.maxY;
    volume.isCircular = i_bed.isCircular;
    PlaceBeside(taken, parts, volume);
    Placements placements;
    for (const TavAM::Part& part : parts)
        placements.emplace_back(part.GetRevisionId(), part.GetPlacement());
    return PlaceAsStep(io_scene, Texts::tr("Arrange"), placements);
}

bool Duplicate(VexlorCore::DataSet& io_scene, const PartIds& i_parts, const std::optional<BoundingBox>& i_bed)
{
    const std::vector<TavAM::Part> copies = MakeCopies(io_scene, i_parts, i_bed);
    if (copies.empty())
        return false;
    PartIds ids;
    for (const TavAM::Part& copy : copies)
        ids.push_back(copy.GetRevisionId());
    const PartIds selected = io_scene.GetSelection();
    Execute(
        io_scene, Texts::tr("Duplicate"), DatabaseAction::PartsAdded,
        [&](VexlorCore::DataSet& io_open) {
            io_open.GetParts().insert(io_open.GetParts().end(), copies.begin(), copies.end());
            io_open.SetSelection(ids);
        },
        [ids, selected](VexlorCore::DataSet& io_open) {
            std::erase_if(io_open.GetParts(),
                          [&](const TavAM::Part& i_part) { return Contains(ids, i_part.GetRevisionId()); });
            io_open.SetSelection(selected);
        });
    return true;
}

bool Delete(VexlorCore::DataSet& io_scene, const PartIds& i_parts)
{
    std::vector<std::pair<std::size_t, TavAM::Part>> removed;
    for (std::size_t index = 0; index < io_scene.GetParts().size(); ++index) {
        if (Contains(i_parts, io_scene.GetParts()[index].GetRevisionId()))
            removed.emplace_back(index, io_scene.GetParts()[index]);
    }
    if (removed.empty())
        return false;
    const PartIds selected = io_scene.GetSelection();
    Execute(
        io_scene, Texts::tr("Delete"), DatabaseAction::PartsRemoved,
        [&](VexlorCore::DataSet& io_open) {
            const auto isRemoved = [&](const boost::uuids::uuid& i_id) {
                return Contains(i_parts, i_id);
            };
            std::erase_if(io_open.GetParts(),
                          [&](const TavAM::Part& i_part) { return isRemoved(i_part.GetRevisionId()); });
            PartIds left = selected;
            std::erase_if(left, isRemoved);
            io_open.SetSelection(left);
        },
        [removed, selected](VexlorCore::DataSet& io_open) {
            auto& parts = io_open.GetParts();
            for (const auto& [index, part] : removed)
                parts.insert(parts.begin() + static_cast<std::ptrdiff_t>(std::min(index, parts.size())), part);
            io_open.SetSelection(selected);
        });
    return true;
}

} // namespace Workbench::PartEdits
