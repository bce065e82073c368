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

/// A service whose answer the test sets, and a count of questions and reports to wait for.
class Service
{
public:
    std::future<bool> Answer()
    {
        const std::lock_guard lock(_mutex);
        ++_fetches;
        _changed.notify_all();
        switch (mode) {
        case Mode::Throw:
            throw std::runtime_error("service");
        case Mode::Invalid:
            return {};
        case Mode::Hang:
            return _unanswered.emplace_back().get_future();
        case Mode::Ready:
            break;
        }
        return MakeReady(value.load());
    }
    void Report()
    {
        const std::lock_guard lock(_mutex);
        ++_reports;
        _changed.notify_all();
    }
    bool WaitForFetches(int i_count)
    {
        return _Wait([&] { return _fetches >= i_count; });
    }
    bool WaitForReports(int i_count)
    {
        return _Wait([&] { return _reports >= i_count; });
    }
    int GetFetches()
    {
        const std::lock_guard lock(_mutex);
        return _fetches;
    }
    int GetReports()
    {
        const std::lock_guard lock(_mutex);
        return _reports;
    }
    void Release(bool i_answer = true)
    {
        const std::lock_guard lock(_mutex);
        for (auto& promise : std::exchange(_unanswered, {}))
            promise.set_value(i_answer);
    }

    enum class Mode
    {
        Ready,
        Throw,
        Invalid,
        Hang
    };
    std::atomic<Mode> mode = Mode::Ready;
    std::atomic<bool> value = false;

private:
    template <class Predicate>
    bool _Wait(const Predicate& i_predicate)
    {
        std::unique_lock lock(_mutex);
        return _changed.wait_for(lock, Deadline, i_predicate);
    }

    std::mutex _mutex; // guards all below
    std::condition_variable _changed;
    std::vector<std::promise<bool>> _unanswered;
    int _fetches = 0;
    int _reports = 0;
};

class CanRunCommandCacheTest : public ::testing::Test
{
protected:
    std::unique_ptr<ICanRunCommandCache> _Make(std::chrono::milliseconds i_interval)
    {
        return CreateCanRunCommandCache([this](const auto&) { return _service.Answer(); }, i_interval,
                                        [this] { _service.Report(); });
    }
    static Machine _MakeMachine(std::function<std::future<bool>(const boost::uuids::uuid&)> i_can_run)
    {
        FakeBehaviour behaviour;
        behaviour.canRun = std::move(i_can_run);
        return MakeFakeMachine(MakeMachineData(1), behaviour);
    }
    /// Asks until the cache says so, or the deadline is over.
    static bool _AskUntil(ICanRunCommandCache& io_cache, bool i_expected)
    {
        const auto end = Clock::now() + Deadline;
        while (io_cache.Get(MakeId(1)) != i_expected) {
            if (Clock::now() > end)
                return false;
            std::this_thread::yield();
        }
        return true;
    }

    Service _service;
};

TEST_F(CanRunCommandCacheTest, AnswersFromMemoryAndReportsEachChangeOnce)
{
    _service.value = true;
    const auto cache = _Make(1ms);
    EXPECT_FALSE(cache->Get(MakeId(1)));
    EXPECT_TRUE(_AskUntil(*cache, true));
    EXPECT_TRUE(_service.WaitForReports(1));
    for (int pass = 0; pass < 5; ++pass) { // the same answer again, then failures: no report
        const int fetches = _service.GetFetches();
        if (pass == 3)
            _service.mode = Service::Mode::Throw;
        cache->Get(MakeId(1));
        ASSERT_TRUE(_service.WaitForFetches(fetches + 1));
    }
    EXPECT_TRUE(cache->Get(MakeId(1)));
    EXPECT_EQ(_service.GetReports(), 1);
    _service.mode = Service::Mode::Invalid;
    EXPECT_TRUE(_AskUntil(*cache, false));
    EXPECT_TRUE(_service.WaitForReports(2));
}

TEST_F(CanRunCommandCacheTest, AsksOnlyWhileSomebodyWantsToKnowAndOncePerPause)
{
    const auto cache = _Make(0ms);
    for (int pass = 1; pass <= 20; ++pass) {
        cache->Get(MakeId(1));
        ASSERT_TRUE(_service.WaitForFetches(pass));
    }
    EXPECT_EQ(_service.GetFetches(), 20); // without a pause nobody but a question starts a pass

    for (const std::chrono::milliseconds interval : {std::chrono::milliseconds(1h), std::chrono::milliseconds::max()}) {
        Service paused;
        const auto slow =
            CreateCanRunCommandCache([&](const auto&) { return paused.Answer(); }, interval, [&] { paused.Report(); });
        slow->Get(MakeId(1));
        ASSERT_TRUE(paused.WaitForFetches(1));
        for (int question = 0; question < 1000; ++question)
            slow->Get(MakeId(1));
        std::this_thread::yield();
        EXPECT_EQ(paused.GetFetches(), 1);
    }
    const auto eager = _Make(std::chrono::milliseconds::min());
    for (int pass = 21; pass <= 25; ++pass) {
        eager->Get(MakeId(1));
        ASSERT_TRUE(_service.WaitForFetches(pass));
    }
}

