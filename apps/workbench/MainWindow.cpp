#include "workbench/MainWindow.h"

#include "workbench/ScenePage.h"
#include "workbench/jobs/JobsPanel.h"
#include "workbench/look/EmptyState.h"
#include "workbench/look/LineIcon.h"
#include "workbench/machines/MachinesPanel.h"
#include "workbench/plate/PlateView.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include "catalog/PrinterAttachment.h"
#include "hosting/Host.h"
#include "hosting/HostingError.h"
#include "hosting/MachineIds.h"
#include "tavsdk/Path.h"
#include "vexlorcore/meshimport/MeshImporter.h"

#include <QDesktopServices>
#include <QDockWidget>
#include <QEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QUrl>

namespace Workbench {

MainWindow::MainWindow(Hosting::Host& io_host, Preferences& io_preferences, const QString& i_recovery_folder)
    : _host(io_host)
    , _preferences(io_preferences)
    , _book(io_host, io_preferences)
    , _recovery(_book, i_recovery_folder)
    , _recorder(std::make_shared<JobRecorder>(
          _jobs,
          [this] {
              VexlorCore::DataSet* const scene = _book.GetActive();
              const auto machine = _host.GetClient().TryGetPrinter(scene);
              return std::pair(machine ? QString::fromStdString(machine->GetMachineData().name) : QString(),
                               scene ? _book.GetName(*scene) : QString());
          }))
    , _boxes(*this)
    , _machines(io_host.GetClient(), io_preferences)
    , _access(_keyring, [&io_host](auto i_service,
                                   const auto& i_data) { io_host.GetClient().SetAuthentication(i_service, i_data); })
    , _actions(new MainActions(*this, io_preferences))
    , _ribbon(new PrinterRibbon(
          io_host, [this](const QString& i_id) { RunCommand(i_id); }, this))
    , _pages(new QStackedWidget(this))
    , _start(new EmptyState(QStringLiteral("build"), this))
    , _tabs(new QTabWidget(this))
    , _machinesPanel(new MachinesPanel(_machines, io_preferences, this))
    , _jobsPanel(new JobsPanel(_jobs, this))
    , _sides(new QStackedWidget(this))
    , _noSide(new EmptyState(QStringLiteral("parts"), this))
    , _machinesDock(nullptr)
    , _jobsDock(nullptr)
    , _sideDock(nullptr)
    , _status(new QLabel(this))
{
    setMinimumSize(640, 420);
    resize(1280, 800);
    setAcceptDrops(true);
    setDockOptions(AnimatedDocks | AllowTabbedDocks);
    addToolBar(Qt::TopToolBarArea, _ribbon);
    _tabs->setDocumentMode(true);
    _tabs->setTabsClosable(true);
    _tabs->setMovable(true);
    _MakeStart();
    _pages->addWidget(_start);
    _pages->addWidget(_tabs);
    _sides->addWidget(_noSide);
    setCentralWidget(_pages);
    _MakeDocks();
    statusBar()->addPermanentWidget(_status);
    io_host.GetApiProvider().SetProgressDisplay(_recorder);
    io_host.GetApiProvider().SetOpenDocumentHandler([this](VexlorCore::DataSet&, const std::filesystem::path& i_path) {
        _jobs.AddFile(QString::fromStdString(TavSDK::ShowPath(i_path)));
    });
    _Connect();
    _SetTexts();
    _ShowActive();
    restoreGeometry(io_preferences.GetWindow(QStringLiteral("geometry")));
    restoreState(io_preferences.GetWindow(QStringLiteral("state")));
    _FollowServices();
    _FollowMachines();
    _MakeManager();
}

MainWindow::~MainWindow()
{
    _host.SetMachineRule({});
    _host.SetCertificateQuestion({});
    _host.GetApiProvider().SetProgressDisplay(nullptr);
    _host.GetApiProvider().SetOpenDocumentHandler({});
    // Pages hear of their scenes; they go before what they hear it from.
    disconnect(&_book, nullptr, this, nullptr);
    while (_tabs->count() > 0)
        delete _tabs->widget(0);
    delete _ribbon;
    _RemovePostedPanel();
}

QDockWidget* MainWindow::_AddDock(const QString& i_name, Qt::DockWidgetArea i_area, QWidget* ip_panel)
{
    auto* const dock = new QDockWidget(this);
    dock->setObjectName(i_name);
    dock->setWidget(ip_panel);
    addDockWidget(i_area, dock);
    _actions->GetMenu(MainActions::PanelsMenu)->addAction(dock->toggleViewAction());
    return dock;
}

void MainWindow::_MakeDocks()
{
    // The sides keep their whole height; jobs lie below the plate.
    setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    _machinesDock = _AddDock(QStringLiteral("machines"), Qt::LeftDockWidgetArea, _machinesPanel);
    _sideDock = _AddDock(QStringLiteral("parts"), Qt::RightDockWidgetArea, _sides);
    _jobsDock = _AddDock(QStringLiteral("jobs"), Qt::BottomDockWidgetArea, _jobsPanel);
    resizeDocks({_machinesDock, _sideDock}, {300, 290}, Qt::Horizontal);
    resizeDocks({_jobsDock}, {180}, Qt::Vertical);
}

void MainWindow::_MakeStart()
{
    auto* const open = new QPushButton(MakeLineIcon(QStringLiteral("open")), QString(), _start);
    open->setObjectName(QStringLiteral("startOpen"));
    auto* const import = new QPushButton(MakeLineIcon(QStringLiteral("import")), QString(), _start);
    import->setObjectName(QStringLiteral("startImport"));
    connect(open, &QPushButton::clicked, _actions->Get(MainActions::Open), &QAction::trigger);
    connect(import, &QPushButton::clicked, _actions->Get(MainActions::Import), &QAction::trigger);
    _start->AddWidget(import);
    _start->AddWidget(open);
}

void MainWindow::_SetTexts()
{
    _actions->SetTexts();
    _start->SetTexts(tr("Begin with your parts"),
                     tr("Drop mesh files (%1) or a platform (.TavAMX) here, then choose a machine on the left.")
                         .arg(QString::fromStdString(VexlorCore::ListMeshFormats())));
    _noSide->SetTexts(tr("No parts yet"),
                      tr("The parts of the scene, their places and their problems are shown here."));
    _start->findChild<QPushButton*>(QStringLiteral("startOpen"))->setText(tr("Open a platform…"));
    _start->findChild<QPushButton*>(QStringLiteral("startImport"))->setText(tr("Import parts…"));
    _machinesDock->setWindowTitle(tr("Machines"));
    _sideDock->setWindowTitle(tr("Parts"));
    _jobsDock->setWindowTitle(tr("Jobs"));
    if (_postedDock)
        _postedDock->setWindowTitle(tr("My jobs"));
    _tabs->setAccessibleName(tr("Open scenes"));
    for (VexlorCore::DataSet* const scene : _book.GetScenes())
        _ShowScene(scene);
    _ShowActive();
}

void MainWindow::changeEvent(QEvent* ip_event)
{
    QMainWindow::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange && _machinesDock)
        _SetTexts();
}

