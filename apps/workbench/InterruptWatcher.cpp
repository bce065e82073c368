#include "InterruptWatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <stdexcept>
#include <utility>

#include <sys/eventfd.h>
#include <unistd.h>

namespace Workbench {

namespace {

// A signal handler may only write to a descriptor; the notifier reads it in the event loop.
int mgp_descriptor = -1;
struct sigaction mgp_formerInterrupt;
struct sigaction mgp_formerTerminate;

extern "C" void HandleInterrupt(int)
{
    const std::uint64_t one = 1;
    [[maybe_unused]] const auto written = write(mgp_descriptor, &one, sizeof one);
}

} // namespace

InterruptWatcher::InterruptWatcher(std::function<void()> i_on_interrupt, QObject* ip_parent)
    : QObject(ip_parent)
    , _onInterrupt(std::move(i_on_interrupt))
{
    mgp_descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (mgp_descriptor < 0)
        throw std::runtime_error("No event descriptor could be made.");
    _notifier = new QSocketNotifier(mgp_descriptor, QSocketNotifier::Read, this);
    connect(_notifier, &QSocketNotifier::activated, this, &InterruptWatcher::_ReadSignal);
    struct sigaction action = {};
    action.sa_handler = HandleInterrupt;
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, &mgp_formerInterrupt);
    sigaction(SIGTERM, &action, &mgp_formerTerminate);
}

InterruptWatcher::~InterruptWatcher()
{
    sigaction(SIGINT, &mgp_formerInterrupt, nullptr);
    sigaction(SIGTERM, &mgp_formerTerminate, nullptr);
    delete _notifier;
    close(mgp_descriptor);
    mgp_descriptor = -1;
}

void InterruptWatcher::_ReadSignal()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const auto got = read(mgp_descriptor, &count, sizeof count);
    _interrupted = true;
    if (_onInterrupt)
        _onInterrupt();
}

} // namespace Workbench
