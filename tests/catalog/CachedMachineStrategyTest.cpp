#include "catalog/CachedMachineStrategy.h"

#include "support/FakeMachineService.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace MachineService;

namespace {

using namespace TestSupport;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto Deadline = 10s;

/// A machine that gives a sentence with its no.
class ExplainingMachine final : public FakeMachine, public IExplainsCanRun
{
public:
    explicit ExplainingMachine(std::function<std::future<CanRunAnswer>()> i_explain)
        : FakeMachine(MakeMachineData(1), std::make_shared<FakeBehaviour>())
        , _explain(std::move(i_explain))
    {}
    std::future<CanRunAnswer> ExplainCanRunCommand(const boost::uuids::uuid&) const override { return _explain(); }

private:
    std::function<std::future<CanRunAnswer>()> _explain;
};

TEST(CachedMachineStrategyTest, TellsNoNotAskedYetAndSilenceApartWithoutAsking)
{
    std::promise<CanRunAnswer> never;
    std::atomic<int> questions = 0, reports = 0;
    std::atomic<bool> hangs = false, fails = false;
    CanRunAnswer answer{false, "The door is open."};
    const Machine machine(std::make_unique<CachedMachineStrategy>(Machine(std::make_unique<ExplainingMachine>([&] {
                                                                      ++questions;
                                                                      if (fails)
                                                                          throw std::runtime_error("service");
                                                                      return hangs ? never.get_future()
                                                                                   : MakeReady(answer);
                                                                  })),
                                                                  [&] { ++reports; }));
    const auto known = [&] {
        return machine.GetKnownCanRunAnswer(MakeId(1)).value();
    };
    const auto askUntil = [&](const auto& i_predicate) {
        const auto end = Clock::now() + Deadline;
        while (!i_predicate(known()) && Clock::now() < end) {
            machine.CanRunCommand(MakeId(1)).get();
            std::this_thread::sleep_for(10ms);
        }
        return i_predicate(known());
    };
    EXPECT_FALSE(known().answeredAt || known().failingSince);
    EXPECT_EQ(questions, 0);

    const auto before = std::chrono::system_clock::now();
    ASSERT_TRUE(askUntil([](const auto& i_known) { return i_known.answeredAt.has_value(); }));
    EXPECT_EQ(known().answer, answer);
    EXPECT_GE(*known().answeredAt, before);
    EXPECT_EQ(machine.TryExplain()->ExplainCanRunCommand(MakeId(1)).get(), answer);
    EXPECT_EQ(reports, 1); // the sentence is news, though the answer is the no of the beginning

    fails = true;
    ASSERT_TRUE(askUntil([](const auto& i_known) { return i_known.failingSince.has_value(); }));
    const auto since = *known().failingSince;
    const int asked = questions;
    ASSERT_TRUE(askUntil([&](const auto&) { return questions > asked; }));
    EXPECT_EQ(*known().failingSince, since); // since the first failure
    EXPECT_EQ(known().answer, answer);       // which leaves the last answer

    fails = false;
    ASSERT_TRUE(askUntil([](const auto& i_known) { return !i_known.failingSince; }));
    hangs = true;
    EXPECT_TRUE(askUntil([](const auto& i_known) { return i_known.failingSince.has_value(); }));
}

TEST(CachedMachineStrategyTest, TheLastOwnerMayLetGoInsideTheCallback)
{
    for (int round = 0; round < 2; ++round) {
        std::mutex mutex; // guards machine and hasGone
        std::condition_variable changed;
        std::optional<Machine> machine;
        bool hasGone = false;
        {
            const std::lock_guard lock(mutex);
            FakeBehaviour behaviour;
            behaviour.canRun = [](const auto&) {
                return MakeReady(true);
            };
            machine.emplace(
                std::make_unique<CachedMachineStrategy>(MakeFakeMachine(MakeMachineData(1), behaviour), [&] {
                    std::unique_lock callbackLock(mutex);
                    const auto last = std::exchange(machine, std::nullopt);
                    hasGone = true;
                    changed.notify_all();
                }));
        }
        std::unique_lock lock(mutex);
        const auto end = Clock::now() + Deadline;
        while (!hasGone && Clock::now() < end) {
            if (machine)
                machine->CanRunCommand(MakeId(1)).get();
            changed.wait_for(lock, 5ms);
        }
        EXPECT_TRUE(hasGone);
    }
}

} // namespace
