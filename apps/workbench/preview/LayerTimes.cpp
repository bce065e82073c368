#include "workbench/preview/LayerTimes.h"

#include <utility>

namespace Workbench {

namespace {

constexpr std::size_t BatchSize = 32'768; ///< events, a megabyte: few hand-overs, even on a busy computer
constexpr std::size_t MostBatches = 16;   ///< that wait: the reader does not run away from the clock

} // namespace

LayerTimes::LayerTimes()
    : _seconds(1)
    , _clock([this](std::size_t i_layer, double i_seconds) {
        if (i_layer >= _seconds.size())
            _seconds.resize(i_layer + 1);
        _seconds[i_layer] += i_seconds;
    })
    , _worker([this](const std::stop_token& i_stop) { _Work(i_stop); })
{
    _filling.events.reserve(BatchSize);
}

LayerTimes::~LayerTimes() = default;

void LayerTimes::AddMove(const GCodeMove& i_move, const GCodeState& i_state, std::size_t i_layer)
{
    if (_sent != i_state.limitsRevision) {
        _sent = i_state.limitsRevision;
        _filling.limits.push_back(i_state.limits);
        _Add({{}, 0, static_cast<std::uint32_t>(_filling.limits.size() - 1), Kind::Limits});
    }
    // In its place: there are millions of them.
    Event& event = _filling.events.emplace_back();
    for (std::size_t axis = 0; axis < 3; ++axis)
        event.by[axis] = static_cast<float>(i_move.to[axis] - i_move.from[axis]);
    event.by[3] = static_cast<float>(i_move.filament);
    event.speed = static_cast<float>(i_move.speed);
    event.layer = static_cast<std::uint32_t>(i_layer);
    event.kind = Kind::Move;
    _SendFull();
}

void LayerTimes::AddPause(double i_seconds, std::size_t i_layer)
{
    _Add({{}, static_cast<float>(i_seconds), static_cast<std::uint32_t>(i_layer), Kind::Pause});
}

void LayerTimes::Restart()
{
    _Add({{}, 0, 0, Kind::Restart});
}

std::vector<double> LayerTimes::Finish()
{
    _filling.isLast = true;
    _Send();
    _worker.join();
    return std::move(_seconds);
}

void LayerTimes::_Add(const Event& i_event)
{
    _filling.events.push_back(i_event);
    _SendFull();
}

void LayerTimes::_SendFull()
{
    if (_filling.events.size() == BatchSize)
        _Send();
}

void LayerTimes::_Send()
{
    std::unique_lock lock(_mutex);
    while (_batches.size() >= MostBatches)
        _changed.wait(lock);
    _batches.push_back(std::exchange(_filling, {}));
    _filling.events.reserve(BatchSize);
    _changed.notify_all();
}

void LayerTimes::_Work(const std::stop_token& i_stop)
{
    while (true) {
        Batch batch;
        {
            std::unique_lock lock(_mutex);
            if (!_changed.wait(lock, i_stop, [this] { return !_batches.empty(); }))
                return;
            batch = std::move(_batches.front());
            _batches.pop_front();
            _changed.notify_all();
        }
        _Run(batch);
        if (batch.isLast) {
            _clock.Flush();
            return;
        }
    }
}

void LayerTimes::_Run(const Batch& i_batch)
{
    for (const Event& event : i_batch.events) {
        switch (event.kind) {
        case Kind::Move:
            _clock.AddMove(event.by, static_cast<double>(event.speed), _limits, event.layer);
            break;
        case Kind::Pause:
            _clock.AddPause(static_cast<double>(event.speed), event.layer);
            break;
        case Kind::Restart: {
            _clock.Flush();
            double seconds = 0;
            for (const double layer : _seconds)
                seconds += layer;
            _seconds.assign(1, seconds);
            break;
        }
        case Kind::Limits:
            _limits = i_batch.limits[event.layer];
            break;
        }
    }
}

} // namespace Workbench
