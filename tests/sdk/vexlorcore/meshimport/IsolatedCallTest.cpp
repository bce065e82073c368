#include "vexlorcore/meshimport/IsolatedCall.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

using VexlorCore::CallIsolated;
using VexlorCore::CallLimits;
using Clock = std::chrono::steady_clock;

constexpr std::size_t Mega = std::size_t{1} << 20U;

CallLimits MakeLimits()
{
    CallLimits limits;
    limits.memory = 64 * Mega;
    limits.result = 8 * Mega;
    return limits;
}

std::string GetFailure(const std::function<std::string()>& i_function, const CallLimits& i_limits = MakeLimits())
{
    try {
        CallIsolated(i_function, i_limits);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "it did well";
}

[[noreturn]] void WorkForever()
{
    for (std::atomic<int> i = 0;; ++i)
        continue;
}

TEST(IsolatedCall, GivesBackWhatTheFunctionGivesAndThrows)
{
    const std::string long_text(5 * Mega, 'x');
    EXPECT_EQ(CallIsolated([&] { return long_text; }, MakeLimits()), long_text);
    EXPECT_EQ(CallIsolated([] { return std::string(); }, MakeLimits()), "");
    EXPECT_EQ(GetFailure([]() -> std::string { throw std::runtime_error("it is damaged"); }), "it is damaged");
    EXPECT_EQ(GetFailure([]() -> std::string { throw 1; }), "it failed without saying why");
}

TEST(IsolatedCall, TellsEveryDeathInASentence)
{
    EXPECT_EQ(GetFailure([]() -> std::string { std::abort(); }),
              "it is damaged in a way that the process that read it did not survive (signal 6, Aborted)");
    EXPECT_EQ(GetFailure([]() -> std::string {
                  ::raise(SIGSEGV);
                  return {};
              }),
              "it is damaged in a way that the process that read it did not survive (signal 11, Segmentation fault)");
    EXPECT_EQ(GetFailure([]() -> std::string {
                  ::raise(SIGKILL);
                  return {};
              }),
              "the process that read it was ended from outside (signal 9, Killed), maybe for want of memory");
    EXPECT_EQ(GetFailure([]() -> std::string { ::_exit(7); }),
              "the process that read it ended without a result (status 7)");
    EXPECT_EQ(GetFailure([] { return std::string(9 * Mega, 'x'); }), "it holds more than 8 MB of geometry");
}

TEST(IsolatedCall, BoundsTimeOfTheClockAndOfTheProcessor)
{
    auto limits = MakeLimits();
    limits.deadline = std::chrono::seconds(1);
    EXPECT_EQ(GetFailure([]() -> std::string { WorkForever(); }, limits), "it took longer than 1 seconds");
    limits = MakeLimits();
    limits.processorTime = std::chrono::seconds(1);
    EXPECT_EQ(GetFailure([]() -> std::string { WorkForever(); }, limits),
              "it needs more than the 1 seconds of processor time that a file of its size may use");
}

#ifndef TESTS_ARE_SANITIZED // whose allocator ends the process itself
TEST(IsolatedCall, BoundsMemoryBeyondThatOfTheParent)
{
    const std::vector<char> ofTheParent(100 * Mega, 'x');
    EXPECT_EQ(GetFailure([] {
                  std::vector<std::string> all;
                  while (all.size() < 1000)
                      all.emplace_back(Mega, 'x');
                  return all.back();
              }),
              "it needs more than the 64 MB of memory that a file of its size may use");
    EXPECT_EQ(
        CallIsolated([] { return std::string(std::vector<char>(32 * Mega, 'x').size() == 32 * Mega ? "fits" : ""); },
                     MakeLimits()),
        "fits");
}
#endif

TEST(IsolatedCall, LeavesTheParentsFilesToTheParent)
{
    const int file = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    const auto isOpen = [file] {
        return std::string(::fcntl(file, F_GETFD) >= 0 && file > 3 ? "open" : "closed");
    };
    EXPECT_EQ(CallIsolated(isOpen, MakeLimits()), "closed");
    const auto countOpened = [] {
        int count = 0;
        while (count < 100 && ::open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0)
            ++count;
        return std::to_string(count);
    };
    EXPECT_EQ(CallIsolated(countOpened, MakeLimits()), "4");
    ::close(file);
}

TEST(IsolatedCall, StopsAtOnceBeforeAndWhileTheFunctionRuns)
{
    std::stop_source stop;
    const auto begin = Clock::now();
    const std::jthread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop.request_stop();
    });
    EXPECT_EQ(CallIsolated([]() -> std::string { WorkForever(); }, MakeLimits(), stop.get_token()), std::nullopt);
    EXPECT_EQ(CallIsolated([]() -> std::string { return "never called"; }, MakeLimits(), stop.get_token()),
              std::nullopt);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(10));
}

TEST(IsolatedCall, ManyThreadsCallAtOnce)
{
    std::atomic<int> good = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 8; ++i)
            threads.emplace_back([&, i] {
                const auto text = std::to_string(i);
                good += CallIsolated([&] { return text; }, MakeLimits()) == text ? 1 : 0;
            });
    }
    EXPECT_EQ(good, 8);
}

} // namespace
