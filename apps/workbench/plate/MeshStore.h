#pragma once

#include "workbench/plate/MeshForms.h"

#include <QObject>

#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace Workbench {

/// The drawn forms of the meshes on the plate, made one after another by a thread of its own; parts that share a mesh
/// share them.
///
/// \code
/// store.Keep(meshesOfAllParts);     // begins what is new, drops what is gone
/// if (const auto* mesh = store.Find(*part.mesh)) ...   // else wait for Ready()
/// \endcode
///
/// Thread: UI thread.
class MeshStore final : public QObject
{
    Q_OBJECT

public:
    using MeshPointer = std::shared_ptr<const TavAM::Mesh>;

    struct Entry
    {
        /// Null once ReleaseForms() said that they are not needed any more.
        std::shared_ptr<const MeshForms> forms;
        CoarseMesh coarse;
        std::size_t triangles = 0; ///< of the full form
    };

    explicit MeshStore(QObject* ip_parent = nullptr);
    /// Waits for the mesh at hand to be given up, some milliseconds.
    ~MeshStore() override;

    void Keep(const std::vector<MeshPointer>& i_meshes);
    /// Null while it is not made yet. Valid until Keep() is called.
    const Entry* Find(const TavAM::Mesh& i_mesh) const;
    /// The forms of these meshes, as far as they are there.
    std::vector<MeshSource> GetSources(const std::vector<MeshPointer>& i_meshes) const;
    /// Once the graphics card has them, they take room for nothing.
    void ReleaseForms(const MeshSource& i_source);
    bool IsBusy() const { return !_awaited.empty(); }

Q_SIGNALS:
    /// One mesh more can be found.
    void Ready();

private:
    void _Work(const std::stop_token& i_stop);
    void _Request(const MeshPointer& i_mesh);
    void _Take(const MeshPointer& i_mesh, const std::shared_ptr<Entry>& i_entry);

    std::map<const TavAM::Mesh*, std::shared_ptr<Entry>> _entries;
    std::map<const TavAM::Mesh*, MeshPointer> _kept;
    std::map<const TavAM::Mesh*, MeshPointer> _awaited;

    std::mutex _mutex; ///< guards _queue
    std::condition_variable_any _wake;
    std::deque<MeshPointer> _queue;
    std::jthread _worker; ///< last: ended before what it uses goes
};

} // namespace Workbench
