#pragma once

#include "tavam/Platform.h"
#include "vexlorcore/DataSet.h"
#include "vexlorcore/Listener.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace VexlorCore {
class Application;
}

namespace Workbench {

/// Tells one state of a scene from another: everything that its file keeps. Meshes count by identity, so that it is
/// quick; a part that was given an equal mesh counts as changed.
std::uint64_t GetFingerprint(const TavAM::Platform& i_platform);

/// Undo and redo of each scene by itself, over the one history of the host, and whether a scene differs from its file.
///
/// Whoever runs an operation through the host's operation manager gets an undo step; the scene that it changed is found
/// out here.
///
/// Thread: UI thread.
/// Ownership: the application must outlive it.
class SceneHistory final : public QObject, private VexlorCore::MListener
{
    Q_OBJECT

public:
    explicit SceneHistory(VexlorCore::Application& io_application, QObject* ip_parent = nullptr);

    /// What would be undone or redone; empty when there is nothing.
    std::optional<QString> GetUndoName(const VexlorCore::DataSet* ip_scene) const;
    std::optional<QString> GetRedoName(const VexlorCore::DataSet* ip_scene) const;
    void Undo(VexlorCore::DataSet& io_scene);
    void Redo(VexlorCore::DataSet& io_scene);

    /// Steps that could be undone.
    std::size_t CountSteps(const VexlorCore::DataSet* ip_scene) const;
    /// The newest step is called so from now on, in place of its operation's name.
    void NameNewest(const VexlorCore::DataSet* ip_scene, const QString& i_name);

    /// The state that the file holds.
    void SetSaved(const VexlorCore::DataSet& i_scene, std::uint64_t i_fingerprint);
    /// True also after an undo back to the saved state: nothing is lost by closing then.
    bool IsSaved(const VexlorCore::DataSet& i_scene) const;
    /// Looks for changes that no operation made, such as another printer.
    void Look(const VexlorCore::DataSet& i_scene);

Q_SIGNALS:
    /// Steps, or whether it is as in its file.
    void Changed(VexlorCore::DataSet* ip_scene);

private:
    struct Record
    {
        const VexlorCore::DataSet* owner = nullptr;
        QString name; ///< empty: its operation's
    };
    struct Step
    {
        QString name;
        std::uint32_t actions = 0;
        TavAM::Platform platform;
    };
    struct Scene
    {
        std::uint64_t current = 0;
        std::uint64_t saved = 0;
        std::vector<Step> redo;
    };

    void ExecuteSelf(const VexlorCore::INotification& i_notification) override;
    void _Follow();
    /// Index in the host's history; empty when there is no step of the scene.
    std::optional<std::size_t> _FindStep(const VexlorCore::DataSet* ip_scene) const;
    Scene& _Get(const VexlorCore::DataSet& i_scene);

    VexlorCore::Application& _application;
    std::map<const VexlorCore::DataSet*, Scene> _scenes;
    /// Of each record of the host's history, as far as it was followed.
    std::vector<Record> _records;
    bool _isStepping = false; ///< an undo or redo of ours
};

} // namespace Workbench
