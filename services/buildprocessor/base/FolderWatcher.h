#pragma once

#include "buildprocessor/base/UniqueFd.h"

#include <atomic>
#include <chrono>
#include <filesystem>
#include <map>
#include <set>
#include <string>

namespace MachineService::BuildProcessor {

/// Waits for changes in one folder, which need not exist yet and may come and go.
///
/// Normal use, on one thread: Arm(), read the folder, Wait(), and again; a change between Arm() and Wait() is not lost.
/// What changes behind links, of the folder itself and of entries in it, is noticed as well.
///
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
    /// Watches by their descriptors, each with the names that matter in its folder.
    using Names = std::map<int, std::set<std::string>>;

    int _WatchAncestor();
    void _WatchLinks();
    void _FollowLinks(const std::filesystem::path& i_path, Names& io_names);
    void _WatchName(const std::filesystem::path& i_folder, const std::string& i_name, Names& io_names);
    /// True when an event came before the time was over; a negative time never ends.
    bool _Poll(std::chrono::milliseconds i_time);
    void _TakeWakes();
    /// True when something happened that matters.
    bool _TakeChanges();

    const std::filesystem::path _folder;
    UniqueFd _inotify;
    UniqueFd _wake;
    int _watch = -1;
    Names _linkNames;
    bool _isBlindToLinks = false; ///< one of them could not be watched
    std::atomic<bool> _stopped = false;
    std::atomic<bool> _woken = false;
};

} // namespace MachineService::BuildProcessor
