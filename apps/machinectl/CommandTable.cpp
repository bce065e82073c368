#include "machinectl/CommandTable.h"

#include "machinectl/Commands.h"

#include <QtGlobal>

#include <algorithm>

namespace MachineCtl {

namespace {

constexpr OptionInfo CommonOptions[] = {
    {"json", Values::None, "",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Print JSON for programs instead of text for people.")},
    {"address", Values::Any, "ADDRESS",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Ask the Machine Manager at this address, unix:/PATH or https://HOST:PORT, "
                                            "instead of the user's own.")},
    {"token-file", Values::Files, "FILE",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Sign in over https with the token that this file holds.")},
    {"help", Values::None, "", QT_TRANSLATE_NOOP("MachineCtl::Table", "Show this help and end.")},
    {"version", Values::None, "", QT_TRANSLATE_NOOP("MachineCtl::Table", "Show the version and end.")},
};

constexpr OptionInfo LoadedOptions[] = {
    {"material", Values::Any, "MATERIAL",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "This material is loaded; an empty text: nobody knows.")},
    {"nozzle", Values::Any, "MM",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "A nozzle of this diameter is mounted; an empty text: nobody knows.")},
    {"plate", Values::Any, "PLATE",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "This plate is inserted; an empty text: nobody knows.")},
};

constexpr OptionInfo PauseOptions[] = {
    {"reason", Values::Any, "TEXT", QT_TRANSLATE_NOOP("MachineCtl::Table", "Tell everybody why.")},
};

