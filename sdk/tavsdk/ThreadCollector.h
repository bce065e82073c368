#pragma once

#include "tavsdk_export.h"

#include <atomic>
#include <memory>
#include <thread>

namespace TavSDK {

/// Joins a thread that is about to end but cannot be joined where it is let go: one that drops its own owner, and one
/// that a window must not wait for.
///
/// Threads that have ended are joined when the next one is given; the rest when the process ends. From then on, for
/// owners that are kept in globals, a thread is joined at once. Only such may be given as end by themselves within a
/// moment.
///
/// Thread: any, also the one that is given.
/// \param i_has_ended set by the thread as the last thing that it does.
TAVSDK_EXPORT void CollectThread(std::thread i_thread, std::shared_ptr<const std::atomic<bool>> i_has_ended);

} // namespace TavSDK
