#include "tavsdk/ThreadCollector.h"
#include "tavsdk/Mutex.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace TavSDK {

namespace {

struct Ending
{
    std::thread thread;
    std::shared_ptr<const std::atomic<bool>> hasEnded;
};

class Endings
{
public:
    /// Never destroyed: whoever is kept in a global lets its threads go after everything else went.
    static Endings& GetInstance()
    {
        static Endings* const mgp_instance = new Endings;
        return *mgp_instance;
    }

    void Take(Ending i_ending)
    {
        std::vector<Ending> ended;
        {
            const MutexLock lock(_mutex);
            if (_isProcessEnding && i_ending.thread.get_id() != std::this_thread::get_id()) {
                ended.push_back(std::move(i_ending));
            } else {
                const auto firstEnded = std::partition(_endings.begin(), _endings.end(),
                                                       [](const Ending& i_other) { return !*i_other.hasEnded; });
                std::move(firstEnded, _endings.end(), std::back_inserter(ended));
                _endings.erase(firstEnded, _endings.end());
                _endings.push_back(std::move(i_ending));
            }
        }
        _Join(ended);
    }

    void JoinAll()
    {
        std::vector<Ending> all;
        {
            const MutexLock lock(_mutex);
            _isProcessEnding = true;
            all.swap(_endings);
        }
        _Join(all);
    }

private:
    static void _Join(std::vector<Ending>& io_endings)
    {
        for (Ending& ending : io_endings)
            ending.thread.join();
    }

    Mutex _mutex; // guards all below; not held while a thread is joined
    std::vector<Ending> _endings TAVSDK_GUARDED_BY(_mutex);
    bool _isProcessEnding TAVSDK_GUARDED_BY(_mutex) = false;
};

struct JoinAtEnd
{
    ~JoinAtEnd() { Endings::GetInstance().JoinAll(); }
};

} // namespace

void CollectThread(std::thread i_thread, std::shared_ptr<const std::atomic<bool>> i_has_ended)
{
    static const JoinAtEnd mgp_join_at_end;
    Endings::GetInstance().Take({std::move(i_thread), std::move(i_has_ended)});
}

} // namespace TavSDK
