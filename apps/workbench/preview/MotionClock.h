#pragma once

#include "workbench/preview/GCodeParser.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace Workbench {

/// How long moves take on a machine that looks ahead: it gets up to speed and slows down within its accelerations, and
/// takes corners as fast as its jerk allows.
///
/// Each move is given with a number, its layer; its time comes back with it, later and together with that of its
/// neighbours, once it is known how fast the next move may begin. Flush() makes the machine stop.
/// Units: mm, seconds.
class MotionClock
{
public:
    using Take = std::function<void(std::size_t i_layer, double i_seconds)>;

    explicit MotionClock(Take i_take);

    /// \param i_by along x, y and z, and of the filament. \param i_speed asked for.
    void AddMove(const std::array<float, 4>& i_by, double i_speed, const MotionLimits& i_limits, std::size_t i_layer);
    /// The machine stands still for so long.
    void AddPause(double i_seconds, std::size_t i_layer);
    void Flush();

private:
    struct Block
    {
        std::array<float, 4> direction; ///< of each axis, for a move of length one
        double length;
        double speed; ///< that it may reach
        double acceleration;
        double entry; ///< the fastest that it may begin with
        std::size_t layer;
    };

    void _Settle(std::size_t i_count);

    Take _take;
    std::vector<Block> _blocks;
    std::vector<double> _squares; ///< of the speeds that they begin with, and the one that the last ends with
    double _first = 0;            ///< speed that the first of them begins with
};

} // namespace Workbench
