#include "contract/JobScheduler.h"
#include "client/interface/CommandTypes.h"
#include "client/interface/CommunicationException.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>

using namespace MachineService;

namespace {

boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    boost::uuids::uuid id{};
    id.data[15] = i_number;
    return id;
}

// A failure is freed by whoever lets go of it last. libstdc++ counts its holders where the thread sanitizer cannot see
// it, so the tests hold on to every answer until the scheduler's threads are joined.
using Answer = std::shared_future<CommandResult>;

ErrorCode GetCode(const Answer& i_answer)
{
    if (i_answer.wait_for(std::chrono::seconds(30)) != std::future_status::ready)
        return static_cast<ErrorCode>(-1);
    try {
        i_answer.get();
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
    return ErrorCode::None;
}

void WaitForStop(std::stop_token i_stop)
{
    std::promise<void> stopped;
    const std::stop_callback callback(i_stop, [&] { stopped.set_value(); });
    stopped.get_future().wait();
}

TEST(JobScheduler, RunsOneJobAtATimePerMachineInOrderAndMachinesBesideOneAnother)
{
    JobScheduler scheduler(2);
    std::mutex mutex;
    std::vector<int> order;
    std::atomic<int> atOnce = 0;
    std::atomic<bool> overlapped = false;
    std::latch bothMachines(2);
    std::vector<Answer> futures;
    for (int number = 0; number < 50; ++number) {
        futures.push_back(scheduler.Submit(MakeId(1), {}, [&, number](std::stop_token) {
            overlapped = overlapped || ++atOnce > 1;
            if (number == 0)
                bothMachines.arrive_and_wait();
            const std::lock_guard lock(mutex);
            order.push_back(number);
            --atOnce;
            return CommandResult();
        }));
    }
    // Would never end if the second machine had to wait for the first.
    futures.push_back(scheduler.Submit(MakeId(2), {}, [&](std::stop_token) {
        bothMachines.arrive_and_wait();
        return CommandResult();
    }));
    for (const auto& future : futures)
        EXPECT_EQ(GetCode(future), ErrorCode::None);
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(order.size(), 50U);
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(JobScheduler, StopReachesWaitingAndRunningJobsAndTheNextJobRuns)
{
    JobScheduler scheduler(1);
    std::stop_source running;
    std::stop_source waiting;
    std::latch started(1);
    const Answer first = scheduler.Submit(MakeId(1), running.get_token(), [&](std::stop_token i_stop) {
        started.count_down();
        WaitForStop(i_stop);
        // Whatever a stopped job ends with, it was aborted.
        throw std::runtime_error("stumbled");
        return CommandResult();
    });
    const Answer second = scheduler.Submit(MakeId(1), waiting.get_token(), [](std::stop_token) {
        ADD_FAILURE() << "ran although it was stopped";
        return CommandResult();
    });
    const Answer third = scheduler.Submit(MakeId(1), {}, [](std::stop_token) { return CommandResult(); });
    started.wait();
    waiting.request_stop();
    EXPECT_EQ(GetCode(second), ErrorCode::ProcessingAborted);
    running.request_stop();
    EXPECT_EQ(GetCode(first), ErrorCode::ProcessingAborted);
    EXPECT_EQ(GetCode(third), ErrorCode::None);
    const Answer late =
        scheduler.Submit(MakeId(1), waiting.get_token(), [](std::stop_token) { return CommandResult(); });
    EXPECT_EQ(GetCode(late), ErrorCode::ProcessingAborted);
    scheduler.Close();
}

TEST(JobScheduler, ClosingUnderFireAnswersEveryJobOnce)
{
    for (int round = 0; round < 30; ++round) {
        auto scheduler = std::make_unique<JobScheduler>(3);
        std::vector<std::stop_source> stops(60);
        std::vector<Answer> futures(stops.size());
        std::latch begin(3);
        std::thread submitter([&] {
            begin.arrive_and_wait();
            for (std::size_t index = 0; index < stops.size(); ++index) {
                futures[index] =
                    scheduler->Submit(MakeId(index % 5), stops[index].get_token(), [index](std::stop_token i_stop) {
                        if (index % 3 == 0)
                            WaitForStop(i_stop);
                        return CommandResult();
                    });
            }
        });
        std::thread stopper([&] {
            begin.arrive_and_wait();
            for (auto& stop : stops)
                stop.request_stop();
        });
        begin.arrive_and_wait();
        if (round % 2)
            scheduler->Close();
        submitter.join();
        stopper.join();
        scheduler.reset();
        for (const auto& future : futures) {
            const auto code = GetCode(future);
            EXPECT_TRUE(code == ErrorCode::None || code == ErrorCode::ProcessingAborted ||
                        code == ErrorCode::ServicesUnavailable);
        }
    }
}

TEST(JobScheduler, IsClosedAndDestroyedInsideItsOwnJobs)
{
    for (const bool closesFirst : {true, false}) {
        auto scheduler = std::make_shared<JobScheduler>(2);
        JobScheduler* const raw = scheduler.get();
        std::latch owned(1);
        const Answer answer =
            raw->Submit(MakeId(1), {}, [&owned, closesFirst, own = std::move(scheduler)](std::stop_token) {
                owned.wait();
                if (closesFirst)
                    own->Close();
                return CommandResult();
            });
        const Answer waiting = raw->Submit(MakeId(1), {}, [](std::stop_token) { return CommandResult(); });
        owned.count_down();
        EXPECT_EQ(GetCode(answer), ErrorCode::None);
        EXPECT_EQ(GetCode(waiting), ErrorCode::ServicesUnavailable);
    }
}

} // namespace
