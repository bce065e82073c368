#pragma once

#include "hosting/RunFolder.h"

#include <filesystem>
#include <optional>

namespace Hosting {

/// What has to be so in a program of ours before anything else runs: the first object in its main.
///
/// Closed standard streams are open on nothing, so that no file takes their place and is written over. Writing to a
/// pipe that nobody reads, or beyond the size that files may have, is an error and does not end the program. Signals
/// that end it are noted from here on, see InterruptWatcher. Names of files are UTF-8 in every locale. Temporary files,
/// of the library and of other programs that are started, are in one folder that goes with this object; after a kill it
/// goes with the next run.
///
/// Thread: the main thread, before there is another one.
class HostProcess
{
public:
    /// \throws HostingError when there is no folder for temporary files.
    HostProcess();
    /// The part of it that leaves the environment as it is, for programs that are no hosts: without a folder of their
    /// own, which what they start and leave behind would still have as its own.
    static void Prepare();
    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

private:
    std::optional<RunFolder> _temporary;
};

} // namespace Hosting
