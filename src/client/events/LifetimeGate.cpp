#include "client/events/LifetimeGate.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace MachineService {

struct LifetimeGate::State
{
    std::mutex mutex; // guards all below; held by nobody who calls out
    std::condition_variable left;
    bool isClosed = false;
    std::vector<std::thread::id> entries; ///< a thread stands here as often as it entered
};

LifetimeGate::LifetimeGate()
    : _state(std::make_shared<State>())
{}

LifetimeGate::Entry LifetimeGate::Enter() const
{
    {
        const std::lock_guard lock(_state->mutex);
        if (_state->isClosed)
            return Entry(nullptr);
        _state->entries.push_back(std::this_thread::get_id());
    }
    return Entry(_state);
}

void LifetimeGate::Close()
{
    const auto is_own = [own = std::this_thread::get_id()](std::thread::id i_entry) {
        return i_entry == own;
    };
    std::unique_lock lock(_state->mutex);
    _state->isClosed = true;
    _state->left.wait(lock, [&] { return std::ranges::all_of(_state->entries, is_own); });
}

LifetimeGate::Entry::Entry(std::shared_ptr<State> ip_state)
    : _state(std::move(ip_state))
{}

LifetimeGate::Entry::Entry(Entry&& io_other) noexcept = default;

LifetimeGate::Entry::~Entry()
{
    if (!_state)
        return;
    const std::lock_guard lock(_state->mutex);
    auto& entries = _state->entries;
    const auto own = std::ranges::find(entries, std::this_thread::get_id());
    std::swap(*own, entries.back());
    entries.pop_back();
    if (_state->isClosed)
        _state->left.notify_all();
}

} // namespace MachineService
