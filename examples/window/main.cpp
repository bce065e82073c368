// The smallest host with a window: machines on the left, the chosen one's commands above, what it does below.
// Usage: window MESH [ID]   ID is a command to run once the first machine allows it, for example Print3D.Print
#include "client/CommunicationClient.h"
#include "commands/PrinterCommandManager.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorcore/meshimport/MeshImporter.h"
#include "vexlorui/ActiveSceneContext.h"
#include "vexlorui/MessageDialogs.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QtWidgets>

#include <cstdio>

namespace {

/// A running job shows in the status bar: no dialog is in the user's way.
class Progress final : public Vexlor::IProgressDisplay
{
public:
    void Begin(const QString& i_title) override { bar->showMessage(i_title); }
    void SetProgress(int i_percent, const QString& i_stage) override
    {
        bar->showMessage(QString::number(i_percent) + " %: " + i_stage);
    }
    void End() override { bar->clearMessage(); }

    QStatusBar* bar = nullptr;
};

/// In the middle of the machine's bed.
void Place(std::vector<TavAM::Part>& io_parts, const MachineService::BuildVolume& i_bed)
{
    for (auto& part : io_parts) {
        const auto box = part.GetBoundingBox();
        part.SetPlacement(TavAM::Transform::Translation((i_bed.minX + i_bed.maxX - box.min.x - box.max.x) / 2,
                                                        (i_bed.minY + i_bed.maxY - box.min.y - box.max.y) / 2,
                                                        -box.min.z));
    }
}

/// The machine that is chosen is attached to the scene, with the parts in its middle.
void ShowMachines(MachineService::CommunicationClient& io_client, QListWidget& io_machines,
                  VexlorCore::DataSet& io_scene, bool i_chooses_first)
{
    // News come on threads of the services: the context object brings them to this one.
    QObject::connect(&io_client, &MachineService::CommunicationClient::MachineAdded, &io_machines,
                     [&, i_chooses_first](const QUuid& i_id) {
                         if (const auto machine = io_client.TryGetPrinterById(i_id)) {
                             auto* const item = new QListWidgetItem(
                                 QString::fromStdString(machine->GetMachineData().name), &io_machines);
                             item->setData(Qt::UserRole, i_id);
                             if (i_chooses_first && io_machines.count() == 1)
                                 io_machines.setCurrentItem(item);
                         }
                     });
    QObject::connect(&io_machines, &QListWidget::currentItemChanged, &io_client, [&](const QListWidgetItem* ip_item) {
        const QUuid id = ip_item->data(Qt::UserRole).toUuid();
        if (const auto machine = io_client.TryGetPrinterById(id)) { // it may have gone
            io_client.HandleMachineChanged(&io_scene, id);
            Place(io_scene.GetParts(), *machine->GetMachineData().buildVolume);
        }
    });
}

void ShowCommands(MachineService::PrinterCommandManager& io_commands, QToolBar& io_ribbon)
{
    QObject::connect(&io_commands, &MachineService::PrinterCommandManager::PrinterNameUpdated, &io_ribbon, [&] {
        io_ribbon.clear();
        for (const auto* const command : io_commands.GetAllCommands()) {
            QAction* const action = io_ribbon.addAction(command->GetTitle());
            action->setObjectName(command->GetId());
            QObject::connect(action, &QAction::triggered, &io_commands, [&, action] {
                // By its id: a machine may take a command away at any time. Returns when the job has ended.
                if (auto* const chosen = io_commands.GetCommand(action->objectName()))
                    chosen->Exec();
            });
        }
    });
}

/// \return the command of that id when it can run, else null.
Vexlor::UICommands::UiCommand* UpdateRibbon(MachineService::PrinterCommandManager& io_commands,
                                            const QToolBar& i_ribbon, const QString& i_id)
{
    const Vexlor::UICommands::ActiveSceneContext context;
    for (QAction* const action : i_ribbon.actions()) {
        auto* const command = io_commands.GetCommand(action->objectName());
        if (!command)
            continue;
        command->Update(context);
        action->setEnabled(command->IsEnabled());
        action->setToolTip(command->GetToolTip() + ' ' + io_commands.GetRefusal(command->GetId()).GetText());
        if (action->objectName() == i_id && command->IsEnabled())
            return command;
    }
    return nullptr;
}

int Run(QApplication& io_qt, const std::filesystem::path& i_mesh, const QString& i_command)
{
    VexlorCore::UiThread uiThread;
    VexlorCore::Application application;
    application.CreateDatabase();
    auto* const scene = application.GetDatabase()->CreateDataSet();
    application.GetDatabase()->SetActiveDataSet(scene);
    scene->GetParts() = VexlorCore::ImportMeshFile(i_mesh);
    QTemporaryDir documents;
    Vexlor::ReferenceApiProvider provider(documents.path().toStdString());
    const auto getProvider = [&]() -> IVexlorApiProvider& {
        return provider;
    };
    MachineService::CommunicationClient client(
        getProvider, [](MachineService::ServiceId) { return nullptr; },
        [](const MachineService::MachineData& i_machine) { return i_machine.buildVolume.has_value(); }, nullptr);
    client.HandleModeChanged(ProgramModePlatform);
    MachineService::PrinterCommandManager commands(
        [&] { return application.GetDatabase()->GetActiveDataSet(); },
        [&](VexlorCore::DataSet* ip_scene) { return client.TryGetPrinter(ip_scene); }, getProvider,
        [] { return QString(); });
    commands.Activate();

    QMainWindow window;
    auto* const machines = new QListWidget(&window);
    window.setCentralWidget(machines);
    auto* const ribbon = window.addToolBar("Commands");
    QObject::connect(window.menuBar()->addAction("Cancel"), &QAction::triggered, [&] { provider.CancelCurrentJob(); });
    const auto progress = std::make_shared<Progress>();
    progress->bar = window.statusBar();
    provider.SetProgressDisplay(progress);
    Vexlor::MessageDialogs::SetHandler([&](const Vexlor::Message& i_message) {
        std::fprintf(stderr, "%s\n", i_message.text.toUtf8().constData());
        if (i_command.isEmpty()) // what is said is plain text, also where it looks like markup
            QMessageBox::critical(nullptr, window.windowTitle(), i_message.text.toHtmlEscaped());
        return 0;
    });

    ShowMachines(client, *machines, *scene, !i_command.isEmpty());
    ShowCommands(commands, *ribbon);
    QTimer update; // answers come in the background
    QObject::connect(&update, &QTimer::timeout, &commands, [&] {
        if (auto* const command = UpdateRibbon(commands, *ribbon, i_command)) {
            update.stop();
            io_qt.exit(command->Exec() ? 0 : 1);
        }
    });
    update.start(500);
    client.Start(MachineService::ServiceId::BuildProcessors);
    window.show();
    const int status = QApplication::exec();
    const auto file = scene->GetPlatform().GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineFile);
    std::printf("%s\n", QString::fromStdWString(file.value_or(L"")).toUtf8().constData());
    client.HandleModeChanged(ProgramModeNone);
    return status;
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    QApplication qt(i_argc, ip_argv);
    try {
        if (i_argc >= 2)
            return Run(qt, ip_argv[1], i_argc > 2 ? ip_argv[2] : "");
        std::fputs("Usage: window MESH [ID]\n", stderr);
        return 2;
    } catch (const std::exception& failure) { // a mesh that cannot be read, a printer that went away
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
