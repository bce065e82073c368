#include "hosting/InterruptWatcher.h"

#include <QSocketNotifier>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Hosting {

namespace {

// A signal handler may only set a flag and write to a descriptor, which wakes the event loop.
std::atomic<bool> mgp_interrupted = false;
int mgp_descriptor = -1;
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void NoteSignal(int)
{
    mgp_interrupted = true;
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(mgp_descriptor, &one, sizeof one);
}

} // namespace

void InterruptWatcher::CatchSignals()
{
    if (mgp_descriptor >= 0)
        return;
    mgp_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (mgp_descriptor < 0)
        throw std::runtime_error("No event descriptor could be made.");
    struct sigaction note = {};
    note.sa_handler = NoteSignal;
    note.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction former = {};
        sigaction(signal, nullptr, &former);
        if (signal != SIGHUP || former.sa_handler != SIG_IGN)
            sigaction(signal, &note, nullptr);
    }
}

InterruptWatcher::InterruptWatcher(std::function<void()> i_on_interrupt, QObject* ip_parent)
    : QObject(ip_parent)
    , _onInterrupt(std::move(i_on_interrupt))
{
    CatchSignals();
    _notifier = new QSocketNotifier(mgp_descriptor, QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &InterruptWatcher::_ReadSignal);
}

InterruptWatcher::~InterruptWatcher()
{
    delete _notifier;
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = read(mgp_descriptor, &count, sizeof count);
    mgp_interrupted = false;
}

void InterruptWatcher::Interrupt()
{
    NoteSignal(0);
}

bool InterruptWatcher::WasInterrupted() const
{
    return mgp_interrupted;
}

void InterruptWatcher::ThrowIfInterrupted() const
{
    if (mgp_interrupted)
        throw Interruption();
}

void InterruptWatcher::_ReadSignal()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = read(mgp_descriptor, &count, sizeof count);
    _stop.request_stop();
    if (_onInterrupt)
        _onInterrupt();
}

} // namespace Hosting
