#include "Comparison.h"
#include "ProcessStatus.h"
#include "StubMachines.h"

#include "catalog/CachedMachineStrategy.h"
#include "catalog/ICanRunCommandCache.h"

#include <algorithm>
#include <chrono>
#include <map>
#include <mutex>

#include <malloc.h>

namespace Bench {

namespace {

using namespace MachineService;
using Clock = std::chrono::steady_clock;

constexpr std::size_t CommandCount = 20;

std::future<bool> AnswerYes(const boost::uuids::uuid&)
{
    std::promise<bool> promise;
    promise.set_value(true);
    return promise.get_future();
}

/// The least that an answer shared between threads takes.
class MutexAndMap
{
public:
    bool Get(const boost::uuids::uuid& i_id)
    {
        const std::lock_guard lock(_mutex);
        return _answers.try_emplace(i_id, false).first->second;
    }

private:
    std::mutex _mutex; // guards _answers
    std::map<boost::uuids::uuid, bool> _answers;
};

Machine MakeCachedMachine(std::size_t i_number, StubBehaviour i_behaviour)
{
    return Machine(std::make_unique<CachedMachineStrategy>(MakeStubMachine(i_number, i_behaviour), [] {}));
}

/// Longest time that a question took while the services of 200 machines hang. Seconds.
double MeasureLongestAnswer()
{
    std::vector<Machine> machines;
    for (std::size_t number = 0; number < 200; ++number)
        machines.push_back(MakeCachedMachine(number, {.answers = false}));
    Clock::duration longest{};
    const auto end = Clock::now() + std::chrono::milliseconds(500);
    while (Clock::now() < end) {
        for (const Machine& machine : machines) {
            const auto begin = Clock::now();
            machine.CanRunCommand(MakeId(1)).get();
            longest = std::max(longest, Clock::now() - begin);
        }
    }
    return std::chrono::duration<double>(longest).count();
}

/// Memory of one of 10,000 machines that nobody asked about, without the machine that it wraps. Bytes; more than any
/// limit when a thread came with them.
double MeasureMemoryOfUnaskedMachine()
{
    constexpr std::size_t Count = 10'000;
    std::vector<Machine> wrapped;
    for (std::size_t number = 0; number < Count; ++number)
        wrapped.push_back(MakeStubMachine(number));
    std::vector<Machine> machines;
    machines.reserve(Count);
    const std::size_t threadsBefore = CountThreads();
    const auto before = mallinfo2();
    for (const Machine& machine : wrapped)
        machines.emplace_back(std::make_unique<CachedMachineStrategy>(machine, [] {}));
    const auto after = mallinfo2();
    if (CountThreads() != threadsBefore)
        return 1e9;
    return static_cast<double>(after.uordblks + after.hblkhd - before.uordblks - before.hblkhd) / Count;
}

} // namespace

void AddCanRunBenchmarks()
{
    const auto makeFloor = [] {
        auto answers = std::make_shared<MutexAndMap>();
        return [answers, next = std::size_t(0)]() mutable {
            benchmark::DoNotOptimize(answers->Get(MakeId(next++ % CommandCount)));
        };
    };
    ComparePrepared(
        "can-run answer", 1.5,
        [] {
            std::shared_ptr<ICanRunCommandCache> cache =
                CreateCanRunCommandCache(AnswerYes, std::chrono::milliseconds(1000), [] {});
            return [cache, next = std::size_t(0)]() mutable {
                benchmark::DoNotOptimize(cache->Get(MakeId(next++ % CommandCount)));
            };
        },
        makeFloor);
    ComparePrepared(
        "can-run answer as a future", 1.5,
        [] {
            const Machine machine = MakeCachedMachine(1, {});
            return [machine, next = std::size_t(0)]() mutable {
                benchmark::DoNotOptimize(machine.CanRunCommand(MakeId(next++ % CommandCount)).get());
            };
        },
        [] {
            // The interface asks for a future: its making is part of the floor.
            auto answers = std::make_shared<MutexAndMap>();
            return [answers, next = std::size_t(0)]() mutable {
                std::promise<bool> promise;
                promise.set_value(answers->Get(MakeId(next++ % CommandCount)));
                benchmark::DoNotOptimize(promise.get_future().get());
            };
        });
    Limit("longest answer, 200 hang", 0.010, "s", MeasureLongestAnswer);
    Limit("memory of an unasked machine", 4096, "bytes", MeasureMemoryOfUnaskedMachine);
}

} // namespace Bench
