#include "workbench/plate/PlateModel.h"

#include "tavam/Representation.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/Notifications.h"

#include <algorithm>
#include <set>
#include <utility>

namespace Workbench {

namespace {

/// As Representation::ForEachMesh, but the meshes are kept: other threads read them.
void Collect(const TavAM::Representation& i_representation, const TavAM::Transform& i_placement,
             std::vector<PlateBody>& io_bodies)
{
    const TavAM::Transform placement = i_placement.After(i_representation.GetPlacement());
    if (i_representation.GetMesh())
        io_bodies.push_back({i_representation.GetMesh(), placement});
    for (const TavAM::Representation& member : i_representation.GetMembers())
        Collect(member, placement, io_bodies);
}

PlatePart MakePart(const TavAM::Part& i_part, const PlatePart* ip_former)
{
    PlatePart part;
    part.id = i_part.GetRevisionId();
    part.name = QString::fromStdWString(i_part.GetName());
    Collect(i_part.GetRepresentation(), i_part.GetPlacement(), part.bodies);
    // A box costs as much as the part has corners.
    const bool isSame = ip_former && ip_former->bodies == part.bodies;
    part.box = isSame ? ip_former->box : i_part.GetBoundingBox();
    return part;
}

} // namespace

PlateModel::PlateModel(VexlorCore::DataSet& io_scene, Selection& io_selection, QObject* ip_parent)
    : QObject(ip_parent)
    , _scene(io_scene.weak_from_this())
    , _selection(io_selection)
{
    if (VexlorCore::Database* const database = io_scene.GetDatabase())
        database->AddListener(this);
    StartListening();
    connect(&_selection, &Selection::Changed, this, &PlateModel::_FollowSelection);
    Refresh();
}

const PlatePart* PlateModel::FindPart(const boost::uuids::uuid& i_id) const
{
    const auto found =
        std::find_if(_parts.begin(), _parts.end(), [&](const PlatePart& i_part) { return i_part.id == i_id; });
    return found == _parts.end() ? nullptr : &*found;
}

std::vector<std::shared_ptr<const TavAM::Mesh>> PlateModel::GetMeshes() const
{
    std::vector<std::shared_ptr<const TavAM::Mesh>> meshes;
    std::set<const TavAM::Mesh*> known;
    for (const PlatePart& part : _parts) {
        for (const PlateBody& body : part.bodies) {
            if (known.insert(body.mesh.get()).second)
                meshes.push_back(body.mesh);
        }
    }
    return meshes;
}

TavAM::BoundingBox PlateModel::GetPartsBox() const
{
    TavAM::BoundingBox box;
    for (const PlatePart& part : _parts)
        box.Add(part.box);
    return box;
}

TavAM::BoundingBox PlateModel::GetSelectedBox() const
{
    TavAM::BoundingBox box;
    for (const PlatePart& part : _parts) {
        if (part.isSelected)
            box.Add(part.box);
    }
    return box;
}

void PlateModel::SetChangeInHand(const std::optional<TavAM::Transform>& i_change)
{
    if (_change == i_change)
        return;
    _change = i_change;
    Q_EMIT Marked();
}

TavAM::Transform PlateModel::GetShownPlacement(const PlatePart& i_part, const PlateBody& i_body) const
{
    return _change && i_part.isSelected ? _change->After(i_body.placement) : i_body.placement;
}

PlateScene PlateModel::TakeScene() const
{
    PlateScene scene;
    scene.bed = _bed;
    for (const PlatePart& part : _parts) {
        for (const PlateBody& body : part.bodies)
            scene.bodies.push_back({body.mesh, GetShownPlacement(part, body), part.isSelected, part.hasProblem});
    }
    return scene;
}

void PlateModel::Refresh()
{
    const auto scene = _scene.lock();
    std::vector<PlatePart> parts;
    PlateBed bed;
    if (scene) {
        bed = Workbench::GetBed(*scene);
        for (const TavAM::Part& part : scene->GetParts())
            parts.push_back(MakePart(part, FindPart(part.GetRevisionId())));
    }
    const bool isSame = bed == _bed && std::equal(parts.begin(), parts.end(), _parts.begin(), _parts.end(),
                                                  [](const PlatePart& i_left, const PlatePart& i_right) {
                                                      return i_left.id == i_right.id && i_left.name == i_right.name &&
                                                             i_left.bodies == i_right.bodies;
                                                  });
    if (isSame)
        return;
    _bed = std::move(bed);
    _parts = std::move(parts);
    _Mark();
    Q_EMIT Changed();
}

void PlateModel::SetProblems(std::vector<PlateProblem> i_problems)
{
    if (i_problems == _problems)
        return;
    _problems = std::move(i_problems);
    _Mark();
    Q_EMIT Marked();
}

void PlateModel::ExecuteSelf(const VexlorCore::INotification& i_notification)
{
    if (!dynamic_cast<const VexlorCore::SelectionChanged*>(&i_notification))
        Refresh();
}

void PlateModel::_FollowSelection()
{
    _Mark();
    Q_EMIT Marked();
}

void PlateModel::_Mark()
{
    for (PlatePart& part : _parts) {
        part.isSelected = _selection.Contains(part.id);
        part.hasProblem = std::any_of(_problems.begin(), _problems.end(),
                                      [&](const PlateProblem& i_problem) { return i_problem.Concerns(part.id); });
    }
}

} // namespace Workbench