ScenePage* MainWindow::_FindPage(const VexlorCore::DataSet* ip_scene) const
{
    for (int tab = 0; tab < _tabs->count(); ++tab) {
        auto* const page = qobject_cast<ScenePage*>(_tabs->widget(tab));
        if (page && &page->GetScene() == ip_scene)
            return page;
    }
    return nullptr;
}

ScenePage* MainWindow::GetPage() const
{
    return _FindPage(_book.GetActive());
}

void MainWindow::_AddPage(VexlorCore::DataSet& io_scene)
{
    auto* const page = new ScenePage(io_scene, _preferences, _tabs);
    connect(page, &ScenePage::ChooseMachineWanted, _actions->Get(MainActions::FindMachine), &QAction::trigger);
    connect(page, &ScenePage::NewPlatformWanted, this, &MainWindow::NewPlatform);
    _sides->addWidget(page->GetSide());
    const QSignalBlocker blocker(_tabs);
    page->GetPlate().RestoreView(_views.take(SceneBook::GetFile(io_scene)));
    _tabs->addTab(page, QString());
    _NoteEstimates(io_scene);
    _ShowScene(&io_scene);
}

void MainWindow::_RemovePage(const VexlorCore::DataSet* ip_scene)
{
    ScenePage* const page = _FindPage(ip_scene);
    _estimated.erase(ip_scene);
    if (!page)
        return;
    const QSignalBlocker blocker(_tabs);
    _tabs->removeTab(_tabs->indexOf(page));
    delete page;
}

