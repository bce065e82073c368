#include "vexlorcore/Statistic.h"

#include "tavsdk/Mutex.h"

#include <deque>
#include <utility>

namespace VexlorCore {

namespace {

constexpr std::size_t MaxTraces = 10'000;

struct Traces
{
    TavSDK::Mutex mutex; ///< guards items
    std::deque<Statistic::Trace> items TAVSDK_GUARDED_BY(mutex);
};

Traces& GetStore()
{
    // Never destroyed: threads of plug-ins may still trace while the process ends.
    static auto* store = new Traces;
    return *store;
}

} // namespace

void Statistic::TrackCustomTrace(const std::string& i_category, const std::string& i_level, const std::string& i_label,
                                 const std::map<std::string, std::string>& i_properties)
{
    Trace trace{i_category, i_level, i_label, i_properties};
    auto& store = GetStore();
    const TavSDK::MutexLock lock(store.mutex);
    if (store.items.size() >= MaxTraces)
        store.items.pop_front();
    store.items.push_back(std::move(trace));
}

std::vector<Statistic::Trace> Statistic::GetTraces()
{
    auto& store = GetStore();
    const TavSDK::MutexLock lock(store.mutex);
    return {store.items.begin(), store.items.end()};
}

void Statistic::Clear()
{
    auto& store = GetStore();
    const TavSDK::MutexLock lock(store.mutex);
    store.items.clear();
}

} // namespace VexlorCore