constexpr OptionInfo JobsOptions[] = {
    {"state", Values::Words, "STATE",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Only jobs in this state; several are separated by commas."), JobStates},
    {"mine", Values::None, "", QT_TRANSLATE_NOOP("MachineCtl::Table", "Only jobs of whoever asks.")},
    {"machine", Values::Any, "MACHINE",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Only jobs that are for this machine or on it.")},
    {"all", Values::None, "", QT_TRANSLATE_NOOP("MachineCtl::Table", "All of them, and not the 50 newest only.")},
};

constexpr OptionInfo SubmitOptions[] = {
    {"machine", Values::Any, "MACHINE", QT_TRANSLATE_NOOP("MachineCtl::Table", "The machine that the job is for.")},
    {"group", Values::Any, "MODEL",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Any machine of this model, or whose name begins so, instead of one.")},
    {"material", Values::Any, "MATERIAL",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Of the group only machines that have this material loaded.")},
    {"draft", Values::None, "", QT_TRANSLATE_NOOP("MachineCtl::Table", "Hold the job until somebody releases it.")},
    {"copies", Values::Any, "N", QT_TRANSLATE_NOOP("MachineCtl::Table", "Print it so often, 1 to 999 times.")},
    {"priority", Values::Any, "N",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "From 1 to 100, usually 50; higher goes first.")},
    {"name", Values::Any, "NAME",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Name of the job; without it, that of the file.")},
    {"id", Values::Any, "UUID",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Id of the job: the same id is the same job, so that an upload that was "
                                            "interrupted goes on where it was.")},
    {"wait", Values::None, "",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "End when the job has ended, with 1 when it was not completed.")},
};

constexpr OptionInfo FetchOptions[] = {
    {"to", Values::Files, "PATH", QT_TRANSLATE_NOOP("MachineCtl::Table", "Write to this file, or into this folder.")},
    {"kind", Values::Words, "KIND",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Get this file: machine-file, platform or picture."),
     "machine-file platform picture"},
};

constexpr OptionInfo GroupOptions[] = {
    {"group", Values::Any, "MODEL",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Any machine of this model, or whose name begins so, instead of one.")},
    {"material", Values::Any, "MATERIAL",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Of the group only machines that have this material loaded.")},
};

constexpr OptionInfo RestoreOptions[] = {
    {"replace", Values::None, "",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "The manager has jobs: set them aside in a folder of the manager.")},
    {"files", Values::None, "",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Only give the manager the files back that its jobs have lost.")},
};

constexpr OptionInfo CheckOptions[] = {
    {"quick", Values::None, "",
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Only look whether each file is there, and read none.")},
};

// The columns: name, operands, how many, what a shell completes in the place of the first, options, texts, what it
// does.
constexpr CommandInfo Table[] = {
    {"machines",
     "",
     0,
     0,
     Values::None,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "List the machines with their state, queue and what is loaded."),
     "",
     Commands::ListMachines},
    {"describe", "[MACHINE]", 0, 1, Values::Any, "", GroupOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Show everything about a machine, or the machines of a group."),
     QT_TRANSLATE_NOOP(
         "MachineCtl::Table",
         "A machine is called by its name, by the beginning of only one name, or by its id. Of a group it "
         "is shown which machines would take a job, and what keeps the others from it."),
     Commands::DescribeMachine},
    {"loaded", "MACHINE", 1, 1, Values::Any, "", LoadedOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Tell what is loaded at a machine; without an option, show it."),
     QT_TRANSLATE_NOOP("MachineCtl::Table", "What no option names stays as it was told before."), Commands::TellLoaded},
    {"pause", "MACHINE", 1, 1, Values::Any, "", PauseOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Give a machine no further jobs."), "", Commands::PauseMachine},
    {"resume",
     "MACHINE",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Give a machine jobs again."),
     "",
     Commands::ResumeMachine},
    {"printer",
     "MACHINE JSON|none|-",
     2,
     2,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Tell what takes the machine files of a machine."),
     QT_TRANSLATE_NOOP(
         "MachineCtl::Table",
         "It is a JSON object; with - it is read from standard input, where others on this computer do not "
         "see what it holds."),
     Commands::TellPrinter},
    {"jobs", "[TEXT]", 0, 1, Values::Any, "", JobsOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "List the jobs, the newest first."),
     QT_TRANSLATE_NOOP("MachineCtl::Table",
                       "TEXT is a part of the name, or a number. With --json it is an array of all "
                       "jobs that were asked for, each with id, name, state, reasons and machine."),
     Commands::ListJobs},
    {"show",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Show everything about a job, its history, and which machines fit."),
     QT_TRANSLATE_NOOP("MachineCtl::Table", "A job is called by its number or its id."),
     Commands::ShowJob},
    {"submit", "FILE.TavAMX", 1, 1, Values::Files, "", SubmitOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Hand in a platform as a job for a machine, or for a group."), "",
     Commands::Submit},
    {"hold",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Let a waiting job stay until it is released."),
     "",
     Commands::ActOnJob},
    {"release",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Let a held job wait for its machine."),
     "",
     Commands::ActOnJob},
    {"cancel",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Cancel a job."),
     "",
     Commands::ActOnJob},
    {"start-again",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Say that the printer did not begin, and let the job wait again."),
     QT_TRANSLATE_NOOP("MachineCtl::Table", "When it did begin after all, the job is printed twice."),
     Commands::ActOnJob},
    {"confirm-done",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Say that a job is printed."),
     "",
     Commands::ActOnJob},
    {"acknowledge",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Say that what is loaded will do, though the job asks for something else."),
     "",
     Commands::ActOnJob},
    {"move", "JOB [MACHINE]", 1, 2, Values::Any, "", GroupOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Give a waiting job to another machine, or to a group."), "",
     Commands::MoveJob},
    {"priority",
     "JOB N",
     2,
     2,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Set a job's priority, from 1 to 100; higher goes first."),
     "",
     Commands::SetPriority},
    {"copy",
     "JOB",
     1,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Make a new job of the same platform."),
     "",
     Commands::CopyJob},
    {"fetch", "JOB", 1, 1, Values::Any, "", FetchOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Get the machine file of a job, or another of its files."), "",
     Commands::Fetch},
    {"watch",
     "[JOB]",
     0,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Show changes as they happen, until the job has ended."),
     QT_TRANSLATE_NOOP("MachineCtl::Table",
                       "Without a job it shows those of all jobs, until it is interrupted. With --json "
                       "each line is an object."),
     Commands::Watch},
    {"estimate",
     "FILE.TavAMX",
     1,
     1,
     Values::Files,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Show the estimates that a platform carries."),
     "",
     Commands::Estimate},
    {"open",
     "[JOB]",
     0,
     1,
     Values::Any,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Print the address of the page, or of the page at a job."),
     QT_TRANSLATE_NOOP("MachineCtl::Table", "The address of a job lets a browser in once, within an hour."),
     Commands::Open},
    {"backup",
     "FILE|FOLDER",
     1,
     1,
     Values::Files,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Write all jobs and their files into a tar archive, or into a folder."),
     QT_TRANSLATE_NOOP("MachineCtl::Table",
                       "The manager goes on meanwhile; the backup is of one moment. A folder is one that is there or "
                       "ends with a slash; where it holds an earlier backup, only what is new is fetched."),
     Commands::Backup},
    {"restore", "FILE|FOLDER", 1, 1, Values::Files, "", RestoreOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Put what a backup holds in the place of all jobs."),
     QT_TRANSLATE_NOOP("MachineCtl::Table",
                       "Nothing may be carried out meanwhile. Jobs that waited when the backup was made are held then, "
                       "because they may have been printed since."),
     Commands::Restore},
    {"check", "", 0, 0, Values::None, "", CheckOptions,
     QT_TRANSLATE_NOOP("MachineCtl::Table",
                       "Look whether the store is sound, and each file of a job there and as it was."),
     QT_TRANSLATE_NOOP("MachineCtl::Table", "It ends with 7 when it found something that is wrong."), Commands::Check},
    {"completion",
     "bash",
     1,
     1,
     Values::Words,
     "bash",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Print what lets a shell complete the commands."),
     "",
     Commands::PrintCompletion},
    {"man",
     "",
     0,
     0,
     Values::None,
     "",
     {},
     QT_TRANSLATE_NOOP("MachineCtl::Table", "Print the man page, for man --local-file."),
     "",
     Commands::PrintManual},
};

constexpr ExitStatusInfo Statuses[] = {
    {Succeeded, QT_TRANSLATE_NOOP("MachineCtl::Table", "It was done.")},
    {Failed, QT_TRANSLATE_NOOP("MachineCtl::Table", "It failed; a sentence tells why.")},
    {WrongUsage, QT_TRANSLATE_NOOP("MachineCtl::Table", "The command line, or what it holds, cannot be understood.")},
    {NotFound, QT_TRANSLATE_NOOP("MachineCtl::Table", "There is no such job, machine or file of a job.")},
    {Conflict, QT_TRANSLATE_NOOP("MachineCtl::Table", "The state of the job or the machine does not allow it now.")},
    {Forbidden, QT_TRANSLATE_NOOP("MachineCtl::Table", "Whoever asks may not do it.")},
    {NotReached, QT_TRANSLATE_NOOP("MachineCtl::Table", "The Machine Manager cannot be reached.")},
    {Unsound, QT_TRANSLATE_NOOP("MachineCtl::Table", "The store or a file of a job is damaged or missing.")},
    {Interrupted, QT_TRANSLATE_NOOP("MachineCtl::Table", "It was interrupted.")},
};

} // namespace

std::span<const OptionInfo> GetCommonOptions()
{
    return CommonOptions;
}

std::span<const CommandInfo> GetCommands()
{
    return Table;
}

const CommandInfo* FindCommand(std::string_view i_name)
{
    const auto* const found = std::find_if(std::begin(Table), std::end(Table),
                                           [&](const CommandInfo& i_row) { return i_row.name == i_name; });
    return found == std::end(Table) ? nullptr : found;
}

std::span<const ExitStatusInfo> GetExitStatuses()
{
    return Statuses;
}

} // namespace MachineCtl
