#include "machinemanager/store/ChangeFeed.h"
#include "support/Test.h"

namespace {

using namespace MachineService::MachineManager;
using boost::uuids::uuid;

TEST(StoreFeedTest, EndingASubscriptionWaitsForCallsOfOtherThreads)
{
    ChangeFeed feed({});
    for (int round = 0; round < 50; ++round) {
        std::promise<void> isInCall;
        std::promise<void> mayReturn;
        std::atomic<bool> hasReturned = false;
        auto subscription = feed.Subscribe([&](const uuid&) {
            isInCall.set_value();
            mayReturn.get_future().wait();
            hasReturned = true;
        });
        std::thread teller([&] { feed.Tell({}); });
        isInCall.get_future().wait();
        std::thread releaser([&] { mayReturn.set_value(); });
        subscription.reset();
        EXPECT_TRUE(hasReturned);
        teller.join();
        releaser.join();
    }
}

TEST(StoreFeedTest, ManyThreadsTellWhileOthersComeAndGo)
{
    ChangeFeed feed({});
    std::atomic<int> heard = 0;
    const auto stays = feed.Subscribe([&](const uuid&) { ++heard; });
    constexpr int Count = 2'000;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int number = 0; number < Count; ++number)
                feed.Tell({});
        });
    }
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([&] {
            for (int number = 0; number < 200; ++number) {
                // Gone with its subscription: a later call would touch what is no longer there.
                const auto own = std::make_unique<std::atomic<int>>(0);
                const auto goes = feed.Subscribe([counter = own.get()](const uuid&) { ++*counter; });
                feed.Tell({});
                EXPECT_GE(*own, 1);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(heard, 4 * Count + 400);
}

TEST(StoreFeedTest, WhatASlotHoldsGoesWithItsSubscription)
{
    ChangeFeed feed({});
    const auto held = std::make_shared<int>();
    auto subscription = feed.Subscribe([held](const uuid&) {});
    feed.Tell({});
    EXPECT_EQ(held.use_count(), 2);
    subscription.reset();
    EXPECT_EQ(held.use_count(), 1);
    // One that ends in its own call keeps it until the call returns.
    std::shared_ptr<void> own;
    own = feed.Subscribe([&own, held](const uuid&) {
        own.reset();
        EXPECT_EQ(held.use_count(), 2);
    });
    feed.Tell({});
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
