#pragma once

#include "vexlorcore_export.h"

#include <functional>
#include <memory>

namespace VexlorCore {

/// The one way from any thread to the UI thread. Made on the UI thread before any other thread asks, usually beside the
/// application; everything that waits is woken when it is destroyed.
class VEXLORCORE_EXPORT UiThread
{
public:
    /// The thread that makes it is the UI thread; it must run a Qt event loop for Invoke and Post to be served.
    UiThread();
    /// Calls that wait fail with std::runtime_error; posted jobs that did not run are dropped.
    ~UiThread();
    UiThread(const UiThread&) = delete;
    UiThread& operator=(const UiThread&) = delete;

    /// Runs the job on the UI thread and waits for it; on the UI thread itself runs it at once. What the job throws is
    /// thrown here.
    /// \throws std::runtime_error "The host is shutting down." when there is no UI thread (any more).
    static void Invoke(const std::function<void()>& i_job);
    /// Runs the job on the UI thread later and does not wait; also from the UI thread. Dropped without a UI thread.
    /// A job that throws is reported in the log.
    static void Post(std::function<void()> i_job);
    static bool IsCurrent();

private:
    struct Gate;
    std::shared_ptr<Gate> _gate;
};

} // namespace VexlorCore
