#pragma once

#include "tavsdk/Mutex.h"
#include "vexlorcore/IVexlorApiProvider.h"

#include <memory>
#include <optional>
#include <stop_token>

namespace Vexlor {

class IProgressDisplay;

/// Runs one job at a time on a thread of its own, while the UI thread turns its event loop.
///
/// Ownership: shared by its owner and by Run, so that the owner may be destroyed from the event loop that Run turns.
class JobRunner : public std::enable_shared_from_this<JobRunner>
{
public:
    /// \param ip_display may be null.
    /// \throws std::logic_error off the UI thread; std::runtime_error "Another command is still running."; what the job
    /// throws, after the display has ended.
    bool Run(const QString& i_title, const VexlorCore::Job& i_job, std::shared_ptr<IProgressDisplay> ip_display);

    /// Thread: any.
    void Cancel();
    bool IsRunning() const;
    /// That of the job whose thread calls; one that is never asked on other threads.
    static std::stop_token GetStopOfThisThread();

private:
    struct Begun;

    mutable TavSDK::Mutex _mutex; ///< guards _stop
    /// There while a job runs.
    std::optional<std::stop_source> _stop TAVSDK_GUARDED_BY(_mutex);
};

} // namespace Vexlor
