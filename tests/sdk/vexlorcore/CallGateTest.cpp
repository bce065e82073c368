#include "vexlorcore/CallGate.h"
#include "support/Test.h"
#include "vexlorcore/Statistic.h"

namespace {

using VexlorCore::CallGate;
using VexlorCore::Statistic;

/// A thread that serves a gate, as an event loop would.
class Server
{
public:
    Server()
        : gate([this] {
            const std::lock_guard lock(_mutex);
            ++_wakes;
            _wake.notify_one();
        })
        , _thread([this] { _Serve(); })
    {}
    ~Server()
    {
        gate.Close();
        {
            const std::lock_guard lock(_mutex);
            _isStopped = true;
            _wake.notify_one();
        }
        _thread.join();
    }

    CallGate gate;
    std::atomic<int> reports = 0;

private:
    void _Serve()
    {
        std::unique_lock lock(_mutex);
        for (;;) {
            while (_wakes == 0 && !_isStopped)
                _wake.wait(lock);
            if (_isStopped)
                return;
            --_wakes;
            lock.unlock();
            gate.RunOne([this](const std::exception_ptr&) { ++reports; });
            lock.lock();
        }
    }

    std::mutex _mutex; ///< guards _wakes, _isStopped; taken after the gate's own
    std::condition_variable _wake;
    int _wakes = 0;
    bool _isStopped = false;
    std::thread _thread;
};

TEST(CallGateTest, RunsJobsOfManyThreadsOneAfterAnother)
{
    constexpr int threads = 8;
    constexpr int calls = 500;
    int unguarded = 0; // only the serving thread touches it
    {
        Server server;
        std::vector<std::thread> callers;
        for (int t = 0; t < threads; ++t) {
            callers.emplace_back([&] {
                for (int i = 0; i < calls; ++i) {
                    int answer = -1;
                    server.gate.Invoke([&] { answer = ++unguarded; });
                    EXPECT_GT(answer, 0);
                    server.gate.Post([&] { ++unguarded; });
                    EXPECT_THROW(server.gate.Invoke([] { throw std::out_of_range("mine"); }), std::out_of_range);
                }
            });
        }
        for (auto& caller : callers)
            caller.join();
        server.gate.Post([] { throw std::runtime_error("nobody waits"); });
        server.gate.Invoke([] {});
        EXPECT_EQ(server.reports, 1);
    }
    EXPECT_EQ(unguarded, 2 * threads * calls);
}

TEST(CallGateTest, WakesAllWhoWaitWhenItIsClosedUnderFire)
{
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> shutDown = 0;
        std::atomic<int> ran = 0;
        std::atomic<bool> isGone = false;
        std::vector<std::thread> callers;
        CallGate* gate = nullptr;
        {
            Server server;
            gate = &server.gate;
            for (int t = 0; t < 6; ++t) {
                callers.emplace_back([&, gate] {
                    try {
                        for (;;) {
                            gate->Invoke([&] {
                                EXPECT_FALSE(isGone);
                                ++ran;
                            });
                        }
                    } catch (const std::runtime_error& error) {
                        EXPECT_STREQ(error.what(), "The host is shutting down.");
                        ++shutDown;
                    }
                });
            }
            while (ran < 20)
                std::this_thread::yield();
            server.gate.Close();
            for (auto& caller : callers)
                caller.join();
            isGone = true;
        }
        EXPECT_EQ(shutDown, 6);
    }
}

TEST(CallGateTest, WakesOneWhoseJobNobodyServes)
{
    CallGate gate([] {});
    std::atomic<bool> isDropped = false;
    std::thread caller([&] { EXPECT_THROW(gate.Invoke([] { FAIL(); }), std::runtime_error); });
    gate.Post([keeper = std::shared_ptr<void>(nullptr, [&](void*) { isDropped = true; })] {});
    gate.Close();
    caller.join();
    EXPECT_TRUE(isDropped);
    EXPECT_THROW(gate.Invoke([] {}), std::runtime_error);
}

TEST(StatisticTest, KeepsTheNewestTracesOfManyThreads)
{
    Statistic::Clear();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 4000; ++i)
                Statistic::TrackCustomTrace("category", "Information", "label", {{"thread", std::to_string(t)}});
        });
    }
    for (auto& thread : threads)
        thread.join();
    Statistic::TrackCustomTrace("category", "Information", "last");
    const auto traces = Statistic::GetTraces();
    EXPECT_EQ(traces.size(), 10'000U);
    EXPECT_EQ(traces.back(), (Statistic::Trace{"category", "Information", "last", {}}));
    Statistic::Clear();
    EXPECT_TRUE(Statistic::GetTraces().empty());
}

} // namespace
