#include "tour/Tour.h"

#include "tour/CommandsStep.h"
#include "tour/ConsoleMessages.h"
#include "tour/ConsoleProgress.h"
#include "tour/Output.h"
#include "tour/PlatformStep.h"
#include "tour/PostStep.h"
#include "tour/Results.h"
#include "tour/TerminalQuestions.h"
#include "tour/Transcript.h"

#include "commands/CommandNames.h"
#include "hosting/Estimates.h"
#include "hosting/Host.h"
#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/MachineChoice.h"
#include "hosting/MeshFiles.h"
#include "hosting/ResultFiles.h"
#include "hosting/RowPlacement.h"

#include <boost/uuid/uuid_io.hpp>

#include <QCoreApplication>
#include <QStandardPaths>

#include <chrono>
#include <stdexcept>

namespace Tour {

namespace {

using Hosting::FromPath;
using Hosting::HostingError;
using MachineService::Machine;
using Action = CommandLine::Action;

constexpr std::chrono::seconds ServicesDeadline(10);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::Tour)
};

QString GetId(const Machine& i_machine)
{
    return QString::fromStdString(boost::uuids::to_string(i_machine.GetMachineData().id));
}

/// Meshes that come with the slicing engine's package.
std::vector<std::filesystem::path> FindExampleMeshes()
{
    std::vector<std::filesystem::path> meshes;
    for (const auto* name : {"box.stl", "cone.stl", "torus.stl"}) {
        const QString path = QStandardPaths::locate(QStandardPaths::GenericDataLocation,
                                                    QStringLiteral("PrusaSlicer/shapes/") + QLatin1String(name));
        if (path.isEmpty())
            throw HostingError(
                Texts::tr("The example mesh '%1' was not found: install the package prusa-slicer, or name a mesh.")
                    .arg(QLatin1String(name)));
        meshes.emplace_back(path.toStdString());
    }
    return meshes;
}

void ShowMachines(const std::vector<Machine>& i_machines, Transcript& io_transcript)
{
    for (const auto& machine : i_machines) {
        const auto data = machine.GetMachineData();
        io_transcript.Line(QStringLiteral("  %1  %2  %3  %4")
                               .arg(QString::fromStdString(data.name).leftJustified(24),
                                    QString::fromStdString(data.manufacturer).leftJustified(22),
                                    Hosting::DescribeVolume(data).leftJustified(20), GetId(machine)));
    }
}

void ShowParts(const std::vector<TavAM::Part>& i_parts, Transcript& io_transcript)
{
    const auto size = [](double i_min, double i_max) {
        return QString::number(i_max - i_min, 'f', 1);
    };
    for (const auto& part : i_parts) {
        const auto box = part.GetBoundingBox();
        io_transcript.Line(Texts::tr("  %1  %2 × %3 × %4 mm")
                               .arg(QString::fromStdWString(part.GetName()).leftJustified(24),
                                    size(box.min.x, box.max.x), size(box.min.y, box.max.y),
                                    size(box.min.z, box.max.z)));
    }
}

void ShowEstimates(const Hosting::Estimates& i_estimates, Transcript& io_transcript)
{
    const auto show = [&](const QString& i_label, const QString& i_value, const QString& i_unit) {
        if (!i_value.isEmpty())
            io_transcript.Line(QStringLiteral("  ") + i_label.leftJustified(10) + QLatin1Char(' ') +
                               i_value.rightJustified(12) + i_unit);
    };
    show(Texts::tr("layers"), i_estimates.layers, {});
    show(Texts::tr("time"), i_estimates.seconds, QStringLiteral(" s"));
    show(Texts::tr("material"), i_estimates.millimetres, QStringLiteral(" mm"));
    show(QString(), i_estimates.cubicCentimetres, QStringLiteral(" cm³"));
    show(QString(), i_estimates.grams, QStringLiteral(" g"));
    for (const auto& part : i_estimates.parts) {
        io_transcript.Line(Texts::tr("  %1 %2 layers %3 cm³")
                               .arg(part.name.leftJustified(24), part.layers.rightJustified(6),
                                    part.cubicCentimetres.rightJustified(10)));
    }
}

