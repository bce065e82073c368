#pragma once

#include "client/interface/ErrorCode.h"
#include "client/interface/ServiceTypes.h"

#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// Kinds of commands that a machine can offer. Values above CreateJobUrl are unknown to this library.
enum class CommandType : std::uint32_t
{
    Additional = 0, ///< a command of the machine's own
    Build = 1,
    ConfigurePrinter = 2, ///< or the connection, see MachineData::configuresConnection
    ConfigurePlatform = 3,
    ConfigureParts = 4,
    AdditionalForParts = 5,    ///< a command of the machine's own
    AdditionalForPlatform = 6, ///< a command of the machine's own
    ConsumptionEstimations = 7,
    AutomaticPlacement = 8,
    PostJob = 9,
    CreateJobUrl = 10,
};

/// One command that a machine offers. Texts are UTF-8.
struct CommandDescription
{
    CommandType type = CommandType::Additional;
    boost::uuids::uuid id = {};
    DataFormat dataFormat = DataFormat::Platform; ///< of what goes to the machine and of what comes back
    std::string name;
    std::string description;
    /// An encoded PNG, BMP or JPEG of at most 1 MiB and 1,024 pixels a side; may be empty. Of a JPEG in several passes,
    /// at most 256 KiB and 64 passes. Anything else, a damaged image too, leaves the command without an icon of its
    /// own. It comes from outside: whoever decodes it bounds it first.
    std::vector<std::uint8_t> icon;

    bool operator==(const CommandDescription&) const = default;
};

/// What a machine is told about one part beyond the platform file.
struct PartParameters
{
    std::string globalId;                                        ///< revision id of the part, 36 lower-case characters
    std::vector<std::pair<std::string, std::string>> strategies; ///< role, strategy id
    bool hasSupports = false;
};

/// Everything that a run of a command needs. Texts are UTF-8.
struct CommandParameters
{
    boost::uuids::uuid commandId = {};
    std::string processName = "VexlorProcess"; ///< which operation of the host calls
    std::string jobName;                       ///< a user's text: never use it as a path as it stands
    std::filesystem::path inputFile;           ///< written before the machine is called, removed after it answered
    std::filesystem::path outputDir;           ///< the machine leaves its files here, removed after they were loaded
    std::vector<PartParameters> parts;
    std::string callerContext; ///< text of the caller for a machine's own commands
    /// Asks the machine to give up; the future then fails with ErrorCode::ProcessingAborted as soon as it can.
    std::stop_token stopToken;
    /// Called on a thread of the service: percent 0 to 100, and what is being done. May be empty. Never call it under a
    /// lock, and never after the future became ready.
    std::function<void(int i_percent, const std::string& i_stage)> onProgress;
    /// Of this run, made by whoever first asked for it; a service that keeps what it is given takes the same id for the
    /// same order and not for a second one. Nil: nobody made one.
    boost::uuids::uuid runId = {};
};

/// Address of a job list, in parts as a URL has them. UTF-8, not percent-encoded.
struct JobListAddress
{
    std::string scheme;
    std::string host;
    std::string path;
    std::string query;
    std::string fragment;
};

/// CommandResult::secondStatus of a job that the Machine Manager took.
inline constexpr std::int32_t SubmissionSent = 14;

/// How a run of a command ended, when it did not end in an exception.
struct CommandResult
{
    bool completed = true;                         ///< false when the machine gave up; status and message then say why
    DataFormat dataFormat = DataFormat::Undefined; ///< of the files in the output folder; None: there are none
    std::int32_t status = 0;                       ///< 0, or the ErrorCode of a failure
    std::int32_t secondStatus = 0;                 ///< SubmissionSent when the Machine Manager took the job
    std::string message;                           ///< UTF-8
    JobListAddress jobList;
};

} // namespace MachineService
