#pragma once

#include "workbench/MainActions.h"
#include "workbench/access/Keyring.h"
#include "workbench/access/ServiceAccess.h"
#include "workbench/base/Background.h"
#include "workbench/base/LoopWatch.h"
#include "workbench/base/Preferences.h"
#include "workbench/jobs/FailureBoxes.h"
#include "workbench/jobs/JobList.h"
#include "workbench/jobs/JobRecorder.h"
#include "workbench/machines/MachineList.h"
#include "workbench/scene/RecoveryKeeper.h"
#include "workbench/scene/SceneBook.h"

#include <QMainWindow>
#include <QPointer>

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

class QDialog;
class QDockWidget;
class QLabel;
class QStackedWidget;
class QTabWidget;

namespace Hosting {
class Host;
}
namespace MachineService {
class IPlatformCreator;
}

namespace Workbench {

class EmptyState;
class JobsPanel;
class MachinesPanel;
struct PlatformForm;
class PostedJobs;
class PostedPanel;
class PrinterRibbon;
class ScenePage;

/// The window: puts its parts together.
///
/// Thread: UI thread. Commands and platforms are run under an event loop that turns, so that everything may happen
/// meanwhile.
/// Ownership: host and preferences must outlive the window.
class MainWindow final : public QMainWindow
{
    Q_OBJECT

public:
    /// \param i_recovery_folder where scenes are kept for the case that the program does not end in order.
    MainWindow(Hosting::Host& io_host, Preferences& io_preferences, const QString& i_recovery_folder);
    ~MainWindow() override;

    SceneBook& GetBook() { return _book; }
    JobList& GetJobs() { return _jobs; }
    MachineList& GetMachines() { return _machines; }
    MainActions& GetActions() { return *_actions; }
    PrinterRibbon& GetRibbon() { return *_ribbon; }
    FailureBoxes& GetBoxes() { return _boxes; }
    LoopWatch& GetLoopWatch() { return _watch; }
    Preferences& GetPreferences() { return _preferences; }
    /// Of the Machine Manager; null while it is not used.
    PostedJobs* GetPostedJobs() const { return _postedJobs; }
    /// It runs and tells its jobs, or it is told that it does not; so while it is not used.
    bool IsManagerSettled() const;
    /// Of the active scene; null when there is none.
    ScenePage* GetPage() const;

    /// Asks about what an earlier run left behind; nothing when there is nothing.
    void OfferRecovery();

    /// Machine files are shown, printer profiles go to the service, everything else to the scenes. Full paths.
    void TakeFiles(const QStringList& i_files);
    /// Opens the files that were open when the window was closed last, each looked at as then.
    void OpenAgain();

