#pragma once

#include "workbench/base/Background.h"
#include "workbench/base/Preferences.h"
#include "workbench/scene/ImportQuestions.h"
#include "workbench/scene/SceneHistory.h"

#include "vexlorcore/DataSet.h"
#include "vexlorcore/Listener.h"

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace Hosting {
class Host;
}

namespace Workbench {

/// The open scenes as documents: files, names, unsaved marks, imports. Files are read and written off the UI thread.
///
/// Thread: UI thread.
/// Ownership: host and preferences must outlive it.
class SceneBook final : public QObject, private VexlorCore::MListener
{
    Q_OBJECT

public:
    SceneBook(Hosting::Host& io_host, Preferences& io_preferences, QObject* ip_parent = nullptr);

    std::vector<VexlorCore::DataSet*> GetScenes() const;
    VexlorCore::DataSet* GetActive() const;
    void SetActive(VexlorCore::DataSet* ip_scene);
    SceneHistory& GetHistory() { return _history; }

    /// Name of its file, or what it is called until it has one.
    QString GetName(const VexlorCore::DataSet& i_scene) const;
    /// Full path; empty for a scene that was never saved.
    static QString GetFile(const VexlorCore::DataSet& i_scene);
    bool IsSaved(const VexlorCore::DataSet& i_scene) const { return _history.IsSaved(i_scene); }
    /// Where a machine that the scene is attached to builds; what is imported is put there.
    MachineService::BuildVolume GetVolume(VexlorCore::DataSet& io_scene) const;

    /// Becomes the active one.
    VexlorCore::DataSet& New();
    /// As New; with everything of the scene and no file.
    void Copy(VexlorCore::DataSet& io_scene);
    void Close(VexlorCore::DataSet& io_scene);
    /// A file that is open already becomes the active scene. Platform files only.
    void Open(const QString& i_file);
    /// Opens what was kept of a scene; it counts as not saved.
    /// \param i_file that the scene was saved to; empty: never.
    void Recover(const QString& i_copy, const QString& i_file);
    /// \param i_done called when it is on the disk.
    void Save(VexlorCore::DataSet& io_scene, const QString& i_file, std::function<void()> i_done = {});

    /// Mesh files into the scene, all of them in one undo step.
    void Import(VexlorCore::DataSet& io_scene, const QStringList& i_files);
    /// Platform files are opened, mesh files imported into the active scene, or into a new one.
    void Take(const QStringList& i_files);
    static bool IsPlatformFile(const QString& i_file);
    static bool IsMeshFile(const QString& i_file);

    /// Asked with a file without a unit and the factors to choose from; empty: the file is left out. Without it the
    /// first factor is taken.
    using AskUnit = std::function<std::optional<double>(const ImportedFile&, const std::vector<double>&)>;
    void SetAskUnit(AskUnit i_ask) { _askUnit = std::move(i_ask); }
    /// Asked whether parts that are too large are scaled by this factor. Without it they are not.
    using AskScale = std::function<bool(const std::vector<TavAM::Part>&, double)>;
    void SetAskScale(AskScale i_ask) { _askScale = std::move(i_ask); }

    /// Files that are being read or written.
    bool IsBusy() const { return _background.GetPending() > 0; }

Q_SIGNALS:
    void Added(VexlorCore::DataSet* ip_scene);
    void Closing(VexlorCore::DataSet* ip_scene);
    /// Name, unsaved mark or steps.
    void Changed(VexlorCore::DataSet* ip_scene);
    void ActiveChanged(VexlorCore::DataSet* ip_scene);
    /// One sentence for the user.
    void Failed(const QString& i_sentence);
    void Imported(VexlorCore::DataSet* ip_scene, int i_parts);
    void BusyChanged(bool i_is_busy);

private:
    void ExecuteSelf(const VexlorCore::INotification& i_notification) override;
    void _Add(VexlorCore::DataSet& io_scene, TavAM::Platform i_platform, const QString& i_file);
    void _Read(const QString& i_file, std::function<void(TavAM::Platform)> i_done);
    void _TakeIn(VexlorCore::DataSet& io_scene, std::vector<ImportedFile> i_files);

    Hosting::Host& _host;
    Preferences& _preferences;
    SceneHistory _history;
    AskUnit _askUnit;
    AskScale _askScale;
    std::map<const VexlorCore::DataSet*, int> _numbers; ///< of scenes without a file
    int _lastNumber = 0;
    QSet<QString> _reading; ///< files
    Background _background; ///< last, so that it goes first
};

} // namespace Workbench
