#pragma once

#include "tavam/Part.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/Listener.h"

#include <QObject>

#include <boost/uuid/uuid.hpp>

#include <memory>
#include <vector>

namespace Workbench {

/// The selected parts of one scene, the same in every view of it: the plate, the list of parts and the library's
/// commands. The scene itself keeps it; this tells of changes, whoever made them.
///
/// Thread: UI thread. The scene may be closed while this lives: nothing is selected then.
class Selection final : public QObject, private VexlorCore::MListener
{
    Q_OBJECT

public:
    explicit Selection(VexlorCore::DataSet& io_scene, QObject* ip_parent = nullptr);

    /// Revision ids, in the order in which they were selected.
    const std::vector<boost::uuids::uuid>& GetIds() const { return _ids; }
    bool IsEmpty() const { return _ids.empty(); }
    bool Contains(const boost::uuids::uuid& i_part) const;
    /// In the order of the scene. Valid until the scene's list of parts changes.
    std::vector<TavAM::Part*> GetParts() const;

    /// Ids that no part of the scene has, and those that come twice, are left out.
    void Set(std::vector<boost::uuids::uuid> i_parts);
    void Toggle(const boost::uuids::uuid& i_part);
    void SelectAll();
    void Clear() { Set({}); }

Q_SIGNALS:
    /// Once for each change.
    void Changed();

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override;
    void _Follow();

    std::weak_ptr<VexlorCore::DataSet> _scene;
    std::vector<boost::uuids::uuid> _ids;
};

} // namespace Workbench
