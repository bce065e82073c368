#include "workbench/plate/MeshStore.h"

#include <QMetaObject>
#include <QtGlobal>

#include <exception>
#include <utility>

namespace Workbench {

namespace {

/// Null when the token asked.
std::shared_ptr<MeshStore::Entry> MakeEntry(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop)
{
    auto entry = std::make_shared<MeshStore::Entry>();
    try {
        const auto forms = MakeMeshForms(i_mesh, i_stop);
        if (!forms)
            return nullptr;
        entry->coarse = MakeCoarseMesh(*forms);
        entry->triangles = forms->grades.front().count / 3;
        entry->forms = forms;
    } catch (const std::exception& error) {
        // Without memory for it the part is shown as its box.
        qWarning("A part cannot be drawn: %s", error.what());
    }
    return entry;
}

} // namespace

MeshStore::MeshStore(QObject* ip_parent)
    : QObject(ip_parent)
    , _worker([this](const std::stop_token& i_stop) { _Work(i_stop); })
{}

MeshStore::~MeshStore()
{
    _worker.request_stop();
    _worker.join();
}

void MeshStore::Keep(const std::vector<MeshPointer>& i_meshes)
{
    _kept.clear();
    for (const MeshPointer& mesh : i_meshes)
        _kept.emplace(mesh.get(), mesh);
    const auto isGone = [&](const auto& i_item) {
        return !_kept.contains(i_item.first);
    };
    std::erase_if(_entries, isGone);
    std::erase_if(_awaited, isGone);
    for (const MeshPointer& mesh : i_meshes) {
        if (!_entries.contains(mesh.get()))
            _Request(mesh);
    }
    // What nobody waits for any more is not begun.
    const std::lock_guard lock(_mutex);
    std::erase_if(_queue, [&](const MeshPointer& i_mesh) { return !_awaited.contains(i_mesh.get()); });
}

void MeshStore::_Request(const MeshPointer& i_mesh)
{
    if (!_awaited.emplace(i_mesh.get(), i_mesh).second)
        return;
    const std::lock_guard lock(_mutex);
    _queue.push_back(i_mesh);
    _wake.notify_one();
}

const MeshStore::Entry* MeshStore::Find(const TavAM::Mesh& i_mesh) const
{
    const auto entry = _entries.find(&i_mesh);
    return entry == _entries.end() ? nullptr : entry->second.get();
}

void MeshStore::ReleaseForms(const MeshSource& i_source)
{
    // A mesh that went and came back has forms again that were not sent.
    const auto entry = _entries.find(i_source.mesh.get());
    if (entry != _entries.end() && entry->second->forms == i_source.forms)
        entry->second->forms.reset();
}

std::vector<MeshSource> MeshStore::GetSources(const std::vector<MeshPointer>& i_meshes) const
{
    std::vector<MeshSource> sources;
    sources.reserve(i_meshes.size());
    for (const MeshPointer& mesh : i_meshes) {
        const Entry* const entry = Find(*mesh);
        sources.push_back({mesh, entry ? entry->forms : nullptr});
    }
    return sources;
}

void MeshStore::_Work(const std::stop_token& i_stop)
{
    while (!i_stop.stop_requested()) {
        MeshPointer mesh;
        {
            std::unique_lock lock(_mutex);
            if (!_wake.wait(lock, i_stop, [this] { return !_queue.empty(); }))
                return;
            mesh = std::move(_queue.front());
            _queue.pop_front();
        }
        const auto entry = MakeEntry(*mesh, i_stop);
        if (!entry)
            return;
        QMetaObject::invokeMethod(
            this, [this, mesh, entry] { _Take(mesh, entry); }, Qt::QueuedConnection);
    }
}

void MeshStore::_Take(const MeshPointer& i_mesh, const std::shared_ptr<Entry>& i_entry)
{
    // Another mesh may stand at the address of one that is gone.
    const auto awaited = _awaited.find(i_mesh.get());
    if (awaited == _awaited.end())
        return;
    _awaited.erase(awaited);
    _entries[i_mesh.get()] = i_entry;
    Q_EMIT Ready();
}

} // namespace Workbench