TEST_F(CanRunCommandCacheTest, AnswersAQuestionWheneverItComes)
{
    _service.value = true;
    for (int round = 1; round <= 100; ++round) { // while the worker starts, before or after its first look
        const auto cache = _Make(0ms);
        cache->Get(MakeId(1));
        ASSERT_TRUE(_service.WaitForReports(round));
    }
    // During a pass: nobody asks a second time, and the pass itself changes nothing.
    _service.mode = Service::Mode::Hang;
    const auto cache = _Make(0ms);
    const int fetches = _service.GetFetches();
    cache->Get(MakeId(1));
    ASSERT_TRUE(_service.WaitForFetches(fetches + 1));
    cache->Get(MakeId(2));
    _service.mode = Service::Mode::Throw;
    _service.Release(false);
    EXPECT_TRUE(_service.WaitForFetches(fetches + 3)); // both, in the pass that the second question began
}

enum class Moment
{
    Idle,
    Pausing,
    Fetching,
    Starting
};

class CanRunCommandCacheStopTest : public CanRunCommandCacheTest, public ::testing::WithParamInterface<Moment>
{};

TEST_P(CanRunCommandCacheStopTest, StopsAtOnceOrWithTheService)
{
    // Many rounds: a wake-up that is lost when the stop comes between the look at the flag and the sleep hangs here.
    for (int round = 0; round < (GetParam() == Moment::Fetching ? 5 : 200); ++round) {
        Service service;
        service.mode = GetParam() == Moment::Fetching ? Service::Mode::Hang : Service::Mode::Ready;
        auto cache = CreateCanRunCommandCache([&](const auto&) { return service.Answer(); },
                                              GetParam() == Moment::Pausing ? 1h : 0ms, [&] { service.Report(); });
        if (GetParam() != Moment::Starting) {
            cache->Get(MakeId(1));
            ASSERT_TRUE(service.WaitForFetches(1));
        }
        std::optional<std::thread> releaser;
        std::atomic<bool> wasReleased = false;
        if (GetParam() == Moment::Fetching)
            releaser.emplace([&] {
                wasReleased = true;
                service.Release();
            });
        const auto begin = Clock::now();
        cache.reset();
        EXPECT_LT(Clock::now() - begin, 5s);
        if (releaser) {
            EXPECT_TRUE(wasReleased); // the pass was finished, not given up
            releaser->join();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Moments, CanRunCommandCacheStopTest,
                         ::testing::Values(Moment::Idle, Moment::Pausing, Moment::Fetching, Moment::Starting));

TEST_F(CanRunCommandCacheTest, ManyThreadsAskWhileItWorks)
{
    _service.value = true;
    const auto cache = _Make(0ms);
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (int question = 0; question < 500; ++question)
                cache->Get(MakeId(static_cast<std::uint8_t>((question + number) % 7)));
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(_AskUntil(*cache, true));
}

TEST_F(CanRunCommandCacheTest, AMachineOfAHangingServiceGoesAtOnce)
{
    _service.mode = Service::Mode::Hang;
    for (int round = 0; round < 3; ++round) {
        const auto held = std::make_shared<int>();
        std::optional<Machine> machine(Machine(std::make_unique<CachedMachineStrategy>(
            _MakeMachine([this, held](const auto&) { return _service.Answer(); }), [this] { _service.Report(); })));
        // Several threads ask first: one cache comes of it.
        std::thread other([&] { machine->CanRunCommand(MakeId(1)).get(); });
        auto answer = machine->CanRunCommand(MakeId(1));
        EXPECT_EQ(answer.wait_for(0s), std::future_status::ready);
        EXPECT_FALSE(answer.get());
        other.join();
        ASSERT_TRUE(_service.WaitForFetches(round + 1));
        const auto begin = Clock::now();
        machine.reset();
        EXPECT_LT(Clock::now() - begin, 2s); // the service never answers
        while (held.use_count() > 1 && Clock::now() - begin < Deadline)
            std::this_thread::yield();
        EXPECT_EQ(held.use_count(), 1); // its worker gave up as well
    }
    EXPECT_EQ(_service.GetReports(), 0);
}

TEST_F(CanRunCommandCacheTest, AMachineInAGlobalOutlivesMain)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (const bool isHanging : {false, true}) {
        const auto run = [&] {
            static Service mgp_service;
            static std::optional<Machine> mgp_machine;
            mgp_service.mode = isHanging ? Service::Mode::Hang : Service::Mode::Ready;
            const auto makeAsked = [] {
                Machine machine(std::make_unique<CachedMachineStrategy>(
                    _MakeMachine([](const auto&) { return mgp_service.Answer(); }), [] {}));
                machine.CanRunCommand(MakeId(1)).get();
                return machine;
            };
            {
                const Machine before = makeAsked(); // whatever collects its thread is made later than the global
                mgp_service.WaitForFetches(1);
            }
            mgp_machine = makeAsked();
            mgp_service.WaitForFetches(2);
            std::exit(0);
        };
        EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
    }
}

TEST_F(CanRunCommandCacheTest, ACallbackThatFailsDoesNotEndTheHost)
{
    for (const bool isEmpty : {true, false}) {
        const int fetches = _service.GetFetches();
        _service.value = true;
        const auto cache =
            CreateCanRunCommandCache([this](const auto&) { return _service.Answer(); }, 0ms,
                                     isEmpty ? std::function<void()>() : [] { throw std::runtime_error("host"); });
        EXPECT_TRUE(_AskUntil(*cache, true));
        _service.value = false;
        EXPECT_TRUE(_AskUntil(*cache, false)); // the worker lives on
        EXPECT_TRUE(_service.WaitForFetches(fetches + 2));
    }
}

} // namespace
