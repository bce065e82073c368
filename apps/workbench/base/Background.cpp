#include "workbench/base/Background.h"

#include "tavsdk/StopExceptions.h"

#include <QLoggingCategory>

namespace Workbench {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.workbench")

} // namespace

Background::Background(QObject* ip_parent)
    : QObject(ip_parent)
{
    // One import or save that is slow must not hold up the others; what they do is bounded by disk and processor.
    _pool.setMaxThreadCount(4);
}

Background::~Background()
{
    _stop.request_stop();
    _pool.waitForDone();
}

void Background::_Run(std::function<void(const std::stop_token&)> i_work, std::function<void()> i_done,
                      std::function<void(const QString&)> i_failed)
{
    Q_EMIT PendingChanged(++_pending);
    _pool.start([this, stop = _stop.get_token(), work = std::move(i_work), done = std::move(i_done),
                 failed = std::move(i_failed)]() mutable {
        QString failure;
        const bool isDone = TavSDK::StopExceptions([&] { work(stop); },
                                                   [&](const char* ip_why) { failure = QString::fromUtf8(ip_why); });
        // The destructor waits for this thread, so that the receiver is there; its queue goes with it.
        QMetaObject::invokeMethod(
            this,
            [this, isDone, failure, done = std::move(done), failed = std::move(failed)] {
                Q_EMIT PendingChanged(--_pending);
                TavSDK::StopExceptions(
                    [&] { isDone ? done() : failed(failure); },
                    [](const char* ip_why) { qCWarning(log, "Work could not be delivered: %s", ip_why); });
            },
            Qt::QueuedConnection);
    });
}

} // namespace Workbench
