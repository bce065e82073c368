#include "buildprocessor/commands/CommandTable.h"

#include "buildprocessor/commands/BuildJob.h"
#include "buildprocessor/commands/CommandIcons.h"
#include "buildprocessor/commands/ConfigureCommands.h"
#include "buildprocessor/commands/PlatformCommands.h"
#include "buildprocessor/commands/ReportCommands.h"

#include <boost/uuid/string_generator.hpp>

#include <algorithm>

namespace MachineService::BuildProcessor {

namespace {

OfferedCommand Make(CommandType i_type, const char* ip_id, DataFormat i_format, const char* ip_name,
                    const char* ip_description, CommandResult (*ip_run)(const JobInput&))
{
    OfferedCommand command;
    command.description.type = i_type;
    command.description.id = boost::uuids::string_generator()(ip_id);
    command.description.dataFormat = i_format;
    command.description.name = ip_name;
    command.description.description = ip_description;
    command.run = ip_run;
    return command;
}

std::vector<OfferedCommand> MakeCommands(bool i_configures_connection)
{
    std::vector<OfferedCommand> commands;
    commands.push_back(Make(CommandType::Build, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4101", DataFormat::Platform, "Build",
                            "Prepares the parts for this printer and writes the machine file.", &RunBuild));
    commands.back().slices = true;

    if (i_configures_connection)
        commands.push_back(Make(CommandType::ConfigurePrinter, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4102",
                                DataFormat::Properties, "Configure Connection",
                                "Tests the connection to the printer's folder of jobs.", &ConfigureConnection));
    else
        commands.push_back(Make(CommandType::ConfigurePrinter, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4102",
                                DataFormat::Properties, "Configure Printer",
                                "Brings the printer's settings into order and asks the slicing engine.",
                                &ConfigurePrinter));
    // It is how the user finds out why a queue does not run.
    commands.back().needsQueue = false;

    commands.push_back(Make(CommandType::ConfigurePlatform, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4103",
                            DataFormat::Properties, "Configure Platform",
                            "Chooses layer height and material among those of the printer.", &ConfigurePlatform));
    commands.push_back(Make(CommandType::ConfigureParts, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4104", DataFormat::Strategies,
                            "Configure Parts", "Gives each part a print strategy of the printer.", &ConfigureParts));
    commands.push_back(Make(CommandType::ConsumptionEstimations, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4107",
                            DataFormat::Properties, "Consumption Estimations",
                            "Finds time and material without keeping a machine file.", &EstimateConsumption));
    commands.back().slices = true;
    commands.push_back(Make(CommandType::AutomaticPlacement, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4108",
                            DataFormat::Placement, "Automatic Placement",
                            "Places all parts on the bed, apart from one another.", &PlaceAutomatically));

    // Both only look at the scene.
    commands.push_back(Make(CommandType::Additional, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4120", DataFormat::Document,
                            "Build Report", "Makes a document of the platform, its parts and their estimates.",
                            &MakeReportDocument));
    commands.back().needsQueue = false;
    commands.back().description.icon = GetReportIcon();
    commands.push_back(Make(CommandType::AdditionalForPlatform, "8f6f2a52-0d0c-4d58-9a3f-6b1e0c7d4126",
                            DataFormat::Properties, "Check Platform",
                            "Checks build volume and collisions without slicing.", &CheckPlatform));
    commands.back().needsQueue = false;
    commands.back().description.icon = GetCheckIcon();
    return commands;
}

} // namespace

const std::vector<OfferedCommand>& GetOfferedCommands(bool i_configures_connection)
{
    static const auto forPrinter = MakeCommands(false);
    static const auto forConnection = MakeCommands(true);
    return i_configures_connection ? forConnection : forPrinter;
}

const OfferedCommand* FindOfferedCommand(const boost::uuids::uuid& i_id, bool i_configures_connection)
{
    const auto& commands = GetOfferedCommands(i_configures_connection);
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const auto& i_command) { return i_command.description.id == i_id; });
    return found == commands.end() ? nullptr : &*found;
}

} // namespace MachineService::BuildProcessor
