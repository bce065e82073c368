#include "Tour.h"

#include "ConfigurationExport.h"
#include "ConsoleProgress.h"
#include "Figures.h"
#include "InterruptWatcher.h"
#include "MachineChoice.h"
#include "PlatformSetup.h"
#include "ResultFiles.h"
#include "Ribbon.h"
#include "RowPlacement.h"
#include "TourError.h"
#include "Transcript.h"
#include "WorkbenchHost.h"

#include "commands/CommandNames.h"
#include "commands/PrinterCommandManager.h"
#include "tavam/PropertyNames.h"
#include "vexlorcore/MeshImporter.h"
#include "vexlorui/MessageDialogs.h"

#include <boost/uuid/uuid_io.hpp>

#include <QCoreApplication>
#include <QScopeGuard>
#include <QStandardPaths>

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace Workbench {

namespace {

using MachineService::Machine;

constexpr std::chrono::seconds ServicesDeadline(10);
constexpr std::chrono::seconds AnswersDeadline(3);
constexpr char ConfigurationFile[] = "machine-configuration.xml";

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::Tour)
};

/// Meshes that come with the slicing engine's package.
std::vector<std::filesystem::path> FindExampleMeshes()
{
    std::vector<std::filesystem::path> meshes;
    for (const auto* name : {"box.stl", "cone.stl", "torus.stl"}) {
        const QString path = QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                                    QStringLiteral("PrusaSlicer/shapes/") + QLatin1String(name));
        if (path.isEmpty())
            throw TourError(
                Texts::tr("The example mesh '%1' was not found: install the package prusa-slicer, or name a mesh.")
                    .arg(QLatin1String(name)));
        meshes.emplace_back(path.toStdString());
    }
    return meshes;
}

class Tour
{
public:
    Tour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir);
    ~Tour();

    ExitStatus Run();

private:
    void _Run();
    void _ListMachines();
    void _MakeScene();
    void _ReadMeshes();
    Machine _Attach(const Machine& i_machine);
    void _CreatePlatform(const Machine& i_machine);
    void _LoadParts(const Machine& i_machine);
    void _RunCommands();
    void _RunCommand(Vexlor::UICommands::UiCommand& io_command);
    bool _MustBuild() const;
    void _ShowFigures();
    void _KeepResults();
    void _ShowTranscript();
    void _RemoveTraces();
    void _ThrowIfInterrupted() const;

    struct Interruption
    {};

    const CommandLine& _commandLine;
    const std::filesystem::path _outDir;
    /// Folders that were there before this run stay when it is interrupted.
    const bool _hadMachines;
    const bool _hadDocuments;
    bool _hasExported = false;
    Transcript _transcript;
    WorkbenchHost _host;
    std::shared_ptr<ConsoleProgress> _progress;
    InterruptWatcher _interrupts;
    Vexlor::MessageDialogs::Handler _formerHandler;
    QString _criticalMessage;
    std::vector<std::filesystem::path> _documents; ///< that machines returned
    std::vector<TavAM::Part> _parts;
    VexlorCore::DataSet* _scene = nullptr;
};

Tour::Tour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir)
    : _commandLine(i_command_line)
    , _outDir(i_out_dir)
    , _hadMachines(std::filesystem::exists(i_out_dir / "machines"))
    , _hadDocuments(std::filesystem::exists(i_out_dir / "documents"))
    , _transcript(i_out_dir)
    , _host(i_out_dir / "documents", i_out_dir / "machines")
    , _progress(std::make_shared<ConsoleProgress>(_transcript))
    , _interrupts([this] { _host.GetApiProvider().CancelCurrentJob(); })
{
    _host.GetApiProvider().SetProgressDisplay(_progress);
    _host.GetApiProvider().SetOpenDocumentHandler(
        [this](VexlorCore::DataSet&, const std::filesystem::path& i_document) { _documents.push_back(i_document); });
    _formerHandler = Vexlor::MessageDialogs::SetHandler([this](const Vexlor::Message& i_message) {
        // The sentence of a failed command is printed where the tour ends: once.
        if (i_message.kind == Vexlor::Message::Kind::Critical)
            _criticalMessage = i_message.text;
        else
            _transcript.Line(i_message.text);
        return static_cast<int>(i_message.buttons.size()) - 1;
    });
}

Tour::~Tour()
{
    Vexlor::MessageDialogs::SetHandler(std::move(_formerHandler));
    _host.GetApiProvider().SetProgressDisplay(nullptr);
    _host.GetApiProvider().SetOpenDocumentHandler({});
}

ExitStatus Tour::Run()
{
    ExitStatus status = Succeeded;
    try {
        _Run();
        if (_commandLine.action == CommandLine::Action::List)
            return Succeeded;
    } catch (const Interruption&) {
        _RemoveTraces();
        std::fputs((Texts::tr("Interrupted.") + QLatin1Char('\n')).toUtf8().constData(), stderr);
        return Interrupted;
    } catch (const std::exception& error) {
        _transcript.Error(QString::fromUtf8(error.what()));
        status = Failed;
    }
    _transcript.Keep();
    return status;
}

