#include "workbench/scene/SceneHistory.h"

#include "tavam/PropertyNames.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Notifications.h"

#include <boost/container_hash/hash.hpp>

#include <algorithm>

namespace Workbench {

namespace {

using VexlorCore::DataSet;

void Add(std::size_t& io_seed, const TavAM::PersistentProperties& i_properties)
{
    for (const auto& [name, text] : i_properties.GetAll()) {
        boost::hash_combine(io_seed, name);
        boost::hash_combine(io_seed, text.has_value());
        boost::hash_combine(io_seed, text.value_or(std::wstring()));
    }
}

void Add(std::size_t& io_seed, const TavAM::Representation& i_representation)
{
    boost::hash_combine(io_seed, static_cast<int>(i_representation.GetKind()));
    boost::hash_combine(io_seed, i_representation.GetMesh().get());
    boost::hash_combine(io_seed, i_representation.GetDefinition());
    for (const double number : i_representation.GetPlacement().rows)
        boost::hash_combine(io_seed, number);
    for (const auto& member : i_representation.GetMembers())
        Add(io_seed, member);
}

/// A scene stays attached to the machine that it has by now, whatever is undone beside it.
void KeepMachine(const TavAM::Platform& i_from, TavAM::Platform& io_to)
{
    namespace Names = TavAM::PropertyNames::Print3D;
    for (const wchar_t* const name :
         {Names::SelectedQueueID, Names::OldSelectedQueueID, Names::MachineInformationTimestamp}) {
        if (const auto text = i_from.GetAMXProperties().GetText(name))
            io_to.GetAMXProperties().SetText(name, *text);
        else
            io_to.GetAMXProperties().Remove(name);
    }
}

void Restore(DataSet& io_scene, TavAM::Platform i_platform, std::uint32_t i_actions)
{
    if ((i_actions & static_cast<std::uint32_t>(VexlorCore::DatabaseAction::PlatformChanged)) == 0)
        KeepMachine(io_scene.GetPlatform(), i_platform);
    io_scene.SetPlatform(std::move(i_platform));
}

} // namespace

std::uint64_t GetFingerprint(const TavAM::Platform& i_platform)
{
    std::size_t seed = 0;
    boost::hash_combine(seed, i_platform.GetName());
    Add(seed, i_platform.GetAMXProperties());
    boost::hash_combine(seed, i_platform.GetMachine() != nullptr);
    for (const TavAM::Part& part : i_platform.GetParts()) {
        boost::hash_combine(seed, boost::uuids::hash_value(part.GetRevisionId()));
        boost::hash_combine(seed, part.GetName());
        boost::hash_combine(seed, part.HasSupports());
        for (const double number : part.GetPlacement().rows)
            boost::hash_combine(seed, number);
        if (const auto& strategies = part.GetStrategies()) {
            for (const auto& [role, strategy] : *strategies) {
                boost::hash_combine(seed, role);
                boost::hash_combine(seed, strategy);
            }
        }
        Add(seed, part.GetRepresentation());
        Add(seed, part.GetAMXProperties());
    }
    return seed;
}

SceneHistory::SceneHistory(VexlorCore::Application& io_application, QObject* ip_parent)
    : QObject(ip_parent)
    , _application(io_application)
    , _records(io_application.GetOperationManager()->GetHistory().size())
{
    io_application.GetOperationManager()->AddListener(this);
    io_application.GetDatabase()->AddListener(this);
    StartListening();
}

SceneHistory::Scene& SceneHistory::_Get(const DataSet& i_scene)
{
    const auto [scene, isNew] = _scenes.try_emplace(&i_scene);
    if (isNew)
        scene->second.current = scene->second.saved = GetFingerprint(i_scene.GetPlatform());
    return scene->second;
}

void SceneHistory::ExecuteSelf(const VexlorCore::INotification& i_notification)
{
    if (dynamic_cast<const VexlorCore::BeforeExecuteOperation*>(&i_notification)) {
        // What was changed without an operation is no part of the one that begins.
        for (const DataSet* const scene : _application.GetDatabase()->GetDataSets())
            Look(*scene);
    } else if (dynamic_cast<const VexlorCore::AfterExecuteOperation*>(&i_notification)) {
        _Follow();
    } else if (const auto* const closing = dynamic_cast<const VexlorCore::DataSetClosing*>(&i_notification)) {
        _scenes.erase(closing->GetDataSet());
        for (Record& record : _records) {
            if (record.owner == closing->GetDataSet())
                record.owner = nullptr;
        }
    }
}

void SceneHistory::_Follow()
{
    const std::size_t count = _application.GetOperationManager()->GetHistory().size();
    const bool isNew = count > _records.size();
    _records.resize(count);
    for (DataSet* const scene : _application.GetDatabase()->GetDataSets()) {
        Scene& state = _Get(*scene);
        const std::uint64_t now = GetFingerprint(scene->GetPlatform());
        if (now == state.current)
            continue;
        state.current = now;
        if (isNew) {
            _records.back() = {scene, {}};
            if (!_isStepping)
                state.redo.clear();
        }
        Q_EMIT Changed(scene);
    }
}

std::optional<std::size_t> SceneHistory::_FindStep(const DataSet* ip_scene) const
{
    const auto& history = _application.GetOperationManager()->GetHistory();
    for (std::size_t index = std::min(history.size(), _records.size()); ip_scene && index > 0; --index) {
        if (_records[index - 1].owner == ip_scene && history[index - 1].undo)
            return index - 1;
    }
    return std::nullopt;
}

std::size_t SceneHistory::CountSteps(const DataSet* ip_scene) const
{
    return static_cast<std::size_t>(std::count_if(_records.begin(), _records.end(),
                                                  [&](const Record& i_record) { return i_record.owner == ip_scene; }));
}

void SceneHistory::NameNewest(const DataSet* ip_scene, const QString& i_name)
{
    if (const auto step = _FindStep(ip_scene))
        _records[*step].name = i_name;
}

std::optional<QString> SceneHistory::GetUndoName(const DataSet* ip_scene) const
{
    const auto step = _FindStep(ip_scene);
    if (!step)
        return std::nullopt;
    const QString& name = _records[*step].name;
    return name.isEmpty() ? QString::fromStdWString(_application.GetOperationManager()->GetHistory()[*step].name)
                          : name;
}

std::optional<QString> SceneHistory::GetRedoName(const DataSet* ip_scene) const
{
    const auto scene = _scenes.find(ip_scene);
    if (scene == _scenes.end() || scene->second.redo.empty())
        return std::nullopt;
    return scene->second.redo.back().name;
}

void SceneHistory::Undo(DataSet& io_scene)
{
    const auto step = _FindStep(&io_scene);
    if (!step)
        return;
    auto& operations = *_application.GetOperationManager();
    const auto& record = operations.GetHistory()[*step];
    Step redo{*GetUndoName(&io_scene), record.actions, io_scene.GetPlatform()};
    // What listeners do in answer belongs to the same step.
    _isStepping = true;
    _records.erase(_records.begin() + static_cast<std::ptrdiff_t>(*step));
    operations.Undo(*step);
    _isStepping = false;
    if (_scenes.count(&io_scene) == 0)
        return;
    _Get(io_scene).redo.push_back(std::move(redo));
    Look(io_scene);
    Q_EMIT Changed(&io_scene);
    _application.Invalidate3d();
}

void SceneHistory::Redo(DataSet& io_scene)
{
    auto& redo = _Get(io_scene).redo;
    if (redo.empty())
        return;
    const Step step = std::move(redo.back());
    redo.pop_back();
    const auto former = std::make_shared<const TavAM::Platform>(io_scene.GetPlatform());
    _isStepping = true;
    _application.GetOperationManager()->Execute(
        step.name.toStdWString(), step.actions, [&] { Restore(io_scene, step.platform, step.actions); },
        [weak = io_scene.weak_from_this(), former, actions = step.actions] {
            if (const auto scene = weak.lock())
                Restore(*scene, *former, actions);
        });
    _isStepping = false;
    Q_EMIT Changed(&io_scene);
    _application.Invalidate3d();
}

void SceneHistory::SetSaved(const DataSet& i_scene, std::uint64_t i_fingerprint)
{
    _Get(i_scene).saved = i_fingerprint;
    Look(i_scene);
    Q_EMIT Changed(const_cast<DataSet*>(&i_scene));
}

bool SceneHistory::IsSaved(const DataSet& i_scene) const
{
    const auto scene = _scenes.find(&i_scene);
    return scene == _scenes.end() || scene->second.current == scene->second.saved;
}

void SceneHistory::Look(const DataSet& i_scene)
{
    Scene& state = _Get(i_scene);
    const std::uint64_t now = GetFingerprint(i_scene.GetPlatform());
    if (std::exchange(state.current, now) != now)
        Q_EMIT Changed(const_cast<DataSet*>(&i_scene));
}

} // namespace Workbench
