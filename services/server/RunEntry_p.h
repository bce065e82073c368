#pragma once

#include "client/interface/ScopedTempDir.h"
#include "server/RunBook.h"
#include "wire/ReceivedFile.h"

#include <atomic>
#include <stop_token>
#include <thread>

namespace MachineService::Server {

/// One run of the book. Its machine may hold it for longer than the book does, for progress that comes late.
struct RunBook::Entry : std::enable_shared_from_this<Entry>
{
    Entry(RunOrder i_order, std::shared_ptr<Bell> ip_bell, std::function<Clock::time_point()> i_now);

    /// On the thread of the run: from the machine's beginning to the end.
    void Carry();
    /// \return false when it had ended before.
    bool Fail(const std::exception_ptr& ip_failure);
    RunState GetState() const;
    /// Changes the state and counts it.
    template <class Change>
    void Update(const Change& i_change)
    {
        {
            const TavSDK::MutexLock lock(mutex);
            if (state.HasEnded())
                return;
            i_change(state);
            ++state.version;
            if (state.HasEnded())
                lastWord = now();
        }
        bell->Ring();
    }

    RunOrder order;
    const std::shared_ptr<Bell> bell;
    const std::function<Clock::time_point()> now;
    const ScopedTempDir inputDir;
    const ScopedTempDir outputDir;
    std::stop_source stop;
    std::atomic<bool> isClosing = false;
    std::atomic<bool> hasLeft = false; ///< the thread is at its end
    /// Of the upload, which waits for the disk: nobody who asks for the state waits with it. Taken before mutex.
    TavSDK::Mutex uploadMutex; ///< guards incoming and upload
    std::optional<Wire::ReceivedFile> incoming TAVSDK_GUARDED_BY(uploadMutex);
    std::uint64_t upload TAVSDK_GUARDED_BY(uploadMutex) = 0;
    mutable TavSDK::Mutex mutex; ///< guards everything below
    RunState state TAVSDK_GUARDED_BY(mutex);
    std::size_t attendants TAVSDK_GUARDED_BY(mutex) = 0;
    Clock::time_point lastWord TAVSDK_GUARDED_BY(mutex);
    std::thread thread TAVSDK_GUARDED_BY(mutex);

private:
    CommandResult _Wait(std::future<CommandResult> i_answer);
    std::vector<RunFile> _ListFiles() const;
};

} // namespace MachineService::Server
