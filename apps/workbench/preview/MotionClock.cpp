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
    const double square = i_acceleration * i_length + (i_entry * i_entry + i_exit * i_exit) / 2;
    const double top = square >= i_speed * i_speed ? i_speed : std::sqrt(square);
    const double changing = (2 * top * top - i_entry * i_entry - i_exit * i_exit) / (2 * i_acceleration);
    return (2 * top - i_entry - i_exit) / i_acceleration + std::max(0.0, i_length - changing) / top;
}

} // namespace

MotionClock::MotionClock(Take i_take)
    : _take(std::move(i_take))
{
    _blocks.reserve(LookAhead);
}

void MotionClock::AddMove(const std::array<float, 4>& i_by, double i_speed, const MotionLimits& i_limits,
                          std::size_t i_layer)
{
    const double delta[] = {static_cast<double>(i_by[0]), static_cast<double>(i_by[1]), static_cast<double>(i_by[2]),
                            static_cast<double>(i_by[3])};
    const double way = std::sqrt(delta[0] * delta[0] + delta[1] * delta[1] + delta[2] * delta[2]);
    const double length = way > 0 ? way : std::abs(delta[3]);
    if (!(length > 1e-9))
        return;
    Block block;
    block.length = length;
    block.layer = i_layer;
    block.speed = std::max(i_speed, SmallestSpeed);
    block.acceleration = way == 0 ? i_limits.retracting : delta[3] > 0 ? i_limits.printing : i_limits.travelling;
    double standing = block.speed; ///< that it may begin with out of a stop
    const double inverse = 1 / length;
    for (std::size_t axis = 0; axis < 4; ++axis) {
        const double part = delta[axis] * inverse;
        block.direction[axis] = static_cast<float>(part);
        const double size = std::abs(part);
        // Most limits do not bind, and dividing takes longest of all.
        if (block.speed * size > i_limits.speed[axis])
            block.speed = i_limits.speed[axis] / size;
        if (block.acceleration * size > i_limits.acceleration[axis])
            block.acceleration = i_limits.acceleration[axis] / size;
        if (standing * size > i_limits.jerk[axis])
            standing = i_limits.jerk[axis] / size;
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
    _squares.resize(_blocks.size() + 1);
    _squares.back() = std::pow(std::min(_blocks.back().speed, _blocks.back().entry), 2);
    for (std::size_t index = _blocks.size(); index-- > 0;) {
        const Block& block = _blocks[index];
        _squares[index] =
            std::min(block.entry * block.entry, _squares[index + 1] + 2 * block.acceleration * block.length);
    }
    // Forwards: nor faster than it was reached.
    double entry = std::min(_first, std::sqrt(_squares.front()));
    double seconds = 0; ///< of the layer at hand
    for (std::size_t index = 0; index < i_count; ++index) {
        const Block& block = _blocks[index];
        const double leave =
            std::min(block.speed,
                     std::sqrt(std::min(_squares[index + 1], entry * entry + 2 * block.acceleration * block.length)));
        seconds += GetSeconds(block.length, entry, leave, block.speed, block.acceleration);
        if (index + 1 == i_count || _blocks[index + 1].layer != block.layer)
            _take(block.layer, std::exchange(seconds, 0));
        entry = leave;
    }
    _first = entry;
    _blocks.erase(_blocks.begin(), _blocks.begin() + static_cast<std::ptrdiff_t>(i_count));
}

} // namespace Workbench
