#pragma once

#include <cstdint>

namespace MachineService {

/// What went wrong, as machine services and this library report it.
///
/// The values are the published ones; gaps belong to services that this library never asks.
enum class ErrorCode : std::int32_t
{
    None = 0,
    InternalError = 1,            ///< an internal step failed
    ServicesUnavailable = 2,      ///< information about the Build Processors could not be collected
    FileError = 3,                ///< a file could not be read or created
    PldfError = 4,                ///< a PLDF file could not be read, decoded or written
    CommandNotFound = 6,          ///< the machine has no such command
    ReportNotSupported = 7,       ///< the machine does not generate reports
    UnexpectedOutput = 8,         ///< the machine's output is not understood
    MachineNotFound = 10,         ///< the service does not know the machine
    QueuePaused = 11,             ///< the machine's queue is paused
    QueueError = 12,              ///< the machine's queue is in error
    QueueOffline = 13,            ///< the machine's queue is offline
    UnsupportedOutputFormat = 14, ///< output in a format that cannot be loaded
    UnsupportedInputFormat = 15,  ///< input in a format that the machine does not take
    ProcessingError = 16,         ///< the job failed while it was processed
    ProcessingAborted = 17,       ///< the job was aborted
    SendFailed = 18,              ///< the platform could not be sent to the Machine Manager
    MachineLoadError = 22,        ///< the machine could not be loaded
};

} // namespace MachineService
