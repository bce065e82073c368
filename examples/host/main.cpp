// The smallest host: attaches the first printer that the services offer, puts a mesh on its bed and builds it.
// Usage: host MESH
#include "client/CommunicationClient.h"
#include "commands/CommandNames.h"
#include "commands/PrinterCommandManager.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/UiThread.h"
#include "vexlorcore/meshimport/MeshImporter.h"
#include "vexlorui/MessageDialogs.h"
#include "vexlorui/ReferenceApiProvider.h"

#include <QEventLoop>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>

namespace {

/// Puts the parts side by side along X, the first in the middle of the bed.
void Place(std::vector<TavAM::Part>& io_parts, const MachineService::BuildVolume& i_bed)
{
    double x = (i_bed.minX + i_bed.maxX) / 2;
    for (auto& part : io_parts) {
        const auto box = part.GetBoundingBox();
        const double width = box.max.x - box.min.x;
        part.SetPlacement(TavAM::Transform::Translation(
            x - width / 2 - box.min.x, (i_bed.minY + i_bed.maxY - box.min.y - box.max.y) / 2, -box.min.z));
        x += width + 10;
    }
}

int Run(const std::filesystem::path& i_mesh)
{
    QTemporaryDir documents;

    VexlorCore::UiThread uiThread; // this thread runs the Qt event loop
    VexlorCore::Application application;
    application.CreateDatabase();
    auto* const scene = application.GetDatabase()->CreateDataSet();
    application.GetDatabase()->SetActiveDataSet(scene);
    Vexlor::ReferenceApiProvider provider(documents.path().toStdString()); // or your own IVexlorApiProvider
    const auto getProvider = [&]() -> IVexlorApiProvider& {
        return provider;
    };

    MachineService::CommunicationClient client(
        getProvider,
        [](MachineService::ServiceId) {
            return nullptr;
        }, // or an AbstractPluginUtility: folders, settings of a service
        [](const MachineService::MachineData& i_machine) { return i_machine.buildVolume.has_value(); }, // which to show
        nullptr);
    client.HandleModeChanged(ProgramModePlatform); // from now on it follows the scenes

    // The context object matters: news come on service threads and are queued to the thread of the context.
    QEventLoop waiting;
    QObject::connect(&client, &MachineService::CommunicationClient::MachineAdded, &waiting, [&](const QUuid& i_id) {
        if (!client.TryGetPrinter(scene))
            client.HandleMachineChanged(scene, i_id); // attaches the printer to the scene
        waiting.quit();
    });
    QTimer::singleShot(10'000, &waiting, &QEventLoop::quit);
    client.Start(MachineService::ServiceId::BuildProcessors);
    waiting.exec();
    const auto printer = client.TryGetPrinter(scene);
    if (!printer) {
        std::fputs("There is no printer.\n", stderr);
        return 1;
    }

    scene->GetParts() = VexlorCore::ImportMeshFile(i_mesh);
    Place(scene->GetParts(), *printer->GetMachineData().buildVolume);
    MachineService::PrinterCommandManager commands( // the attached printer's commands, for the ribbon
        [&] { return application.GetDatabase()->GetActiveDataSet(); },
        [&](VexlorCore::DataSet* ip_scene) { return client.TryGetPrinter(ip_scene); }, getProvider,
        [] { return QString(); });
    commands.Activate();
    auto* const build = commands.GetCommand(QLatin1String(MachineService::BPCommandNameBuild));
    const bool built = build && build->Exec(); // a failure has been told to the user when this returns
    if (built) {
        const auto file = scene->GetPlatform().GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineFile);
        std::printf("%s\n", QString::fromStdWString(file.value_or(L"")).toUtf8().constData());
    }
    client.HandleModeChanged(ProgramModeNone);
    return built ? 0 : 1;
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    QGuiApplication qt(i_argc, ip_argv);
    if (i_argc != 2) {
        std::fputs("Usage: host MESH\n", stderr);
        return 2;
    }
    Vexlor::MessageDialogs::SetHandler([](const Vexlor::Message& i_message) { // a window would show a box
        std::fprintf(stderr, "%s\n", i_message.text.toUtf8().constData());
        return 0;
    });
    try {
        return Run(ip_argv[1]);
    } catch (const std::exception& failure) { // a mesh that cannot be read, a printer that went away
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