void Tour::_Run()
{
    _transcript.Line(Texts::tr("Catalog"));
    const bool started = _host.StartServices(ServicesDeadline, [this] { return _interrupts.WasInterrupted(); });
    if (!started)
        throw Interruption();
    _ListMachines();
    if (_commandLine.action == CommandLine::Action::List)
        return;

    const bool isExport = _commandLine.action == CommandLine::Action::ExportConfiguration;
    if (isExport)
        _MakeScene();
    else
        _ReadMeshes();
    _ThrowIfInterrupted();
    _transcript.Line(Texts::tr("Printer"));
    const Machine machine = _Attach(ChooseMachine(_host.GetClient().GetMachines(), _commandLine.machine, _parts));
    _ThrowIfInterrupted();
    _transcript.Line(Texts::tr("Platform"));
    _CreatePlatform(machine);
    _ThrowIfInterrupted();
    if (isExport) {
        _transcript.Line(Texts::tr("Files"));
        ExportConfiguration(*_scene, _outDir / ConfigurationFile, _transcript);
        _hasExported = true;
        _ThrowIfInterrupted();
        _ShowTranscript();
        return;
    }
    _transcript.Line(Texts::tr("Scene"));
    _LoadParts(machine);
    _ThrowIfInterrupted();
    _RunCommands();
    _ThrowIfInterrupted();
    _transcript.Line(Texts::tr("Figures"));
    _ShowFigures();
    _transcript.Line(Texts::tr("Files"));
    _KeepResults();
}

void Tour::_ThrowIfInterrupted() const
{
    QCoreApplication::processEvents();
    if (_interrupts.WasInterrupted())
        throw Interruption();
}

void Tour::_ListMachines()
{
    const auto machines = _host.GetClient().GetMachines();
    if (machines.empty())
        throw TourError(Texts::tr("The catalog offers no machine."));
    for (const auto& machine : machines) {
        const auto data = machine.GetMachineData();
        _transcript.Line(QStringLiteral("  %1  %2  %3  %4")
                             .arg(QString::fromStdString(data.name).leftJustified(24),
                                  QString::fromStdString(data.manufacturer).leftJustified(22),
                                  DescribeVolume(data).leftJustified(20),
                                  QString::fromStdString(boost::uuids::to_string(data.id))));
    }
}

void Tour::_MakeScene()
{
    _scene = _host.GetDatabase().CreateDataSet();
    _host.GetDatabase().SetActiveDataSet(_scene);
}

void Tour::_ReadMeshes()
{
    const auto meshes = _commandLine.meshes.empty() ? FindExampleMeshes() : _commandLine.meshes;
    for (const auto& mesh : meshes) {
        for (auto& part : VexlorCore::ImportMeshFile(mesh))
            _parts.push_back(std::move(part));
    }
    _MakeScene();
    // The job takes the scene's name, the scene that of its first mesh.
    _scene->SetFileName(QString(FromPath(meshes.front().stem()) + QStringLiteral(".TavAMX")).toStdWString());
}

Machine Tour::_Attach(const Machine& i_machine)
{
    const auto data = i_machine.GetMachineData();
    const QString id = QString::fromStdString(boost::uuids::to_string(data.id));
    _host.GetClient().HandleMachineChanged(_scene, QUuid::fromString(id));
    const auto attached = _host.GetClient().TryGetPrinter(_scene);
    if (!attached)
        throw TourError(Texts::tr("The machine '%1' could not be attached.").arg(QString::fromStdString(data.name)));
    _transcript.Line(Texts::tr("  attached: %1 (%2)")
                         .arg(QString::fromStdString(attached->GetMachineData().name), DescribeVolume(data)));
    return *attached;
}

void Tour::_CreatePlatform(const Machine& i_machine)
{
    try {
        CreatePlatform(i_machine, *_scene, _commandLine.choices, _host.GetApiProviderGetter(), _transcript);
    } catch (const std::exception&) {
        // A wait that was given up ends like a failure of the machine.
        _ThrowIfInterrupted();
        throw;
    }
}

void Tour::_LoadParts(const Machine& i_machine)
{
    const auto size = [](double i_min, double i_max) {
        return QString::number(i_max - i_min, 'f', 1);
    };
    for (const auto& part : _parts) {
        const auto box = part.GetBoundingBox();
        _transcript.Line(Texts::tr("  %1  %2 × %3 × %4 mm")
                             .arg(QString::fromStdWString(part.GetName()).leftJustified(24), size(box.min.x, box.max.x),
                                  size(box.min.y, box.max.y), size(box.min.z, box.max.z)));
    }
    if (const auto volume = i_machine.GetMachineData().buildVolume)
        PlaceInRows(_parts, *volume);
    _scene->GetParts() = std::move(_parts);
}

