#include "buildprocessor/FolderWatcher.h"

#include "buildprocessor/Failure.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace MachineService::BuildProcessor {

namespace {

using namespace std::chrono_literals;

constexpr auto RescanInterval = 500ms;
constexpr auto QuietTime = 40ms;
constexpr auto LongestWait = 200ms;

constexpr std::uint32_t Gone = IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

FolderWatcher::FolderWatcher(std::filesystem::path i_folder)
    : _folder(std::move(i_folder))
    , _inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , _wake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (!_wake)
        Fail(ErrorCode::InternalError, "Failed to watch the folder '" + _folder.string() + "': " + ErrorText(errno));
}

void FolderWatcher::Arm()
{
    if (!_inotify)
        return;
    // The same path can be another folder by now. Watching it again is cheap and harmless when it is not.
    int watch = inotify_add_watch(_inotify.Get(), _folder.c_str(),
                                  IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | Gone);
    // Any other reason is not cured by looking higher up; the folder is then read now and again.
    if (watch < 0 && (errno == ENOENT || errno == ENOTDIR))
        watch = _WatchAncestor();
    if (_watch >= 0 && _watch != watch)
        inotify_rm_watch(_inotify.Get(), _watch);
    _watch = watch;
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
    const bool changed = _Poll(IsWatching() ? -1ms : RescanInterval);
    if (_stopped)
        return Event::Stopped;
    if (_woken.exchange(false)) {
        _Drain();
        return Event::Woken;
    }
    const auto end = std::chrono::steady_clock::now() + LongestWait;
    for (bool more = changed; more && !_stopped && std::chrono::steady_clock::now() < end;) {
        _Drain();
        more = _Poll(QuietTime);
    }
    _Drain();
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

void FolderWatcher::_Drain()
{
    eventfd_t value = 0;
    eventfd_read(_wake.Get(), &value);
    // What exactly happened does not matter: the folder is read again and compared.
    alignas(inotify_event) std::array<char, 4096> buffer;
    while (_inotify && read(_inotify.Get(), buffer.data(), buffer.size()) > 0) {
    }
}

} // namespace MachineService::BuildProcessor