Hosting::ServiceChoice ChooseServices(const CommandLine& i_command_line)
{
    auto choice = Hosting::ChooseServices(i_command_line.services);
    choice.hasManager = i_command_line.postsJob;
    return choice;
}

class Tour
{
public:
    Tour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir);
    ~Tour();

    ExitStatus Run();

private:
    void _Run();
    void _MakeScene();
    void _ReadMeshes();
    Machine _Attach();
    void _CreatePlatform(const Machine& i_machine);
    void _LoadParts(const Machine& i_machine);
    void _RunCommands();
    void _Post();
    bool _MustBuild() const;
    void _ShowEstimates();

    const CommandLine& _commandLine;
    Results _results;
    Transcript _transcript;
    Hosting::Host _host;
    TerminalQuestions _questions{_host};
    Hosting::InterruptWatcher _interrupts;
    ConsoleMessages _messages;
    std::vector<TavAM::Part> _parts;
    VexlorCore::DataSet* _scene = nullptr;
};

Tour::Tour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir)
    : _commandLine(i_command_line)
    , _results(i_out_dir)
    , _transcript(_results.GetTranscriptDraft())
    , _host(_results.GetDocumentsDir(), _results.GetMachinesDir(), ChooseServices(i_command_line))
    , _interrupts([this] { _host.GetApiProvider().CancelCurrentJob(); })
    , _messages(_transcript, i_command_line.postsJob)
{
    _transcript.SetOutputFailureHandler([this] { _interrupts.Interrupt(); });
    _host.GetApiProvider().SetProgressDisplay(std::make_shared<ConsoleProgress>(_transcript));
    _host.GetApiProvider().SetOpenDocumentHandler(
        [this](VexlorCore::DataSet&, const std::filesystem::path& i_document) { _results.AddDocument(i_document); });
}

Tour::~Tour()
{
    _host.GetApiProvider().SetProgressDisplay(nullptr);
    _host.GetApiProvider().SetOpenDocumentHandler({});
}

ExitStatus Tour::Run()
{
    try {
        _Run();
        _transcript.Finish();
        _interrupts.ThrowIfInterrupted();
        if (_commandLine.action != Action::List)
            _results.Publish();
        return Succeeded;
    } catch (const Hosting::Interruption&) {
        _results.Discard(_scene);
        const QString failure = _transcript.GetOutputFailure();
        _transcript.Error(failure.isEmpty() ? Texts::tr("Interrupted.") : failure);
        return failure.isEmpty() ? Interrupted : Failed;
    } catch (const std::exception& error) {
        _transcript.Error(_results.WithFinalNames(QString::fromUtf8(error.what())));
    }
    try {
        _transcript.Finish();
        _results.PublishTranscript();
    } catch (const std::exception&) {
        // The failure was told already, and one sentence is enough.
    }
    return Failed;
}

void Tour::_Run()
{
    _transcript.Line(Texts::tr("Catalog"));
    if (!_host.StartServices(ServicesDeadline, [this] { return _interrupts.WasInterrupted(); }))
        throw Hosting::Interruption();
    const auto machines = _host.GetClient().GetMachines();
    if (machines.empty())
        throw HostingError(Texts::tr("The catalog offers no machine."));
    ShowMachines(machines, _transcript);
    if (_commandLine.action == Action::List)
        return;

    const bool isExport = _commandLine.action == Action::ExportConfiguration;
    if (isExport)
        _MakeScene();
    else
        _ReadMeshes();
    _interrupts.ThrowIfInterrupted();
    _transcript.Line(Texts::tr("Printer"));
    const Machine machine = _Attach();
    _interrupts.ThrowIfInterrupted();
    _transcript.Line(Texts::tr("Platform"));
    _CreatePlatform(machine);
    _interrupts.ThrowIfInterrupted();
    if (!isExport) {
        _transcript.Line(Texts::tr("Scene"));
        _LoadParts(machine);
        _interrupts.ThrowIfInterrupted();
        if (_commandLine.postsJob)
            _Post();
        else
            _RunCommands();
    }
    _transcript.Line(Texts::tr("Files"));
    if (isExport)
        _results.AddConfiguration(*_scene, _transcript);
    else
        _results.AddPlatform(*_scene, _MustBuild(), _transcript);
    _transcript.Line(Texts::tr("  transcript    %1").arg(FromPath(_results.GetTranscriptPath())));
}

