#pragma once

#include "workbench/plate/PlateBed.h"
#include "workbench/plate/PlatePart.h"
#include "workbench/plate/PlateScene.h"
#include "workbench/plate/Problems.h"
#include "workbench/scene/Selection.h"

#include "vexlorcore/DataSet.h"
#include "vexlorcore/Listener.h"

#include <QObject>

#include <memory>
#include <optional>
#include <vector>

namespace Workbench {

/// What the plate shows of one scene: bed, parts, selection, problems. It follows the scene by itself.
///
/// Order: Changed() for another bed, other parts or places, Marked() when only selection, problems or a change in hand
/// are other ones.
/// Thread: UI thread. The scene may be closed while this lives: nothing is shown then.
/// Ownership: the selection must outlive it.
class PlateModel final : public QObject, private VexlorCore::MListener
{
    Q_OBJECT

public:
    PlateModel(VexlorCore::DataSet& io_scene, Selection& io_selection, QObject* ip_parent = nullptr);

    /// Null when it was closed.
    std::shared_ptr<VexlorCore::DataSet> GetScene() const { return _scene.lock(); }
    Selection& GetSelection() const { return _selection; }
    const PlateBed& GetBed() const { return _bed; }
    /// In the scene's order, also those without a mesh.
    const std::vector<PlatePart>& GetParts() const { return _parts; }
    const PlatePart* FindPart(const boost::uuids::uuid& i_id) const;
    std::vector<std::shared_ptr<const TavAM::Mesh>> GetMeshes() const;
    const std::vector<PlateProblem>& GetProblems() const { return _problems; }
    /// Of all parts that have a mesh; empty when there is none.
    TavAM::BoundingBox GetPartsBox() const;
    /// As they stand in the scene, without the change in hand.
    TavAM::BoundingBox GetSelectedBox() const;

    /// A change of the selected parts that is shown but not made yet, as while the mouse drags them.
    void SetChangeInHand(const std::optional<TavAM::Transform>& i_change);
    const std::optional<TavAM::Transform>& GetChangeInHand() const { return _change; }
    /// Where a body is shown.
    TavAM::Transform GetShownPlacement(const PlatePart& i_part, const PlateBody& i_body) const;

    /// All that is drawn, with the change in hand.
    PlateScene TakeScene() const;

    /// Looks at the scene again; for who changed it without an operation.
    void Refresh();
    void SetProblems(std::vector<PlateProblem> i_problems);

Q_SIGNALS:
    void Changed();
    void Marked();

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override;
    void _FollowSelection();
    void _Mark();

    const std::weak_ptr<VexlorCore::DataSet> _scene;
    Selection& _selection;
    PlateBed _bed;
    std::vector<PlatePart> _parts;
    std::vector<PlateProblem> _problems;
    std::optional<TavAM::Transform> _change;
};

} // namespace Workbench
