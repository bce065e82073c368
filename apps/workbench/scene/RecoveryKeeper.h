#pragma once

#include "workbench/base/Background.h"

#include <QElapsedTimer>
#include <QLockFile>
#include <QObject>
#include <QString>
#include <QTimer>

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

class SceneBook;

/// What a run that did not end in order left of a scene.
struct LeftScene
{
    QString copy;   ///< platform file to open
    QString name;   ///< what the scene was called
    QString file;   ///< that it was saved to; empty: never
    QString folder; ///< of that run
};

/// Keeps a copy of every scene that is not saved: after each command, and otherwise at most once in the pause. Copies
/// are written off the UI thread and go when their scene is saved or closed.
///
/// Thread: UI thread.
/// Ownership: the book must outlive it. A folder that cannot be written costs the copies only.
class RecoveryKeeper final : public QObject
{
    Q_OBJECT

public:
    /// \param i_folder of all runs; each has its own folder in it, which is locked while the run lives.
    RecoveryKeeper(SceneBook& io_book, const QString& i_folder,
                   std::chrono::milliseconds i_pause = std::chrono::minutes(2));
    /// The run ends in order: its copies go.
    ~RecoveryKeeper() override;

    /// Of runs that live no more. Their folders are this run's from now on.
    std::vector<LeftScene> TakeLeft();
    /// When nobody needs them any more.
    static void Remove(const std::vector<LeftScene>& i_left);
    /// They were opened: when this run ends in order, its own copies count.
    void RemoveAtEnd(std::vector<LeftScene> i_left) { _atEnd = std::move(i_left); }
    /// A command has ended: what it changed is kept at once.
    void KeepNow();

private:
    void _Follow(VexlorCore::DataSet* ip_scene);
    void _Forget(const VexlorCore::DataSet* ip_scene);
    /// When there is something to keep: most runs end without. A place that could not be written is tried again.
    bool _TryMakeFolder();
    void _Write();

    SceneBook& _book;
    const QString _parent;
    const QString _folder;            ///< of this run
    std::unique_ptr<QLockFile> _lock; ///< of the folder; null while there is none
    bool _hasWarned = false;
    std::vector<std::unique_ptr<QLockFile>> _taken;
    std::vector<LeftScene> _atEnd;
    std::map<const VexlorCore::DataSet*, QString> _copies;
    std::set<const VexlorCore::DataSet*> _changed; ///< since their copy
    QTimer _pause;
    std::unique_ptr<Background> _background = std::make_unique<Background>(); ///< goes first
};

} // namespace Workbench
