#include "workbench/scene/Selection.h"

#include "vexlorcore/Database.h"
#include "vexlorcore/Notifications.h"

#include <algorithm>
#include <utility>

namespace Workbench {

Selection::Selection(VexlorCore::DataSet& io_scene, QObject* ip_parent)
    : QObject(ip_parent)
    , _scene(io_scene.weak_from_this())
    , _ids(io_scene.GetSelection())
{
    if (VexlorCore::Database* const database = io_scene.GetDatabase())
        database->AddListener(this);
    StartListening();
}

bool Selection::Contains(const boost::uuids::uuid& i_part) const
{
    return std::find(_ids.begin(), _ids.end(), i_part) != _ids.end();
}

std::vector<TavAM::Part*> Selection::GetParts() const
{
    std::vector<TavAM::Part*> parts;
    if (const auto scene = _scene.lock()) {
        for (TavAM::Part& part : scene->GetParts()) {
            if (Contains(part.GetRevisionId()))
                parts.push_back(&part);
        }
    }
    return parts;
}

void Selection::Set(std::vector<boost::uuids::uuid> i_parts)
{
    const auto scene = _scene.lock();
    if (!scene)
        return;
    std::vector<boost::uuids::uuid> known;
    for (const boost::uuids::uuid& id : i_parts) {
        if (scene->GetPlatform().FindPart(id) && std::find(known.begin(), known.end(), id) == known.end())
            known.push_back(id);
    }
    scene->SetSelection(std::move(known));
    _Follow();
}

void Selection::Toggle(const boost::uuids::uuid& i_part)
{
    std::vector<boost::uuids::uuid> ids = _ids;
    if (std::erase(ids, i_part) == 0)
        ids.push_back(i_part);
    Set(std::move(ids));
}

void Selection::SelectAll()
{
    const auto scene = _scene.lock();
    if (!scene)
        return;
    std::vector<boost::uuids::uuid> ids;
    for (const TavAM::Part& part : scene->GetParts())
        ids.push_back(part.GetRevisionId());
    Set(std::move(ids));
}

void Selection::ExecuteSelf(const VexlorCore::INotification& i_notification)
{
    if (dynamic_cast<const VexlorCore::SelectionChanged*>(&i_notification))
        _Follow();
}

void Selection::_Follow()
{
    const auto scene = _scene.lock();
    auto ids = scene ? scene->GetSelection() : std::vector<boost::uuids::uuid>();
    if (ids == _ids)
        return;
    _ids = std::move(ids);
    Q_EMIT Changed();
}

} // namespace Workbench