void MainWindow::_ShowScene(VexlorCore::DataSet* ip_scene)
{
    ScenePage* const page = _FindPage(ip_scene);
    if (!page)
        return;
    const QString name = _book.GetName(*ip_scene);
    const bool isSaved = _book.IsSaved(*ip_scene);
    const int tab = _tabs->indexOf(page);
    QString title = isSaved ? name : tr("%1 *").arg(name);
    _tabs->setTabText(tab, title.replace(QLatin1Char('&'), QLatin1String("&&")));
    const QString file = SceneBook::GetFile(*ip_scene);
    _tabs->setTabToolTip(tab, isSaved ? file : tr("%1 (not saved)").arg(file.isEmpty() ? name : file));
    const auto machine = _host.GetClient().TryGetPrinter(ip_scene);
    QUuid named;
    try {
        if (const auto id = MachineService::Utilities::GetNamedMachineId(ip_scene))
            named = Hosting::ToQUuid(*id);
    } catch (const std::exception&) {
        // An id that cannot be read names no machine.
    }
    const bool isThere = machine && _host.GetClient().TryGetPrinterById(named);
    const QModelIndex known = _machines.Find(named);
    page->Show(isThere ? &*machine : nullptr, !named.isNull() && !isThere,
               known.isValid() ? known.data().toString()
               : machine       ? QString::fromStdString(machine->GetMachineData().name)
                               : tr("The machine"));
    const auto estimated = _estimated.find(ip_scene);
    page->SetEstimatesOld(estimated != _estimated.end() &&
                          estimated->second != GetFingerprint(ip_scene->GetPlatform()));
    if (ip_scene == _book.GetActive())
        _ShowActive();
}

void MainWindow::_ShowActive()
{
    VexlorCore::DataSet* const scene = _book.GetActive();
    ScenePage* const page = GetPage();
    _pages->setCurrentIndex(_tabs->count() > 0 ? 1 : 0);
    if (page) {
        const QSignalBlocker blocker(_tabs);
        _tabs->setCurrentWidget(page);
        _sides->setCurrentWidget(page->GetSide());
    }
    if (!page)
        _sides->setCurrentWidget(_noSide);
    _ShowPlateActions(page);
    for (const auto id : {MainActions::Save, MainActions::SaveAs, MainActions::Copy, MainActions::Close})
        _actions->Get(id)->setEnabled(scene != nullptr);
    const bool hasMachine = scene && _host.GetClient().TryGetPrinter(scene).has_value();
    _actions->Get(MainActions::NewPlatform)->setEnabled(hasMachine && !_jobs.IsRunning());
    _actions->Get(MainActions::Detach)->setEnabled(hasMachine);
    _actions->SetUndo(_book.GetHistory().GetUndoName(scene).value_or(QString()),
                      _book.GetHistory().GetRedoName(scene).value_or(QString()));
    const QString title = tr("Workbench");
    setWindowModified(scene && !_book.IsSaved(*scene));
    setWindowTitle(scene ? tr("%1[*] – %2").arg(_book.GetName(*scene), title) : title);
    _status->setText(!scene ? QString() : tr("Parts: %1").arg(scene->GetParts().size()));
}

void MainWindow::_ShowPlateActions(ScenePage* ip_page)
{
    if (_pageOfMenus == ip_page)
        return;
    _pageOfMenus = ip_page;
    using Menu = MainActions::MenuId;
    for (const QPointer<QAction>& action : std::exchange(_plateActions, {})) {
        for (const Menu menu : {Menu::EditMenu, Menu::ViewMenu}) {
            if (action)
                _actions->GetMenu(menu)->removeAction(action);
        }
        if (action && action->isSeparator())
            delete action;
    }
    if (!ip_page)
        return;
    const auto add = [this](Menu i_menu, const QList<QAction*>& i_actions) {
        _plateActions.emplace_back(_actions->GetMenu(i_menu)->addSeparator());
        for (QAction* const action : i_actions) {
            _actions->GetMenu(i_menu)->addAction(action);
            _plateActions.emplace_back(action);
        }
    };
    add(Menu::EditMenu, ip_page->GetPlate().GetEditActions());
    add(Menu::ViewMenu, ip_page->GetPlate().GetViewActions());
}

void MainWindow::_ShowAttachments()
{
    QHash<QUuid, QString> attached;
    QUuid active;
    for (VexlorCore::DataSet* const scene : _book.GetScenes()) {
        try {
            const auto id = MachineService::Utilities::GetNamedMachineId(scene);
            if (!id)
                continue;
            const auto machine = _host.GetClient().TryGetPrinter(scene);
            const auto* const named = scene->GetPlatform().GetMachine();
            attached.insert(Hosting::ToQUuid(*id), machine ? QString::fromStdString(machine->GetMachineData().name)
                                                   : named ? QString::fromStdWString(named->name)
                                                           : tr("Machine of '%1'").arg(_book.GetName(*scene)));
            if (scene == _book.GetActive())
                active = Hosting::ToQUuid(*id);
        } catch (const std::exception&) {
            // An id that cannot be read names no machine.
        }
    }
    _machines.SetAttached(attached, active);
}

} // namespace Workbench
