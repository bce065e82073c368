#include "buildprocessor/base/FolderWatcher.h"

#include "contract/Failure.h"
#include "tavsdk/FileError.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <deque>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

using namespace std::chrono_literals;

constexpr auto RescanInterval = 500ms;
constexpr auto QuietTime = 40ms;
constexpr auto LongestWait = 200ms;

// As many as a folder of profiles may hold; and as deep as the system itself follows them.
constexpr std::size_t MaxLinks = 1000;
constexpr int MaxLinksOfOnePath = 40;

constexpr std::uint32_t Entries = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
constexpr std::uint32_t Gone = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FolderWatcher::FolderWatcher(std::filesystem::path i_folder)
    : _folder(std::move(i_folder))
    , _inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , _wake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (!_wake)
        Fail(ErrorCode::InternalError,
             "Failed to watch the folder '" + _folder.string() + "': " + TavSDK::ErrnoText(errno) + '.');
}

void FolderWatcher::Arm()
{
    if (!_inotify)
        return;
    // The same path can be another folder by now. Watching it again is cheap and harmless when it is not.
    int watch = inotify_add_watch(_inotify.Get(), _folder.c_str(), Entries | Gone);
    // Any other reason is not cured by looking higher up; the folder is then read now and again.
    if (watch < 0 && (errno == ENOENT || errno == ENOTDIR))
        watch = _WatchAncestor();
    if (_watch >= 0 && _watch != watch)
        inotify_rm_watch(_inotify.Get(), _watch);
    _watch = watch;
    _WatchLinks();
}

void FolderWatcher::_WatchLinks()
{
    Names names;
    _isBlindToLinks = false;
    _FollowLinks(_folder, names);
    std::error_code error;
    std::size_t count = 0;
    std::filesystem::directory_iterator entry(_folder, error);
    for (; !error && entry != std::filesystem::directory_iterator() && count < MaxLinks; entry.increment(error)) {
        if (!entry->is_symlink(error))
            continue;
        _FollowLinks(entry->path(), names);
        ++count;
    }
    for (const auto& watched : _linkNames) {
        if (watched.first != _watch && !names.contains(watched.first))
            inotify_rm_watch(_inotify.Get(), watched.first);
    }
    _linkNames = std::move(names);
}

void FolderWatcher::_FollowLinks(const std::filesystem::path& i_path, Names& io_names)
{
    // Step by step, because a link anywhere on the way may lead elsewhere next time.
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::absolute(i_path, error);
    std::filesystem::path reached = whole.root_path();
    const auto relative = whole.relative_path();
    std::deque<std::filesystem::path> rest(relative.begin(), relative.end());
    int links = 0;
    while (!error && !rest.empty() && links <= MaxLinksOfOnePath) {
        const std::filesystem::path name = std::move(rest.front());
        rest.pop_front();
        const std::filesystem::path next = name == ".." ? reached.parent_path() : reached / name;
        const auto type = std::filesystem::symlink_status(next, error).type();
        const bool isLink = type == std::filesystem::file_type::symlink;
        // Where the way ends is of interest when a link led there.
        if (isLink || (links > 0 && (rest.empty() || type == std::filesystem::file_type::not_found)))
            _WatchName(reached, name.string(), io_names);
        if (!isLink) {
            reached = next;
            continue;
        }
        ++links;
        const std::filesystem::path target = std::filesystem::read_symlink(next, error);
        if (target.is_absolute())
            reached = target.root_path();
        const auto further = target.relative_path();
        rest.insert(rest.begin(), further.begin(), further.end());
    }
}

void FolderWatcher::_WatchName(const std::filesystem::path& i_folder, const std::string& i_name, Names& io_names)
{
    const int watch = inotify_add_watch(_inotify.Get(), i_folder.c_str(), Entries | Gone | IN_MASK_ADD);
    if (watch >= 0)
        io_names[watch].insert(i_name);
    else
        _isBlindToLinks = true;
}

int FolderWatcher::_WatchAncestor()
{
    // The nearest ancestor tells when the folder, or the next one on the way to it, comes. That may happen before the
    // watch stands; then nothing would ever tell, so look for the next one afterwards and begin again when it is there.
    for (std::filesystem::path next = _folder, ancestor = _folder.parent_path();;
         next = ancestor, ancestor = next.parent_path()) {
        const int watch = inotify_add_watch(_inotify.Get(), ancestor.c_str(), IN_CREATE | IN_MOVED_TO | Gone);
        if (watch >= 0) {
            std::error_code ignored;
            if (std::filesystem::is_directory(next, ignored))
                Wake();
            return watch;
        }
        if ((errno != ENOENT && errno != ENOTDIR) || ancestor == next)
            return -1;
    }
}

FolderWatcher::Event FolderWatcher::Wait()
{
    for (bool changed = false; !changed;) {
        const bool isOver = !_Poll(IsWatching() && !_isBlindToLinks ? -1ms : RescanInterval);
        // Before the flags are looked at, which are set before the wake: none is missed.
        _TakeWakes();
        if (_stopped)
            return Event::Stopped;
        changed = _TakeChanges() || isOver;
        if (_woken.exchange(false))
            return Event::Woken;
    }
    const auto end = std::chrono::steady_clock::now() + LongestWait;
    while (!_stopped && std::chrono::steady_clock::now() < end && _Poll(QuietTime)) {
        _TakeWakes();
        _TakeChanges();
    }
    return _stopped ? Event::Stopped : Event::Changed;
}

void FolderWatcher::Wake()
{
    _woken = true;
    eventfd_write(_wake.Get(), 1);
}

void FolderWatcher::Stop()
{
    _stopped = true;
    eventfd_write(_wake.Get(), 1);
}

bool FolderWatcher::_Poll(std::chrono::milliseconds i_time)
{
    std::array<pollfd, 2> fds{pollfd{_wake.Get(), POLLIN, 0}, pollfd{_inotify.Get(), POLLIN, 0}};
    const int count = poll(fds.data(), fds.size(), static_cast<int>(i_time.count()));
    return count > 0;
}

void FolderWatcher::_TakeWakes()
{
    eventfd_t value = 0;
    eventfd_read(_wake.Get(), &value);
}

bool FolderWatcher::_TakeChanges()
{
    // What exactly happened does not matter: the folder is read again and compared. Where, does: the folder that a link
    // leads to may be a busy one.
    bool matters = false;
    alignas(inotify_event) std::array<char, 4096> buffer;
    for (ssize_t size = 0; _inotify && (size = read(_inotify.Get(), buffer.data(), buffer.size())) > 0;) {
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
            if (event->mask & IN_IGNORED)
                continue;
            const auto names = _linkNames.find(event->wd);
            matters |= event->wd == _watch || event->len == 0 ||
                       (names != _linkNames.end() && names->second.contains(event->name));
        }
    }
    return matters;
}

} // namespace MachineService::BuildProcessor
