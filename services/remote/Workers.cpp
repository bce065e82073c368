#include "remote/Workers.h"

#include "tavsdk/ThreadCollector.h"

#include <atomic>

namespace MachineService::Remote {

struct Workers::Worker
{
    std::thread thread;
    std::shared_ptr<std::atomic<bool>> hasEnded;
};

class Workers::Queue
{
public:
    enum class Taken
    {
        Yes,
        NeedsThread, ///< yes, and nobody is free for it
        No,          ///< it is closed
    };

    Taken Put(std::function<void()> i_work)
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_closed)
            return Taken::No;
        _waiting.push_back(std::move(i_work));
        if (_waiting.size() > _idle)
            return Taken::NeedsThread;
        _wakeUp.notify_one();
        return Taken::Yes;
    }

    void Close()
    {
        const TavSDK::MutexLock lock(_mutex);
        _closed = true;
        _wakeUp.notify_all();
    }

    /// The life of a thread. What waits when it is closed is still carried out: it finds out by itself, and gives its
    /// answer.
    void Run()
    {
        TavSDK::MutexLock lock(_mutex);
        for (;;) {
            ++_idle;
            while (_waiting.empty() && !_closed)
                _wakeUp.wait(lock);
            --_idle;
            if (_waiting.empty())
                return;
            auto work = std::move(_waiting.front());
            _waiting.pop_front();
            lock.unlock();
            work();
            work = nullptr;
            lock.lock();
        }
    }

private:
    TavSDK::Mutex _mutex; ///< guards everything below
    std::condition_variable_any _wakeUp;
    std::deque<std::function<void()>> _waiting TAVSDK_GUARDED_BY(_mutex);
    std::size_t _idle TAVSDK_GUARDED_BY(_mutex) = 0;
    bool _closed TAVSDK_GUARDED_BY(_mutex) = false;
};

Workers::Workers()
    : _queue(std::make_shared<Queue>())
{}

Workers::~Workers()
{
    Close();
}

bool Workers::Post(std::function<void()> i_work)
{
    // Held until the thread is in the list, so that Close joins it too.
    const TavSDK::MutexLock lock(_mutex);
    const auto taken = _queue->Put(std::move(i_work));
    if (taken != Queue::Taken::NeedsThread)
        return taken == Queue::Taken::Yes;
    const auto hasEnded = std::make_shared<std::atomic<bool>>(false);
    std::thread thread([queue = _queue, hasEnded]() mutable {
        queue->Run();
        queue.reset();
        *hasEnded = true;
    });
    _workers.push_back({std::move(thread), hasEnded});
    return true;
}

void Workers::Close()
{
    // A work that ends here may destroy this.
    const auto queue = _queue;
    queue->Close();
    std::vector<Worker> workers;
    {
        const TavSDK::MutexLock lock(_mutex);
        workers.swap(_workers);
    }
    for (Worker& worker : workers) {
        if (worker.thread.get_id() == std::this_thread::get_id())
            TavSDK::CollectThread(std::move(worker.thread), worker.hasEnded);
        else
            worker.thread.join();
    }
}

} // namespace MachineService::Remote