void Tour::_MakeScene()
{
    _scene = _host.GetDatabase().CreateDataSet();
    _host.GetDatabase().SetActiveDataSet(_scene);
}

void Tour::_ReadMeshes()
{
    const auto meshes = _commandLine.meshes.empty() ? FindExampleMeshes() : _commandLine.meshes;
    _parts = Hosting::ReadMeshFiles(meshes, _interrupts);
    _MakeScene();
    // The job takes the scene's name, the scene that of its first mesh.
    _scene->SetFileName(QString(FromPath(meshes.front().stem()) + QStringLiteral(".TavAMX")).toStdWString());
}

Machine Tour::_Attach()
{
    const QString& wanted = _commandLine.machine;
    const auto machine = Hosting::ChooseMachine(_host.GetClient().GetMachines(), wanted, _parts, _commandLine.postsJob);
    if (!machine)
        throw HostingError(Texts::tr("No machine is called '%1'; --list shows the catalog.").arg(wanted));
    const auto data = machine->GetMachineData();
    _host.GetClient().HandleMachineChanged(_scene, QUuid::fromString(GetId(*machine)));
    const auto attached = _host.GetClient().TryGetPrinter(_scene);
    if (!attached)
        throw HostingError(Texts::tr("The machine '%1' could not be attached.").arg(QString::fromStdString(data.name)));
    _transcript.Line(Texts::tr("  attached: %1 (%2)")
                         .arg(QString::fromStdString(attached->GetMachineData().name), Hosting::DescribeVolume(data)));
    return *attached;
}

void Tour::_CreatePlatform(const Machine& i_machine)
{
    try {
        CreatePlatform(i_machine, *_scene, _commandLine.choices, _host.GetApiProviderGetter(), _transcript);
    } catch (const std::exception&) {
        // A wait that was given up ends like a failure of the machine.
        _interrupts.ThrowIfInterrupted();
        throw;
    }
}

void Tour::_LoadParts(const Machine& i_machine)
{
    ShowParts(_parts, _transcript);
    if (const auto volume = i_machine.GetMachineData().buildVolume)
        Hosting::PlaceInRows(_parts, *volume);
    _scene->GetParts() = std::move(_parts);
}

void Tour::_RunCommands()
{
    RunCommands(_host, *_scene, _commandLine.command, _interrupts, _messages, _transcript);
    _transcript.Line(Texts::tr("Estimates"));
    _ShowEstimates();
}

void Tour::_Post()
{
    const PageAddress page;
    RunCommands(_host, *_scene, QString::fromLatin1(MachineService::BPCommandNamePostJob), _interrupts, _messages,
                _transcript);
    _transcript.Line(Texts::tr("Job"));
    AwaitJob(page.Get(), _interrupts, _results, _transcript);
}

bool Tour::_MustBuild() const
{
    if (_commandLine.postsJob)
        return false;
    return _commandLine.command.isEmpty() ||
           _commandLine.command.compare(QLatin1String(MachineService::BPCommandNameBuild), Qt::CaseInsensitive) == 0;
}

void Tour::_ShowEstimates()
{
    if (const auto estimates = Hosting::ReadEstimates(_scene->GetPlatform()))
        ShowEstimates(*estimates, _transcript);
    else if (_MustBuild())
        throw HostingError(Texts::tr("The machine returned no estimates."));
    else
        _transcript.Line(Texts::tr("  none: nothing was built"));
}

} // namespace

ExitStatus RunTour(const CommandLine& i_command_line, const std::filesystem::path& i_out_dir)
{
    try {
        Tour tour(i_command_line, std::filesystem::absolute(i_out_dir));
        return tour.Run();
    } catch (const std::exception& error) {
        Print(stderr, QByteArray(error.what()) + '\n');
        return Failed;
    }
}

} // namespace Tour
