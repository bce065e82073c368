#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Jobs and machines as a Machine Manager tells of them. Texts are UTF-8, ids are UUIDs with lower-case letters,
/// lengths mm. What is empty or absent was not told.
namespace Hosting::Jobs {

using Time = std::chrono::time_point<std::chrono::system_clock, std::chrono::milliseconds>;

struct File
{
    std::string name; ///< for people
    std::uint64_t size = 0;
    std::string sha256; ///< 64 lower-case hexadecimal characters

    bool operator==(const File&) const = default;
};

/// One machine, or any of a model.
struct Target
{
    std::string machine = {}; ///< id
    std::string model = {};
    std::string material = {}; ///< that has to be loaded
};

/// What a platform was prepared for.
struct Needs
{
    std::string model;
    std::string material;
    std::optional<double> nozzle;
    std::optional<double> width;
    std::optional<double> depth;
    std::optional<double> height;
};

/// What a platform is estimated to take.
struct Consumption
{
    std::optional<double> seconds;
    std::optional<double> cubicCentimetres;
    std::optional<double> grams;
};

/// States are keywords of the Internet Printing Protocol (RFC 8011).
struct Job
{
    std::string id;
    std::int64_t number = 0;
    std::string name;
    std::string owner;
    std::string state;
    std::vector<std::string> reasons; ///< keywords, the most telling one first
    std::string detail;               ///< a sentence
    std::string phase;
    std::string machine;   ///< name of the machine that it is on, or was on last
    std::string machineId; ///< of the same
    Target target;
    int priority = 0;
    int copies = 0;
    int copiesDone = 0;
    int percent = 0;
    std::string stage;
    Time created = {};
    Time changed = {};
    std::int64_t version = 0;
    Needs needs;
    Consumption estimates;
    std::vector<std::pair<std::string, std::string>> settings; ///< what the user chose, for people
    File platform;
    std::optional<File> machineFile;
    bool hasPicture = false;
    bool isDraft = false;
    std::vector<std::string> actions; ///< that its phase allows

    /// It does not change any more.
    bool IsFinal() const { return state == "completed" || state == "canceled" || state == "aborted"; }
};

struct HistoryEntry
{
    Time time = {};
    std::string actor;
    std::string event;
    std::string phase; ///< afterwards
    std::string detail;
};

/// Why a machine does, or does not, get a job.
struct Candidate
{
    std::string machine; ///< id
    std::string name;
    std::string refusal; ///< a sentence; empty: it fits
    bool canBeAcknowledged = false;
};

/// What is in a machine.
struct Loaded
{
    std::string material;
    std::optional<double> nozzle;
    std::string plate;
};

struct Machine
{
    std::string id;
    std::string name;
    std::string model;
    bool isOffered = false;           ///< by its service, now
    std::string state;                ///< "idle", "processing" or "stopped"
    std::vector<std::string> reasons; ///< sentences; why it takes no job
    std::int64_t waiting = 0;         ///< jobs for the machine itself
    bool isPaused = false;
    std::string pauseReason;
    Loaded loaded;
    std::string printer; ///< JSON: what takes its machine files; empty: nothing does, or it is not for this user
    std::optional<Job> current;
    Time seen = {};
};

/// The manager itself.
struct Information
{
    std::string name;
    std::string version;
    std::map<std::string, std::int64_t> jobs; ///< by state
    std::uint64_t diskUse = 0;                ///< bytes
    std::string pageAddress;                  ///< empty: there is no page
    std::string user;                         ///< who asks
    std::string role;                         ///< "none", "see", "submit" or "operate"
};

/// Which jobs, and which of them.
struct Filter
{
    std::vector<std::string> states = {}; ///< empty: all
    std::string owner = {};
    std::string machine = {}; ///< id or name
    std::string text = {};    ///< part of the name, or a number
    bool isOldestFirst = false;
    std::int64_t after = 0; ///< JobPage::next of the page before; 0: the first page
    int count = 50;         ///< 1 to 500
};

struct JobPage
{
    std::vector<Job> jobs;
    std::optional<std::int64_t> next; ///< absent: it is the last page
};

/// What is told when a job is handed in.
struct NewJob
{
    std::string id = {}; ///< made by whoever hands it in: the same id is the same job, always
    std::string name = {};
    Target target = {};
    int priority = 50; ///< 1 to 100; higher goes first
    int copies = 1;    ///< 1 to 999
    bool isDraft = false;
    std::vector<std::pair<std::string, std::string>> settings = {};
};

enum class Action
{
    Hold,
    Release,
    Cancel,
    StartAgain,  ///< nothing was started: it waits again
    ConfirmDone, ///< it is printed
    Acknowledge, ///< what is loaded will do
};

enum class FileKind
{
    Platform,
    MachineFile,
    Picture,
};

/// A file that the manager keeps, by its content.
struct StoredFile
{
    std::string sha256;
    std::uint64_t size = 0;
};

/// A copy of the store of one moment, and the files that its jobs have.
struct BackupContents
{
    std::string id;
    std::string made; ///< ISO 8601
    std::int64_t jobs = 0;
    StoredFile store;
    std::vector<StoredFile> files;
    std::vector<std::string> missing; ///< SHA-256 of files that jobs have and that are not in it
};

struct Restored
{
    std::int64_t jobs = 0;
    std::int64_t held = 0; ///< waited when the backup was made
    std::string aside;     ///< the manager's folder of what was there before; empty: nothing was
};

/// What is wrong in the manager's store or folder of files.
struct Finding
{
    std::string kind;        ///< "store", "missing", "damaged", "unreadable"; "unneeded" is no fault
    std::int64_t number = 0; ///< of the job; 0: of none
    std::string job;
    std::string file;
    std::string sha256;
    std::string detail; ///< a sentence
};

struct CheckedFiles
{
    std::vector<Finding> findings;
    std::int64_t files = 0;
    std::optional<std::int64_t> next; ///< absent: all were looked at
};

/// What changed.
struct Change
{
    enum class Kind
    {
        Job,
        Machine, ///< any of them
        All,     ///< anything may have
    };
    Kind kind = Kind::All;
    std::string job; ///< id
};

} // namespace Hosting::Jobs
