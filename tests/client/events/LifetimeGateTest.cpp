#include "client/events/LifetimeGate.h"
#include "client/events/ChangesHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

using namespace MachineService;

namespace {

TEST(LifetimeGateTest, ClosingWaitsForOthersAndLetsNobodyIn)
{
    for (int round = 0; round < 100; ++round) {
        LifetimeGate gate;
        auto object = std::make_unique<std::atomic<int>>(0);
        std::latch inside(3);
        std::vector<std::thread> callers;
        for (int caller = 0; caller < 3; ++caller)
            callers.emplace_back([&, entrance = gate, object = object.get()] {
                for (bool isFirst = true;; isFirst = false) {
                    const auto entry = entrance.Enter();
                    if (!entry)
                        return;
                    const auto nested = entrance.Enter(); // the gate may close between the two
                    ++*object;
                    if (isFirst)
                        inside.count_down();
                }
            });
        inside.wait();
        gate.Close();
        object.reset(); // a caller that is still inside is a use after free
        EXPECT_FALSE(gate.Enter());
        gate.Close();
        for (std::thread& caller : callers)
            caller.join();
    }
}

TEST(LifetimeGateTest, AnObjectMayGoInsideACallThroughItsGate)
{
    std::optional<LifetimeGate> gate(std::in_place);
    const LifetimeGate entrance = *gate;
    const auto outer = entrance.Enter();
    {
        const auto inner = entrance.Enter();
        gate->Close();
        gate.reset();
    }
    EXPECT_TRUE(outer);
    EXPECT_FALSE(entrance.Enter());
}

TEST(ChangesHandlerTest, EveryFlagIsConsumedExactlyOnce)
{
    ChangesHandler handler;
    handler.AddChanges(1);
    handler.AddChanges(2);
    EXPECT_FALSE(handler.CheckAndResetChanges(4 | 2)); // not all of them; those that were are gone
    EXPECT_FALSE(handler.CheckAndResetChanges(2));
    EXPECT_TRUE(handler.CheckAndResetChanges(1));
    handler.SetChanges(2);
    handler.SetChanges(4);
    EXPECT_FALSE(handler.CheckAndResetChanges(2));
    handler.ResetChanges();
    EXPECT_FALSE(handler.CheckAndResetChanges(4));

    std::atomic<int> consumed = 0;
    for (int round = 0; round < 200; ++round) {
        handler.AddChanges(ChangeFlagSelectionChanged);
        std::thread other([&] { consumed += handler.CheckAndResetChanges(ChangeFlagSelectionChanged); });
        consumed += handler.CheckAndResetChanges(ChangeFlagSelectionChanged);
        other.join();
    }
    EXPECT_EQ(consumed, 200);
}

} // namespace
