#include "catalog/ThreadCollector.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace MachineService {

ThreadCollector& ThreadCollector::GetInstance()
{
    static ThreadCollector mgp_instance;
    return mgp_instance;
}

ThreadCollector::~ThreadCollector()
{
    for (Ending& ending : _endings)
        ending.thread.join();
}

void ThreadCollector::Take(std::thread i_thread, std::shared_ptr<const std::atomic<bool>> i_has_ended)
{
    std::vector<Ending> ended;
    {
        const std::lock_guard lock(_mutex);
        const auto first_ended = std::partition(_endings.begin(), _endings.end(),
                                                [](const Ending& i_ending) { return !*i_ending.hasEnded; });
        std::move(first_ended, _endings.end(), std::back_inserter(ended));
        _endings.erase(first_ended, _endings.end());
        _endings.push_back({std::move(i_thread), std::move(i_has_ended)});
    }
    for (Ending& ending : ended)
        ending.thread.join();
}

} // namespace MachineService