void Tour::_RunCommands()
{
    MachineService::PrinterCommandManager manager(
        [this] { return _scene; },
        [this](VexlorCore::DataSet* ip_scene) { return _host.GetClient().TryGetPrinter(ip_scene); },
        _host.GetApiProviderGetter(), [] { return QString(); }, nullptr);
    Ribbon ribbon(manager);
    // A fresh answer of the machine leads here, by way of the can-run cache and the client.
    const auto forget = qScopeGuard([this] { _host.GetApiProvider().SetUpdateCommandsHandler({}); });
    _host.GetApiProvider().SetUpdateCommandsHandler([&ribbon] { ribbon.UpdateCommands(); });
    manager.Activate();
    ribbon.WaitForAnswers(AnswersDeadline, [this] { return _interrupts.WasInterrupted(); });
    _ThrowIfInterrupted();

    _transcript.Line(Texts::tr("Ribbon of %1").arg(manager.PrinterName()));
    QStringList wanted;
    for (const auto& row : ribbon.GetRows()) {
        const QString id = row.command->GetId();
        _transcript.Line(
            QStringLiteral("  %1  %2  %3  %4")
                .arg(QString::number(row.place).rightJustified(2), row.command->GetTitle().leftJustified(28),
                     (row.whyNot.isEmpty() ? Texts::tr("enabled") : Texts::tr("disabled: %1").arg(row.whyNot))
                         .leftJustified(9),
                     id));
        if (_commandLine.command.isEmpty() || id.compare(_commandLine.command, Qt::CaseInsensitive) == 0)
            wanted << id;
    }
    if (wanted.isEmpty())
        throw TourError(
            _commandLine.command.isEmpty()
                ? Texts::tr("%1 offers no commands.").arg(manager.PrinterName())
                : Texts::tr("%1 does not offer the command '%2'.").arg(manager.PrinterName(), _commandLine.command));
    for (const QString& id : wanted) {
        auto* command = manager.GetCommand(id);
        if (!command)
            throw TourError(Texts::tr("The command '%1' went away.").arg(id));
        _transcript.Line(command->GetTitle());
        _RunCommand(*command);
    }
}

void Tour::_RunCommand(Vexlor::UICommands::UiCommand& io_command)
{
    const QString title = io_command.GetTitle();
    const bool done = io_command.Exec();
    if (_interrupts.WasInterrupted())
        throw Interruption();
    if (!done)
        throw TourError(_criticalMessage.isEmpty() ? Texts::tr("The command '%1' was not carried out.").arg(title)
                                                   : _criticalMessage);
}

bool Tour::_MustBuild() const
{
    return _commandLine.command.isEmpty() ||
           _commandLine.command.compare(QLatin1String(MachineService::BPCommandNameBuild), Qt::CaseInsensitive) == 0;
}

void Tour::_ShowFigures()
{
    if (ShowFigures(_scene->GetPlatform(), _transcript))
        return;
    if (_MustBuild())
        throw TourError(Texts::tr("The machine returned no figures."));
    _transcript.Line(Texts::tr("  none: nothing was built"));
}

void Tour::_KeepResults()
{
    const std::filesystem::path machineFile =
        GetProperty(_scene->GetPlatform(), TavAM::PropertyNames::Print3D::MachineFile).toStdString();
    if (!machineFile.empty()) {
        const auto copy = _outDir / machineFile.filename();
        CopyFile(machineFile, copy);
        _transcript.Line(Texts::tr("  machine file  %1").arg(FromPath(copy)));
        _transcript.Line(QStringLiteral("                %1").arg(FromPath(machineFile)));
    } else if (_MustBuild()) {
        throw TourError(Texts::tr("The machine returned no machine file."));
    }

    for (const auto& document : _documents)
        _transcript.Line(Texts::tr("  document      %1").arg(FromPath(document)));

    const auto path = _outDir / "platform.TavAMX";
    SavePlatform(*_scene, path);
    _transcript.Line(Texts::tr("  platform      %1 (reopened, the same)").arg(FromPath(path)));
    _ShowTranscript();
}

void Tour::_ShowTranscript()
{
    _transcript.Line(Texts::tr("  transcript    %1").arg(FromPath(_outDir / "transcript.txt")));
}

void Tour::_RemoveTraces()
{
    std::error_code ignored;
    if (_scene) {
        // The job may have been finished in the moment in which it was cancelled. Where it lies is what a machine said:
        // only what is below this host's own folder goes.
        const std::filesystem::path machineFile =
            GetProperty(_scene->GetPlatform(), TavAM::PropertyNames::Print3D::MachineFile).toStdString();
        const auto job = machineFile.parent_path().lexically_relative(_outDir / "machines").lexically_normal();
        if (!job.empty() && job != "." && *job.begin() != "..")
            std::filesystem::remove_all(_outDir / "machines" / job, ignored);
    }
    for (const auto& document : _documents)
        std::filesystem::remove(document, ignored);
    if (_hasExported)
        std::filesystem::remove(_outDir / ConfigurationFile, ignored);
    // The printer's own settings and empty folders.
    if (!_hadMachines)
        std::filesystem::remove_all(_outDir / "machines", ignored);
    if (!_hadDocuments)
        std::filesystem::remove(_outDir / "documents", ignored);
}

} // namespace

ExitStatus RunTour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir)
{
    try {
        Tour tour(i_command_line, std::filesystem::absolute(i_out_dir));
        return tour.Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return Failed;
    }
}

} // namespace Workbench
