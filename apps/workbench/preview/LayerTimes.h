#pragma once

#include "workbench/preview/MotionClock.h"

#include <array>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace Workbench {

/// The time that each layer takes, worked out by a thread of its own beside the reading.
///
/// Thread: one at a time. Layers are numbered from 1; 0 is what comes before the first.
class LayerTimes
{
public:
    LayerTimes();
    /// What was not worked out by then is given up.
    ~LayerTimes();
    LayerTimes(const LayerTimes&) = delete;
    LayerTimes& operator=(const LayerTimes&) = delete;

    /// Goes by the state's limits.
    void AddMove(const GCodeMove& i_move, const GCodeState& i_state, std::size_t i_layer);
    void AddPause(double i_seconds, std::size_t i_layer);
    /// All that came so far is before the first layer.
    void Restart();
    /// Waits for the rest. \return seconds by layer; as many as the highest layer needs. Called once.
    std::vector<double> Finish();

private:
    enum class Kind : std::uint8_t
    {
        Move,
        Pause,
        Restart,
        Limits,
    };
    struct Event
    {
        std::array<float, 4> by; ///< of a move
        float speed;             ///< of a move; of a pause its seconds
        std::uint32_t layer;     ///< of limits their number in the batch
        Kind kind;
    };
    struct Batch
    {
        std::vector<Event> events;
        std::vector<MotionLimits> limits;
        bool isLast = false;
    };

    void _Add(const Event& i_event);
    void _SendFull();
    void _Send();
    void _Work(const std::stop_token& i_stop);
    void _Run(const Batch& i_batch);

    Batch _filling;
    /// Of the limits that the worker goes by after all that was added.
    std::optional<std::uint32_t> _sent;

    std::mutex _mutex; ///< guards _batches
    std::condition_variable_any _changed;
    std::deque<Batch> _batches;

    // Of the worker until it has ended.
    std::vector<double> _seconds;
    MotionLimits _limits;
    MotionClock _clock;
    std::jthread _worker; ///< last: ended before what it uses goes
};

} // namespace Workbench
