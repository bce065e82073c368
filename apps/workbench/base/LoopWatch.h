#pragma once

#include <QElapsedTimer>
#include <QObject>

#include <chrono>

namespace Workbench {

/// Counts the longest time in which the event loop of this thread did not turn, that is in which a click would have
/// waited.
///
/// Thread: the one whose loop it watches.
class LoopWatch final : public QObject
{
    Q_OBJECT

public:
    explicit LoopWatch(QObject* ip_parent = nullptr);

    std::chrono::milliseconds GetLongest() const { return _longest; }
    void Reset() { _longest = {}; }

private:
    void _Awake();
    void _AboutToBlock();

    QElapsedTimer _awake;
    std::chrono::milliseconds _longest{};
};

} // namespace Workbench
