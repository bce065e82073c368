#include "workbench/base/LoopWatch.h"

#include <QAbstractEventDispatcher>

#include <algorithm>

namespace Workbench {

LoopWatch::LoopWatch(QObject* ip_parent)
    : QObject(ip_parent)
{
    auto* const dispatcher = QAbstractEventDispatcher::instance();
    // Both are raised by nested loops too. Each turn of the loop begins with awake or, when nothing was waited for,
    // with the next aboutToBlock.
    connect(dispatcher, &QAbstractEventDispatcher::awake, this, &LoopWatch::_Awake);
    connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this, &LoopWatch::_AboutToBlock);
}

void LoopWatch::_Awake()
{
    _AboutToBlock();
    _awake.start();
}

void LoopWatch::_AboutToBlock()
{
    if (_awake.isValid())
        _longest = std::max(_longest, std::chrono::milliseconds(_awake.elapsed()));
    _awake.invalidate();
}

} // namespace Workbench
