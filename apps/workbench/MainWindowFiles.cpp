#include "workbench/MainWindow.h"

#include "workbench/ScenePage.h"
#include "workbench/jobs/DesktopNotice.h"
#include "workbench/jobs/JobsPanel.h"
#include "workbench/machines/MachinesPanel.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateView.h"
#include "workbench/preview/PreviewView.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include "hosting/Host.h"
#include "hosting/MachineIds.h"
#include "tavsdk/Path.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStatusBar>
#include <QTabWidget>
#include <QUrl>

// What the user does with files and scenes, and how the window's parts hear of each other.

namespace Workbench {

namespace {

QStringList GetDroppedFiles(const QMimeData& i_data)
{
    QStringList files;
    for (const QUrl& url : i_data.urls()) {
        if (url.isLocalFile())
            files << url.toLocalFile();
    }
    return files;
}

} // namespace

void MainWindow::_Connect()
{
    _ConnectActions();
    _ConnectScenes();
    _ConnectMachinesAndJobs();
    _FollowSettings();
    _AskAboutImports();
}

void MainWindow::_ConnectActions()
{
    using Id = MainActions::Id;
    const auto on = [this](Id i_id, auto i_slot) {
        connect(_actions->Get(i_id), &QAction::triggered, this, i_slot);
    };
    const auto onScene = [this, &on](Id i_id, auto i_slot) {
        on(i_id, [this, i_slot] {
            if (VexlorCore::DataSet* const scene = _book.GetActive())
                i_slot(*scene);
        });
    };
    on(Id::New, [this] { _book.New(); });
    on(Id::Open, [this] {
        _OpenFiles(tr("Open a platform or a machine file"),
                   tr("Platforms (*.TavAMX);;Machine files (*.gcode *.gco *.g *.nc *.sl1 *.sl1s)"));
    });
    on(Id::Import, [this] {
        QStringList patterns;
        for (const std::string& ending : VexlorCore::GetMeshFileEndings())
            patterns << QLatin1Char('*') + QString::fromStdString(ending);
        _OpenFiles(tr("Import parts"), tr("Meshes (%1)").arg(patterns.join(QLatin1Char(' '))));
    });
    onScene(Id::Save, [this](VexlorCore::DataSet& io_scene) { _Save(io_scene, false); });
    onScene(Id::SaveAs, [this](VexlorCore::DataSet& io_scene) { _Save(io_scene, true); });
    onScene(Id::Copy, [this](VexlorCore::DataSet& io_scene) { _book.Copy(io_scene); });
    onScene(Id::Close, [this](VexlorCore::DataSet& io_scene) { _CloseScene(io_scene); });
    on(Id::Quit, [this] { close(); });
    onScene(Id::Undo, [this](VexlorCore::DataSet& io_scene) { _book.GetHistory().Undo(io_scene); });
    onScene(Id::Redo, [this](VexlorCore::DataSet& io_scene) { _book.GetHistory().Redo(io_scene); });
    on(Id::FindMachine, [this] {
        _machinesDock->show();
        _machinesPanel->FocusSearch();
    });
    on(Id::NewPlatform, [this] { NewPlatform(); });
    on(Id::Detach, [this] { Detach(); });
    on(Id::CancelJob, [this] { CancelJob(); });
    connect(_actions, &MainActions::RecentFileChosen, this, [this](const QString& i_file) { TakeFiles({i_file}); });
}

void MainWindow::_ConnectScenes()
{
    connect(&_book, &SceneBook::Added, this, [this](VexlorCore::DataSet* ip_scene) { _AddPage(*ip_scene); });
    connect(&_book, &SceneBook::Closing, this, [this](VexlorCore::DataSet* ip_scene) { _RemovePage(ip_scene); });
    connect(&_book, &SceneBook::Changed, this, &MainWindow::_ShowScene);
    connect(&_book, &SceneBook::ActiveChanged, this, [this] {
        _ShowActive();
        _ShowAttachments();
    });
    connect(&_book, &SceneBook::BusyChanged, this, &MainWindow::_OpenNext);
    connect(&_book, &SceneBook::Failed, &_boxes, &FailureBoxes::ShowLater);
    connect(&_book, &SceneBook::Imported, this, [this](VexlorCore::DataSet*, int i_parts) {
        statusBar()->showMessage(tr("Parts imported: %1").arg(i_parts), 8000);
    });
    connect(_tabs, &QTabWidget::currentChanged, this, [this](int i_tab) {
        if (auto* const page = qobject_cast<ScenePage*>(_tabs->widget(i_tab)))
            _book.SetActive(&page->GetScene());
    });
    connect(_tabs, &QTabWidget::tabCloseRequested, this, [this](int i_tab) {
        if (auto* const page = qobject_cast<ScenePage*>(_tabs->widget(i_tab)))
            _CloseScene(page->GetScene());
    });
}

void MainWindow::_ConnectMachinesAndJobs()
{
    connect(_machinesPanel, &MachinesPanel::AttachWanted, this, &MainWindow::Attach);
    connect(_machinesPanel, &MachinesPanel::DetachWanted, this, &MainWindow::Detach);
    connect(&_host.GetClient(), &MachineService::CommunicationClient::MachinesChanged, this, [this] {
        for (VexlorCore::DataSet* const scene : _book.GetScenes())
            _ShowScene(scene);
    });
    connect(_jobsPanel, &JobsPanel::CancelWanted, this, &MainWindow::CancelJob);
    connect(_jobsPanel, &JobsPanel::OpenWanted, this,
            [](const QString& i_file) { QDesktopServices::openUrl(QUrl::fromLocalFile(i_file)); });
    connect(&_jobs, &JobList::Begun, this, [this] { _jobsDock->show(); });
    connect(&_jobs, &JobList::Begun, this, &MainWindow::_ShowJob);
    connect(&_jobs, &JobList::Ended, this, [this] {
        if (const JobList::Entry* const job = _jobs.GetNewest())
            TellDesktop(*this, job->title, JobList::GetStateName(*job));
    });
    // Once the command has come back, for whom it still runs now.
    connect(&_jobs, &JobList::Ended, this, &MainWindow::_ShowJob, Qt::QueuedConnection);
    connect(&_boxes, &FailureBoxes::Failed, this, [this](const QString& i_text) {
        if (_jobs.IsRunning())
            _jobs.AddFailure(i_text);
    });
    connect(_ribbon, &PrinterRibbon::RefusalShown, this,
            [this](const QString& i_why) { statusBar()->showMessage(i_why, 8000); });
}

void MainWindow::OfferRecovery()
{
    const std::vector<LeftScene> left = _recovery.TakeLeft();
    if (left.empty())
        return;
    QStringList names;
    for (const LeftScene& scene : left)
        names << scene.name;
    QMessageBox box(
        QMessageBox::Question, tr("Recover scenes"),
        tr("The workbench did not end in order. These scenes were kept: %1.").arg(names.join(QStringLiteral(", "))),
        QMessageBox::NoButton, this);
    const QPushButton* const recover = box.addButton(tr("Recover"), QMessageBox::AcceptRole);
    const QPushButton* const discard = box.addButton(tr("Discard"), QMessageBox::DestructiveRole);
    box.setEscapeButton(box.addButton(tr("Ask again at the next start"), QMessageBox::RejectRole));
    box.exec();
    if (box.clickedButton() == recover) {
        for (const LeftScene& scene : left)
            _book.Recover(scene.copy, scene.file);
        _recovery.RemoveAtEnd(left);
    } else if (box.clickedButton() == discard) {
        RecoveryKeeper::Remove(left);
    }
}

void MainWindow::_OpenFiles(const QString& i_title, const QString& i_filter)
{
    const QString folder = QString::fromUtf8(_preferences.GetWindow(QStringLiteral("folder")));
    const QStringList files = QFileDialog::getOpenFileNames(this, i_title, folder, i_filter);
    if (files.isEmpty())
        return;
    _preferences.SetWindow(QStringLiteral("folder"), QFileInfo(files.front()).absolutePath().toUtf8());
    TakeFiles(files);
}

void MainWindow::TakeFiles(const QStringList& i_files)
{
    QStringList others;
    for (const QString& file : i_files) {
        if (PreviewView::IsMachineFile(TavSDK::PathFromUtf8(file.toUtf8().toStdString())))
            _ShowMachineFile(file);
        else if (file.endsWith(QLatin1String(".json"), Qt::CaseInsensitive))
            _InstallMachine(file);
        else
            others << file;
    }
    if (!others.isEmpty())
        _book.Take(others);
}

void MainWindow::_InstallMachine(const QString& i_file)
{
    const auto answer = std::make_shared<std::future<std::string>>(_host.GetClient().InstallMachine(
        MachineService::ServiceId::BuildProcessors, TavSDK::PathFromUtf8(i_file.toUtf8().toStdString())));
    _background.Run([answer](const std::stop_token& i_stop) { return Await(*answer, i_stop); },
                    [this](const std::string& i_name) {
                        statusBar()->showMessage(
                            tr("The printer '%1' was added to your machines.").arg(QString::fromStdString(i_name)),
                            8000);
                    },
                    [this](const QString& i_sentence) { _boxes.ShowLater(i_sentence); });
}

void MainWindow::_ShowMachineFile(const QString& i_file)
{
    auto* const view = new PreviewView(this);
    view->setWindowFlag(Qt::Window);
    view->setAttribute(Qt::WA_DeleteOnClose);
    view->setWindowTitle(tr("%1 – layers").arg(QFileInfo(i_file).fileName()));
    view->resize(1000, 680);
    // Over the layers lie the parts of the scene that the file is likely to be of.
    if (ScenePage* const page = GetPage()) {
        const PlateBed& bed = page->GetPlate().GetModel().GetBed();
        if (bed.isKnown)
            view->SetBed(QRectF(QPointF(bed.minX, bed.minY), QPointF(bed.maxX, bed.maxY)), bed.isCircular);
        view->SetParts(&page->GetScene());
    }
    view->Open(TavSDK::PathFromUtf8(i_file.toUtf8().toStdString()));
    view->show();
}

bool MainWindow::_Save(VexlorCore::DataSet& io_scene, bool i_under_new_name, std::function<void()> i_done)
{
    QString file = SceneBook::GetFile(io_scene);
    if (file.isEmpty() || i_under_new_name) {
        const std::weak_ptr<VexlorCore::DataSet> weak = io_scene.weak_from_this();
        const QString folder = QString::fromUtf8(_preferences.GetWindow(QStringLiteral("folder")));
        const QString proposal =
            file.isEmpty() ? folder + QLatin1Char('/') + _book.GetName(io_scene) + QStringLiteral(".TavAMX") : file;
        file = QFileDialog::getSaveFileName(this, tr("Save the platform"), proposal, tr("Platforms (*.TavAMX)"));
        if (file.isEmpty() || weak.expired())
            return false;
        if (!SceneBook::IsPlatformFile(file))
            file += QStringLiteral(".TavAMX");
    }
    _book.Save(io_scene, file, std::move(i_done));
    return true;
}

bool MainWindow::_AskAboutUnsaved(VexlorCore::DataSet& io_scene, const std::function<void()>& i_go_on)
{
    if (_book.IsSaved(io_scene))
        return true;
    const std::weak_ptr<VexlorCore::DataSet> weak = io_scene.weak_from_this();
    QMessageBox box(QMessageBox::Question, tr("Not saved"),
                    tr("'%1' has changes that are not saved.").arg(_book.GetName(io_scene)), QMessageBox::NoButton,
                    this);
    const QPushButton* const save = box.addButton(tr("Save"), QMessageBox::AcceptRole);
    const QPushButton* const discard = box.addButton(tr("Do not save"), QMessageBox::DestructiveRole);
    box.setEscapeButton(box.addButton(tr("Stay"), QMessageBox::RejectRole));
    box.exec();
    if (weak.expired() || box.clickedButton() == discard)
        return true;
    if (box.clickedButton() == save)
        _Save(io_scene, false, i_go_on);
    return false;
}

void MainWindow::_CloseScene(VexlorCore::DataSet& io_scene)
{
    const std::weak_ptr<VexlorCore::DataSet> weak = io_scene.weak_from_this();
    const auto close = [this, weak] {
        if (const auto scene = weak.lock(); scene && _host.GetDatabase().Contains(scene.get()))
            _book.Close(*scene);
    };
    if (_AskAboutUnsaved(io_scene, close))
        close();
}

bool MainWindow::_AskAboutJob()
{
    QMessageBox box(QMessageBox::Question, tr("A job is running"),
                    tr("'%1' is still running.").arg(_jobs.GetNewest()->title), QMessageBox::NoButton, this);
    box.setEscapeButton(box.addButton(tr("Stay"), QMessageBox::RejectRole));
    const QPushButton* const finish = box.addButton(tr("Finish, then close"), QMessageBox::AcceptRole);
    const QPushButton* const stop = box.addButton(tr("Stop and close"), QMessageBox::DestructiveRole);
    box.exec();
    if (!_jobs.IsRunning())
        return box.clickedButton() == finish || box.clickedButton() == stop;
    _closesAfterJob = box.clickedButton() == finish || box.clickedButton() == stop;
    if (box.clickedButton() == stop)
        CancelJob();
    return false;
}

void MainWindow::closeEvent(QCloseEvent* ip_event)
{
    // The questions turn the event loop, in which the user may ask to close once more.
    if (std::exchange(_isClosing, true))
        return ip_event->ignore();
    bool isAllowed = true;
    if (_jobs.IsRunning())
        isAllowed = _AskAboutJob();
    for (VexlorCore::DataSet* const scene : _book.GetScenes()) {
        if (isAllowed && _host.GetDatabase().Contains(scene)) {
            _book.SetActive(scene);
            isAllowed = _AskAboutUnsaved(*scene, [this] { close(); });
        }
    }
    _isClosing = false;
    if (!isAllowed)
        return ip_event->ignore();
    _KeepWindow();
    ip_event->accept();
}

void MainWindow::_KeepWindow()
{
    _preferences.SetWindow(QStringLiteral("geometry"), saveGeometry());
    _preferences.SetWindow(QStringLiteral("state"), saveState());
    std::vector<OpenFile> files;
    for (const VexlorCore::DataSet* const scene : _book.GetScenes()) {
        if (const QString file = SceneBook::GetFile(*scene); !file.isEmpty())
            files.push_back({file, _FindPage(scene)->GetPlate().SaveView(), scene == _book.GetActive()});
    }
    _preferences.SetOpenFiles(files);
}

void MainWindow::OpenAgain()
{
    for (const OpenFile& file : _preferences.GetOpenFiles()) {
        // One that is gone by now is no failure of this start.
        if (!QFileInfo::exists(file.path))
            continue;
        _views[file.path] = file.view;
        if (file.isActive)
            _toOpen.push_back(file.path);
        else
            _toOpen.push_front(file.path);
    }
    _OpenNext();
}

void MainWindow::_OpenNext()
{
    // One after the other, because the last one that was opened is the active one.
    if (!_toOpen.isEmpty() && !_book.IsBusy())
        _book.Open(_toOpen.takeFirst());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* ip_event)
{
    if (ip_event->mimeData()->hasFormat(MachineList::GetMimeType()) ||
        !GetDroppedFiles(*ip_event->mimeData()).isEmpty())
        ip_event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* ip_event)
{
    if (ip_event->mimeData()->hasFormat(MachineList::GetMimeType()))
        Attach(QUuid(ip_event->mimeData()->data(MachineList::GetMimeType())));
    else
        TakeFiles(GetDroppedFiles(*ip_event->mimeData()));
    ip_event->acceptProposedAction();
}

} // namespace Workbench
