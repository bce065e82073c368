#include "client/events/LifetimeGate.h"

#include "tavsdk/Mutex.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <utility>

namespace MachineService {

namespace {

constexpr std::uint32_t ClosedBit = std::uint32_t{1} << 31U;

} // namespace

struct LifetimeGate::State
{
    /// Entries of all threads, and ClosedBit. Every piece of news passes here on several threads at once: the mutex is
    /// only for those who leave a closed gate and for the one who waits for them.
    std::atomic<std::uint32_t> entries = 0;
    TavSDK::Mutex
        mutex; // guards no data: it keeps a leaver's notice from coming between a look at entries and the wait
    std::condition_variable_any left;

    void Leave()
    {
        if (entries.fetch_sub(1) & ClosedBit) {
            const TavSDK::MutexLock lock(mutex);
            left.notify_all();
        }
    }
};

namespace {

/// The entries of this thread, chained. Nothing to destroy: a client that a host keeps in a global goes after the
/// thread's own objects went.
thread_local LifetimeGate::Entry* mgp_entries = nullptr;

} // namespace

LifetimeGate::LifetimeGate()
    : _state(std::make_shared<State>())
{}

LifetimeGate::Entry LifetimeGate::Enter() const
{
    if (_state->entries.fetch_add(1) & ClosedBit) {
        _state->Leave();
        return Entry(nullptr);
    }
    return Entry(_state);
}

void LifetimeGate::Close()
{
    _state->entries.fetch_or(ClosedBit);
    std::uint32_t own = 0;
    for (const Entry* entry = mgp_entries; entry; entry = entry->_other)
        own += entry->_state == _state ? 1 : 0;
    TavSDK::MutexLock lock(_state->mutex);
    while ((_state->entries.load() & ~ClosedBit) != own)
        _state->left.wait(lock);
}

LifetimeGate::Entry::Entry(std::shared_ptr<State> ip_state)
    : _state(std::move(ip_state))
{
    if (_state)
        _Link();
}

LifetimeGate::Entry::Entry(Entry&& io_other) noexcept
{
    if (!io_other._state)
        return;
    io_other._Unlink();
    _state = std::move(io_other._state);
    _Link();
}

LifetimeGate::Entry::~Entry()
{
    if (!_state)
        return;
    _Unlink();
    _state->Leave();
}

void LifetimeGate::Entry::_Link()
{
    _other = std::exchange(mgp_entries, this);
}

void LifetimeGate::Entry::_Unlink()
{
    Entry** link = &mgp_entries;
    while (*link != this)
        link = &(*link)->_other;
    *link = _other;
}

} // namespace MachineService
