#pragma once

#include "machinemanager/jobs/JobState.h"

#include <boost/uuid/uuid.hpp>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

/// Milliseconds of the system clock; what the store keeps.
using Time = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

/// A file that the manager keeps, by its content.
struct KeptFile
{
    std::string name; ///< for people: without folders, at most 200 bytes, no control characters
    std::string hash; ///< SHA-256, 64 lower-case hexadecimal characters
    std::uint64_t size = 0;

    bool operator==(const KeptFile&) const = default;
};

/// Which machine a job is for: one, or any that fits.
struct JobTarget
{
    boost::uuids::uuid machine = {}; ///< the Build Processor's id of it; nil: any machine of the model
    std::string model;               ///< MachineData::modelId
    std::string material;            ///< that has to be loaded; empty: whatever the platform was prepared for

    bool IsGroup() const { return machine.is_nil(); }
    bool operator==(const JobTarget&) const = default;
};

/// What a platform was prepared for; compared with what is loaded at a machine. Empty and absent: not told.
struct JobNeeds
{
    std::string model;
    std::string material;
    std::optional<double> nozzle; ///< mm
    std::optional<double> width;  ///< of the platform, mm
    std::optional<double> depth;
    std::optional<double> height; ///< of the highest part, mm

    bool operator==(const JobNeeds&) const = default;
};

/// Estimates of the platform, where it carries any.
struct JobEstimates
{
    std::optional<double> seconds;
    std::optional<double> cubicCentimetres; ///< of material
    std::optional<double> grams;

    bool operator==(const JobEstimates&) const = default;
};

/// What is told when a job is handed in. Texts are UTF-8, bounded and free of control characters when they get here.
struct NewJob
{
    boost::uuids::uuid id = {}; ///< made by whoever hands it in; the same id is the same job, always
    std::string name;
    std::string owner;
    JobTarget target;
    int priority = 50; ///< 1 to 100; higher goes first
    int copies = 1;    ///< 1 to 999
    bool isDraft = false;
    KeptFile platform;               ///< the .TavAMX file
    std::optional<KeptFile> picture; ///< PNG of the plate
    JobNeeds needs;
    JobEstimates estimates;
    std::map<std::string, std::string> settings; ///< for people: what the user chose
    /// JSON: what the machine is told beside the platform (CommandParameters::parts); empty: nothing.
    std::string order;
};

/// A job as the store has it.
struct Job : NewJob
{
    JobPhase phase = JobPhase::Incoming;
    std::string waitReason;  ///< keyword beside that of the phase, such as "resources-are-not-ready"; may be empty
    std::string detail;      ///< one sentence: why it is where it is; may be empty
    std::int64_t number = 0; ///< counts up in the order of arrival; short enough to be told
    double position = 0;     ///< among those of its priority; lower goes first
    Time created = {};
    Time changed = {};
    Time phaseSince = {};
    std::uint64_t version = 0;       ///< counts up with each change
    boost::uuids::uuid machine = {}; ///< that it is on, or was on last; nil: none yet
    std::string machineName;         ///< of the same, when it was claimed
    int percent = 0;                 ///< of the phase
    std::string stage;
    int attempts = 0; ///< to send it since it was last released
    int copiesDone = 0;
    bool isAcknowledged = false; ///< somebody said that what is loaded will do
    std::optional<KeptFile> machineFile;
    std::optional<Time> notBefore; ///< of the next attempt; see IsPutOff
    std::string claimant;          ///< daemon that works on it; empty: none
    std::uint64_t fence = 0;       ///< counts up with each claim

    JobState GetState() const { return GetInfo(phase).state; }
    /// Keywords, the phase's first.
    std::vector<std::string> GetReasons() const;
};

/// One line of a job's history.
struct HistoryEntry
{
    Time time = {};
    std::string actor;                   ///< who did it: a user, or "system"
    std::string event;                   ///< GetName of a JobEvent, or "submit", "move", "priority", …
    JobPhase phase = JobPhase::Incoming; ///< afterwards
    std::string detail;                  ///< one sentence; may be empty
};

/// A job in a phase that ends after a time.
struct TimedJob
{
    boost::uuids::uuid id = {};
    JobPhase phase = JobPhase::Incoming;
    Time since = {}; ///< Job::phaseSince
    std::uint64_t version = 0;
};

/// What an operator says is in a machine. Empty and absent: not told.
struct LoadedMaterial
{
    std::string material;
    std::optional<double> nozzle; ///< mm
    std::string plate;

    bool operator==(const LoadedMaterial&) const = default;
};

/// What the manager keeps of a machine, beside what its service tells.
struct MachineEntry
{
    boost::uuids::uuid id = {}; ///< the Build Processor's
    std::string name;
    std::string model;
    bool isPaused = false; ///< its queue, by an operator
    std::string pauseReason;
    LoadedMaterial loaded;
    std::string printer; ///< JSON: what takes the machine file; empty: nothing does
    Time seen = {};
};

/// Which jobs, in which order, and which of them.
struct JobFilter
{
    std::vector<JobState> states = {}; ///< empty: all
    std::string owner = {};            ///< empty: everybody's
    boost::uuids::uuid machine = {};
    std::string text = {}; ///< part of the name, without regard to case; or a number
    bool isOldestFirst = false;
    std::int64_t after = 0; ///< number of the last job of the page before; 0: the first page
    int count = 50;         ///< 1 to 500
};

/// No attempt lies further ahead.
constexpr std::chrono::minutes LongestPutOff(10);

/// Whether its next attempt is still to be waited for. One that lies further ahead than any is put off was put off by a
/// clock that has been set back since, and is not waited for.
bool IsPutOff(const Job& i_job, Time i_now);

} // namespace MachineService::MachineManager
