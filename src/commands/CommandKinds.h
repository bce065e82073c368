#pragma once

#include "client/interface/CommandTypes.h"
#include "commands/CommandTraces.h"

#include <QString>

#include <optional>

namespace MachineService {

struct MachineData;

/// A text for Qt's translation.
struct SourceText
{
    const char* text;
    const char* disambiguation;
};

/// What a kind of command is called; translated in the context "commands." and the name.
struct CommandFace
{
    const char* name;
    SourceText title;
    SourceText toolTip;
};

/// What enables a command whose scene holds what it needs.
enum class EnabledBy
{
    Machine,     ///< asked whether it can run the command
    BuildButton, ///< the host's setting; a machine that refuses a job says so when the job is sent
};

enum class RibbonPlace
{
    First,
    BeforeBuild,
    Last,
};

/// Title of the progress display.
enum class ProgressTitle
{
    OfTheKind,
    OfTheMachine, ///< what the machine calls the command
};

/// Everything that differs from one kind of command to another.
struct CommandKind
{
    std::optional<CommandFace> face = std::nullopt;            ///< none: name by the command's id, texts of the machine
    std::optional<CommandFace> connectionFace = std::nullopt;  ///< for MachineData::configuresConnection
    std::optional<Helpers::TraceLabels> traces = std::nullopt; ///< none: not counted
    const char* processName = "VexlorProcess";                 ///< CommandParameters::processName
    bool sendsJob = false;                                     ///< with a job name and the parts' parameters
    bool checksExport = true;                                  ///< whether the scene's data can go to the machine
    bool passesText = false;                                   ///< HostContext::text goes to the machine
    bool needsContent = false;                                 ///< disabled on an empty scene
    EnabledBy enabledBy = EnabledBy::Machine;
    bool takesMachinesIcon = true; ///< otherwise the host's own icon stays
    RibbonPlace place = RibbonPlace::BeforeBuild;
    ProgressTitle progressTitle = ProgressTitle::OfTheKind;
};

/// The row of a kind; none for a number that the enumeration does not have, which services may send.
std::optional<CommandKind> FindCommandKind(CommandType i_type);

/// What the kind is called for this machine; none when the machine names the command.
std::optional<CommandFace> GetFace(const CommandKind& i_kind, const MachineData& i_data);

/// By the name of a command in the host; none for a machine's own command.
std::optional<CommandKind> FindCommandKind(const QString& i_command_name);

} // namespace MachineService
