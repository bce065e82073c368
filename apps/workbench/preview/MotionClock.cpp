#include "workbench/preview/MotionClock.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace Workbench {

namespace {

constexpr std::size_t LookAhead = 1024; ///< moves
constexpr std::size_t Settled = 896;    ///< of them that are done with at once
constexpr double SmallestSpeed = 0.05;

/// With a speed at either end and the fastest in between.
double GetSeconds(double i_length, double i_entry, double i_exit, double i_speed, double i_acceleration)
{
    const double reachable =
        std::sqrt(std::max(0.0, i_acceleration * i_length + (i_entry * i_entry + i_exit * i_exit) / 2));
    const double top = std::max({std::min(i_speed, reachable), i_entry, i_exit});
    const double faster = (top * top - i_entry * i_entry) / (2 * i_acceleration);
    const double slower = (top * top - i_exit * i_exit) / (2 * i_acceleration);
    const double between = std::max(0.0, i_length - faster - slower);
    return (top - i_entry) / i_acceleration + (top - i_exit) / i_acceleration + between / top;
}

} // namespace

MotionClock::MotionClock(Take i_take)
    : _take(std::move(i_take))
{
    _blocks.reserve(LookAhead);
}

void MotionClock::AddMove(const GCodeMove& i_move, const MotionLimits& i_limits, std::size_t i_layer)
{
    const double delta[] = {i_move.to[0] - i_move.from[0], i_move.to[1] - i_move.from[1], i_move.to[2] - i_move.from[2],
                            i_move.filament};
    const double way = std::sqrt(delta[0] * delta[0] + delta[1] * delta[1] + delta[2] * delta[2]);
    const double length = way > 0 ? way : std::abs(delta[3]);
    if (!(length > 1e-9))
        return;
    Block block;
    block.length = length;
    block.layer = i_layer;
    block.speed = std::max(i_move.speed, SmallestSpeed);
    block.acceleration = way == 0 ? i_limits.retracting : delta[3] > 0 ? i_limits.printing : i_limits.travelling;
    double standing = block.speed; ///< that it may begin with out of a stop
    for (std::size_t axis = 0; axis < 4; ++axis) {
        const double part = delta[axis] / length;
        block.direction[axis] = static_cast<float>(part);
        const double size = std::abs(part);
        if (size == 0)
            continue;
        block.speed = std::min(block.speed, i_limits.speed[axis] / size);
        block.acceleration = std::min(block.acceleration, i_limits.acceleration[axis] / size);
        standing = std::min(standing, i_limits.jerk[axis] / size);
    }
    block.entry = std::min(standing, block.speed);
    if (!_blocks.empty()) {
        // Round the corner no axis changes its speed by more than its jerk.
        const Block& former = _blocks.back();
        double corner = std::min(former.speed, block.speed);
        for (std::size_t axis = 0; axis < 4; ++axis) {
            const double change = std::abs(static_cast<double>(block.direction[axis] - former.direction[axis]));
            if (change * corner > i_limits.jerk[axis])
                corner = i_limits.jerk[axis] / change;
        }
        block.entry = corner;
    } else {
        _first = block.entry;
    }
    _blocks.push_back(block);
    if (_blocks.size() == LookAhead)
        _Settle(Settled);
}

void MotionClock::AddPause(double i_seconds, std::size_t i_layer)
{
    Flush();
    _take(i_layer, i_seconds);
}

void MotionClock::Flush()
{
    _Settle(_blocks.size());
}

void MotionClock::_Settle(std::size_t i_count)
{
    if (_blocks.empty())
        return;
    // Backwards: nobody begins a move faster than it can slow down to what follows. The last one ends in a stop.
    _entries.resize(_blocks.size() + 1);
    _entries.back() = std::min(_blocks.back().speed, _blocks.back().entry);
    for (std::size_t index = _blocks.size(); index-- > 0;) {
        const Block& block = _blocks[index];
        const double exit = _entries[index + 1];
        _entries[index] = std::min(block.entry, std::sqrt(exit * exit + 2 * block.acceleration * block.length));
    }
    // Forwards: nor faster than it was reached.
    double entry = std::min(_first, _entries.front());
    for (std::size_t index = 0; index < i_count; ++index) {
        const Block& block = _blocks[index];
        const double leave = std::min(
            {_entries[index + 1], block.speed, std::sqrt(entry * entry + 2 * block.acceleration * block.length)});
        _take(block.layer, GetSeconds(block.length, entry, leave, block.speed, block.acceleration));
        entry = leave;
    }
    _first = entry;
    _blocks.erase(_blocks.begin(), _blocks.begin() + static_cast<std::ptrdiff_t>(i_count));
}

} // namespace Workbench
