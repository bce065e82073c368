#include "workbench/MainWindow.h"

#include "workbench/posted/ManagerSource.h"
#include "workbench/posted/PostedJobs.h"
#include "workbench/posted/PostedPanel.h"

#include "hosting/Host.h"
#include "hosting/HostingError.h"

#include <QDesktopServices>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QStatusBar>

// The Machine Manager: nothing of it is started or asked before the user wants it.

namespace Workbench {

void MainWindow::_MakeManager()
{
    QAction* const use = _actions->Get(MainActions::UseManager);
    use->setCheckable(true);
    use->setChecked(_preferences.UsesManager());
    connect(use, &QAction::toggled, this, [this](bool i_uses) {
        _preferences.SetUsesManager(i_uses);
        _UseManager();
        if (_postedDock) {
            _postedDock->show();
            _postedDock->raise();
        }
    });
    connect(&_host.GetClient(), &MachineService::CommunicationClient::ServiceStatusChanged, this,
            [this](MachineService::ServiceId i_service, MachineService::ServiceStatus i_status) {
                if (i_service == MachineService::ServiceId::MachineManager)
                    _NoteManager(i_status);
            });
    if (_preferences.UsesManager())
        _UseManager();
}

void MainWindow::_UseManager()
{
    const bool uses = _preferences.UsesManager();
    if (_hasManager->exchange(uses) == uses)
        return;
    if (uses) {
        _MakePostedPanel();
        _StartManager();
    } else {
        // The manager itself goes on with its jobs.
        _isManagerStarting = false;
        _RemovePostedPanel();
    }
    _host.GetClient().InvalidateProxyMachineCatalog();
}

bool MainWindow::IsManagerSettled() const
{
    return !_isManagerStarting && (!_postedJobs || _postedJobs->GetState() != PostedJobs::State::Starting);
}

void MainWindow::_StartManager()
{
    _isManagerStarting = true;
    QString why;
    try {
        if (!_host.StartManager())
            why = tr("The Machine Manager cannot be started: this program has none. Use another machine.");
    } catch (const Hosting::HostingError& failure) {
        why = QString::fromUtf8(failure.what());
    }
    if (why.isEmpty())
        return;
    _isManagerStarting = false;
    _postedJobs->SetAway(why);
    _boxes.ShowLater(why);
}

void MainWindow::_NoteManager(MachineService::ServiceStatus i_status)
{
    using MachineService::ServiceStatus;
    if (i_status == ServiceStatus::Running)
        _isManagerStarting = false;
    // What is lost later is found again, and shown where its machines and jobs are meanwhile.
    if (i_status != ServiceStatus::Failed || !std::exchange(_isManagerStarting, false))
        return;
    const QString reason = _host.GetServiceReason(MachineService::ServiceId::MachineManager);
    const QString why = reason.isEmpty() ? tr("The Machine Manager did not start. Try it again.") : reason;
    if (_postedJobs)
        _postedJobs->SetAway(why);
    _boxes.ShowLater(why);
}

void MainWindow::_MakePostedPanel()
{
    _postedJobs = new PostedJobs(MakeOwnManagerSource());
    _postedPanel = new PostedPanel(*_postedJobs, this);
    _postedDock = new QDockWidget(this);
    _postedDock->setObjectName(QStringLiteral("posted"));
    _postedDock->setWidget(_postedPanel);
    // Where it was last, which is asked before it has a place.
    if (!restoreDockWidget(_postedDock)) {
        addDockWidget(Qt::BottomDockWidgetArea, _postedDock);
        tabifyDockWidget(_jobsDock, _postedDock);
        resizeDocks({_postedDock}, {256}, Qt::Vertical);
    }
    _actions->GetMenu(MainActions::PanelsMenu)->addAction(_postedDock->toggleViewAction());
    _postedDock->setWindowTitle(tr("My jobs"));
    connect(_postedPanel, &PostedPanel::StartWanted, this, [this] {
        statusBar()->showMessage(tr("The Machine Manager is being started."), 8000);
        _StartManager();
    });
    connect(_postedPanel, &PostedPanel::SaveWanted, this, &MainWindow::_SavePosted);
    connect(_postedJobs, &PostedJobs::Arrived, this, [this](const QString& i_job) {
        _postedDock->show();
        _postedDock->raise();
        _postedPanel->Select(i_job);
    });
    connect(_postedJobs, &PostedJobs::Failed, &_boxes, &FailureBoxes::ShowLater);
    connect(_postedJobs, &PostedJobs::Saved, this, [this](const QString& i_file) {
        statusBar()->showMessage(tr("'%1' was saved.").arg(QFileInfo(i_file).fileName()), 8000);
    });
    connect(_postedJobs, &PostedJobs::PageMade, this, [this](const QUrl& i_address) {
        const bool isWeb = i_address.scheme() == QLatin1String("http") || i_address.scheme() == QLatin1String("https");
        if (!isWeb || !QDesktopServices::openUrl(i_address))
            _boxes.ShowLater(tr("The page of the job cannot be opened: no browser took its address. Set a browser as "
                                "the desktop's own."));
    });
}

void MainWindow::_RemovePostedPanel()
{
    delete std::exchange(_postedDock, nullptr);
    _postedPanel = nullptr; // it was in the dock
    delete std::exchange(_postedJobs, nullptr);
}

void MainWindow::_SavePosted(const QString& i_job, const QString& i_name)
{
    const QString folder = QString::fromUtf8(_preferences.GetWindow(QStringLiteral("folder")));
    const QString file = QFileDialog::getSaveFileName(this, tr("Save the machine file"),
                                                      folder + QLatin1Char('/') + QFileInfo(i_name).fileName());
    if (file.isEmpty() || !_postedJobs)
        return;
    _preferences.SetWindow(QStringLiteral("folder"), QFileInfo(file).absolutePath().toUtf8());
    _postedJobs->SaveMachineFile(i_job, file);
}

} // namespace Workbench