    /// Attaches the machine to the active scene, or to a new one.
    void Attach(const QUuid& i_machine);
    void Detach();
    /// Asks the machine what it offers, then the user.
    void NewPlatform();
    /// A command of the ribbon by its id; one that is refused is not run.
    void RunCommand(const QString& i_id);
    void CancelJob();

protected:
    void closeEvent(QCloseEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;
    void dragEnterEvent(QDragEnterEvent* ip_event) override;
    void dropEvent(QDropEvent* ip_event) override;
    void showEvent(QShowEvent* ip_event) override;
    bool eventFilter(QObject* ip_object, QEvent* ip_event) override;

private:
    void _MakeDocks();
    void _MakeStart();
    void _Connect();
    void _ConnectActions();
    void _ConnectScenes();
    void _ConnectMachinesAndJobs();
    void _AskAboutImports();
    void _FollowMachines();
    /// Once, when there is something to see. Nothing here waits for them.
    void _BeginServices();
    /// Asks the user where a service on another computer needs a word of theirs.
    void _FollowServices();
    void _ShowQuestion();
    QDialog* _MakeQuestion(const ServiceAccess::Question& i_question);
    void _SetTexts();
    QDockWidget* _AddDock(const QString& i_name, Qt::DockWidgetArea i_area, QWidget* ip_panel);

    void _AddPage(VexlorCore::DataSet& io_scene);
    void _RemovePage(const VexlorCore::DataSet* ip_scene);
    ScenePage* _FindPage(const VexlorCore::DataSet* ip_scene) const;
    void _ShowScene(VexlorCore::DataSet* ip_scene);
    /// The estimates that the scene carries are of the scene as it stands.
    void _NoteEstimates(const VexlorCore::DataSet& i_scene);
    void _ShowActive();
    /// What can be done on the plate stands in the menus as well.
    void _ShowPlateActions(ScenePage* ip_page);
    void _ShowAttachments();
    void _ShowJob();

    void _OpenFiles(const QString& i_title, const QString& i_filter);
    void _ShowMachineFile(const QString& i_file);
    void _InstallMachine(const QString& i_profile);
    bool _Save(VexlorCore::DataSet& io_scene, bool i_under_new_name, std::function<void()> i_done = {});
    void _CloseScene(VexlorCore::DataSet& io_scene);
    /// \return whether closing may go on now; a save begun by the user goes on by itself when it is done.
    bool _AskAboutUnsaved(VexlorCore::DataSet& io_scene, const std::function<void()>& i_go_on);
    bool _AskAboutJob();
    void _ShowShortcuts();
    void _ShowSettings();
    void _ShowSupportReport();
    void _FollowSettings();
    /// The action that uses the Machine Manager; away where this program is built without one.
    void _MakeManager();
    /// As the preferences say: its service, its machines and the panel with the jobs.
    void _UseManager();
    void _StartManager();
    void _NoteManager(MachineService::ServiceStatus i_status);
    void _MakePostedPanel();
    void _RemovePostedPanel();
    void _SavePosted(const QString& i_job, const QString& i_name);
    void _KeepWindow();
    void _OpenNext();
    QString _MakePlatform(MachineService::IPlatformCreator& io_creator, const PlatformForm& i_form, int i_parts);

    Hosting::Host& _host;
    Preferences& _preferences;
    LoopWatch _watch;
    SceneBook _book;
    RecoveryKeeper _recovery;
    JobList _jobs;
    std::shared_ptr<JobRecorder> _recorder;
    FailureBoxes _boxes;
    MachineList _machines;
    Keyring _keyring;
    ServiceAccess _access;
    QPointer<QDialog> _question; ///< about a service
    MainActions* _actions;
    PrinterRibbon* _ribbon;
    QStackedWidget* _pages;
    EmptyState* _start;
    QTabWidget* _tabs;
    MachinesPanel* _machinesPanel;
    JobsPanel* _jobsPanel;
    QStackedWidget* _sides; ///< beside the plates: one for no scene, then one for each
    EmptyState* _noSide;
    QDockWidget* _machinesDock;
    QDockWidget* _jobsDock;
    QDockWidget* _sideDock;
    QDockWidget* _postedDock = nullptr; ///< and what is in it: null while the Machine Manager is not used
    PostedJobs* _postedJobs = nullptr;
    PostedPanel* _postedPanel = nullptr;
    QLabel* _status;
    std::map<const VexlorCore::DataSet*, std::uint64_t> _estimated; ///< state of the scene that its estimates are of
    QStringList _toOpen;                                            ///< again; the active one last
    QMap<QString, QByteArray> _views;                               ///< of files that are opened again, by path
    QPointer<ScenePage> _pageOfMenus;
    std::vector<QPointer<QAction>> _plateActions; ///< in the menus now
    /// Also machines that the rule leaves out; read by the services' threads.
    const std::shared_ptr<std::atomic<bool>> _showsAll = std::make_shared<std::atomic<bool>>(false);
    /// Its machines are there; read by the services' threads.
    const std::shared_ptr<std::atomic<bool>> _hasManager = std::make_shared<std::atomic<bool>>(false);
    bool _haveServicesBegun = false;
    bool _isManagerStarting = false;
    bool _closesAfterJob = false;
    bool _isClosing = false;
    Background _background; ///< goes first, before what its work tells of its end
};

} // namespace Workbench
