#pragma once

#include "buildprocessor/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <filesystem>

namespace MachineService::BuildProcessor {

/// Waits for changes in one folder, which need not exist yet and may come and go.
///
/// Normal use, on one thread: Arm(), read the folder, Wait(), and again; a change between Arm() and Wait() is not lost.
/// Where the system has no watches left, Wait() returns every 500 ms instead.
///
/// Thread: Arm and Wait on one thread; Wake and Stop from any.
class FolderWatcher
{
public:
    enum class Event
    {
        Changed, ///< the folder may have changed
        Woken,   ///< Wake was called
        Stopped, ///< Stop was called; stays so
    };

    explicit FolderWatcher(std::filesystem::path i_folder);

    void Arm();
    /// Waits for the first event, then until the folder is quiet for a moment, at most 200 ms, so that a file written
    /// in several steps is read once.
    Event Wait();
    void Wake();
    void Stop();
    bool IsWatching() const { return _watch >= 0; }

private:
    int _WatchAncestor();
    /// True when an event came before the time was over; a negative time never ends.
    bool _Poll(std::chrono::milliseconds i_time);
    void _Drain();

    const std::filesystem::path _folder;
    UniqueFd _inotify;
    UniqueFd _wake;
    int _watch = -1;
    std::atomic<bool> _stopped = false;
    std::atomic<bool> _woken = false;
};

} // namespace MachineService::BuildProcessor
