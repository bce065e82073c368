#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace MachineService {

/// Joins threads that are about to end but cannot be joined where they are let go: a thread that drops its own owner,
/// and one that a window must not wait for.
///
/// Threads that have ended are joined when the next one comes; the rest when the library goes. Only such as end by
/// themselves within a moment may be given.
///
/// Thread: any.
class ThreadCollector
{
public:
    static ThreadCollector& GetInstance();

    /// \param i_has_ended set by the thread as the last thing that it does.
    void Take(std::thread i_thread, std::shared_ptr<const std::atomic<bool>> i_has_ended);

private:
    struct Ending
    {
        std::thread thread;
        std::shared_ptr<const std::atomic<bool>> hasEnded;
    };

    ThreadCollector() = default;
    ~ThreadCollector();

    std::mutex _mutex; // guards _endings; not held while a thread is joined
    std::vector<Ending> _endings;
};

} // namespace MachineService
