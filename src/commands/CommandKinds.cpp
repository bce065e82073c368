#include "commands/CommandKinds.h"

#include "client/interface/MachineData.h"
#include "commands/CommandNames.h"

#include <QCoreApplication>

namespace MachineService {

namespace {

constexpr Helpers::TraceLabels BuildTraces = {"Build", "Build"};
// A configuration of the printer is counted as one of the platform.
constexpr Helpers::TraceLabels PlatformTraces = {"Configure platform", "ConfigurePlatform"};

} // namespace

// An enumerator without a row does not compile.
#pragma GCC diagnostic push
#pragma GCC diagnostic error "-Wswitch"

std::optional<CommandKind> FindCommandKind(CommandType i_type)
{
    // The translation tools find the texts by these macros, hence the contexts as literals.
    switch (i_type) {
    case CommandType::Build:
        return CommandKind{
            .face = CommandFace{BPCommandNameBuild, QT_TRANSLATE_NOOP3("commands.Print3D.Print", "Build", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.Print", "Send the active platform to the machine.",
                                                   "tooltip")},
            .traces = BuildTraces,
            .sendsJob = true,
            .needsContent = true,
            .enabledBy = EnabledBy::BuildButton,
            .takesMachinesIcon = false,
            .place = RibbonPlace::Last,
        };
    case CommandType::ConfigurePrinter:
        return CommandKind{
            .face = CommandFace{BPCommandNameConfigure,
                                QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurePrinter", "Configure Printer", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurePrinter",
                                                   "Configure settings of the printer.", "tooltip")},
            .connectionFace =
                CommandFace{BPCommandNameConfigureConnection,
                            QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureConnection", "Configure Connection", "title"),
                            QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureConnection",
                                               "Configure the connection to the Build Processor.", "tooltip")},
            .traces = PlatformTraces,
            .checksExport = false, // the machine is the subject, whatever the scene holds
            .takesMachinesIcon = false,
            .place = RibbonPlace::First,
            .progressTitle = ProgressTitle::OfTheMachine,
        };
    case CommandType::ConfigurePlatform:
        return CommandKind{
            .face = CommandFace{BPCommandNameConfigurPlatform,
                                QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurPlatform", "Configure Platform", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.ConfigurPlatform",
                                                   "Configure platform settings related to the build processor.",
                                                   "tooltip")},
            .traces = PlatformTraces,
            .processName = "VexlorConfigurePlatform",
            .progressTitle = ProgressTitle::OfTheMachine,
        };
    case CommandType::ConfigureParts:
        return CommandKind{
            .face =
                CommandFace{BPCommandNameConfigureParts,
                            QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureParts", "Configure Parts", "title"),
                            QT_TRANSLATE_NOOP3("commands.Print3D.ConfigureParts",
                                               "Configure parts' settings related to the build processor.", "tooltip")},
            .traces = Helpers::TraceLabels{"Configure parts", "Configure parts"},
            .processName = "VexlorConfigureParts",
            .needsContent = true,
            .progressTitle = ProgressTitle::OfTheMachine,
        };
    case CommandType::ConsumptionEstimations:
        return CommandKind{
            .face = CommandFace{BPCommandNamePrintConsumptionEstimations,
                                QT_TRANSLATE_NOOP3("commands.Print3D.PrintConsumptionEstimations",
                                                   "Build Consumption Estimations", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.PrintConsumptionEstimations",
                                                   "Build Consumption Estimations.", "tooltip")},
            .processName = "VexlorEstimatePrintConsumptions",
            .needsContent = true,
        };
    case CommandType::AutomaticPlacement:
        return CommandKind{
            .face =
                CommandFace{
                    BPCommandNameAutomaticPlacement,
                    QT_TRANSLATE_NOOP3("commands.Print3D.AutomaticPlacement", "Automatic Placement", "title"),
                    QT_TRANSLATE_NOOP3("commands.Print3D.AutomaticPlacement",
                                       "2D placement of parts on the platform according to user-defined parameters.",
                                       "tooltip")},
            .traces = Helpers::TraceLabels{"Automatic placement", "Autoplacement"},
            .processName = "VexlorPlaceAutomatically",
            .needsContent = true,
        };
    case CommandType::PostJob:
        return CommandKind{
            .face = CommandFace{BPCommandNamePostJob, QT_TRANSLATE_NOOP3("commands.Print3D.PostJob", "Build", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.PostJob",
                                                   "Send a ready job for processing in Machine Manager.", "tooltip")},
            .traces = BuildTraces,
            .sendsJob = true,
            .needsContent = true,
            .enabledBy = EnabledBy::BuildButton,
        };
    case CommandType::CreateJobUrl:
        return CommandKind{
            .face = CommandFace{BPCommandNameCreateJobUrl,
                                QT_TRANSLATE_NOOP3("commands.Print3D.CreateJobUrl", "Create Job", "title"),
                                QT_TRANSLATE_NOOP3("commands.Print3D.CreateJobUrl",
                                                   "Send a draft job to Machine Manager for further configuration.",
                                                   "tooltip")},
            .traces = BuildTraces,
            .sendsJob = true,
            .needsContent = true,
            .enabledBy = EnabledBy::BuildButton,
        };
    case CommandType::Additional:
    case CommandType::AdditionalForParts:
    case CommandType::AdditionalForPlatform:
        return CommandKind{
            .traces = Helpers::TraceLabels{"Additional command", "Additional commands"},
            .passesText = true,
            .progressTitle = ProgressTitle::OfTheMachine,
        };
    }
    return std::nullopt;
}

#pragma GCC diagnostic pop

std::optional<CommandFace> GetFace(const CommandKind& i_kind, const MachineData& i_data)
{
    return i_data.configuresConnection && i_kind.connectionFace ? i_kind.connectionFace : i_kind.face;
}

std::optional<CommandKind> FindCommandKind(const QString& i_command_name)
{
    const auto isNamed = [&i_command_name](const std::optional<CommandFace>& i_face) {
        return i_face && i_command_name == QLatin1String(i_face->name);
    };
    for (std::uint32_t number = 0;; ++number) {
        const std::optional<CommandKind> kind = FindCommandKind(static_cast<CommandType>(number));
        if (!kind || isNamed(kind->face) || isNamed(kind->connectionFace))
            return kind;
    }
}

} // namespace MachineService
