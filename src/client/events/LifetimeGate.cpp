#include "client/events/LifetimeGate.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace MachineService {

namespace {

constexpr std::uint32_t ClosedBit = std::uint32_t{1} << 31U;

} // namespace

struct LifetimeGate::State
{
    /// Entries of all threads, and ClosedBit. Every piece of news passes here on several threads at once: the mutex is
    /// only for those who leave a closed gate and for the one who waits for them.
    std::atomic<std::uint32_t> entries = 0;
    std::mutex mutex; // guards no data: it keeps a leaver's notice from coming between a look at entries and the wait
    std::condition_variable left;

    void Leave()
    {
        if (entries.fetch_sub(1) & ClosedBit) {
            const std::lock_guard lock(mutex);
            left.notify_all();
        }
    }
};

namespace {

/// How often this thread has entered each gate. A thread is seldom in more than two.
template <class State>
std::uint32_t& OwnEntries(const State* ip_state)
{
    thread_local std::vector<std::pair<const State*, std::uint32_t>> mgp_own;
    const auto found = std::ranges::find(mgp_own, ip_state, [](const auto& i_own) { return i_own.first; });
    if (found != mgp_own.end())
        return found->second;
    // Those of gates that were left are used again, so that the list does not grow with the gates that ever were.
    const auto unused = std::ranges::find(mgp_own, 0U, [](const auto& i_own) { return i_own.second; });
    auto& own = unused != mgp_own.end() ? *unused : mgp_own.emplace_back();
    own = {ip_state, 0};
    return own.second;
}

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
    ++OwnEntries(_state.get());
    return Entry(_state);
}

void LifetimeGate::Close()
{
    _state->entries.fetch_or(ClosedBit);
    const std::uint32_t own = OwnEntries(_state.get());
    std::unique_lock lock(_state->mutex);
    _state->left.wait(lock, [&] { return (_state->entries.load() & ~ClosedBit) == own; });
}

LifetimeGate::Entry::Entry(std::shared_ptr<State> ip_state)
    : _state(std::move(ip_state))
{}

LifetimeGate::Entry::Entry(Entry&& io_other) noexcept = default;

LifetimeGate::Entry::~Entry()
{
    if (!_state)
        return;
    --OwnEntries(_state.get());
    _state->Leave();
}

} // namespace MachineService
