#include "server/RunBook.h"
#include "client/interface/CommunicationException.h"
#include "hashing/Sha256.h"
#include "support/Files.h"
#include "support/Test.h"
#include "wire/WireFailure.h"

#include <atomic>

namespace MachineService::Server {

namespace {

using Phase = RunState::Phase;
constexpr auto Long = std::chrono::seconds(20);

boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    boost::uuids::uuid id = {};
    id.data[15] = i_number;
    return id;
}

std::string GetReason(const std::function<void()>& i_action)
{
    try {
        i_action();
    } catch (const Wire::WireFailure& failure) {
        return failure.reason;
    } catch (const CommunicationException& failure) {
        return failure.what();
    }
    return {};
}

ErrorCode GetFailureCode(const RunState& i_state)
{
    try {
        if (i_state.failure)
            std::rethrow_exception(i_state.failure);
    } catch (const CommunicationException& failure) {
        return failure.code();
    }
    return ErrorCode::None;
}

/// What the machine of the tests was given, and the answer that it still owes.
struct Machine
{
    std::promise<CommandResult> answer;
    CommandParameters parameters;
    std::atomic<int> begun = 0;
};

class RunBookTest : public ::testing::Test
{
protected:
    RunOrder MakeOrder(std::uint8_t i_number, std::optional<std::string> i_input = {})
    {
        RunOrder order;
        order.id = MakeId(i_number);
        order.client = "client";
        order.fingerprint = "order";
        if (i_input)
            order.input = RunFile{"in put.txt", i_input->size(), HashOf(*i_input)};
        order.begin = [machine = machine](const CommandParameters& i_parameters) {
            machine->parameters = i_parameters;
            ++machine->begun;
            return machine->answer.get_future();
        };
        return order;
    }

    RunState WaitFor(std::uint8_t i_number, Phase i_phase)
    {
        const auto end = Bell::Clock::now() + Long;
        auto state = book.Get(MakeId(i_number));
        while (state.phase != i_phase && Bell::Clock::now() < end) {
            bell->Wait(Bell::Clock::now() + std::chrono::milliseconds(20));
            state = book.Get(MakeId(i_number));
        }
        EXPECT_EQ(state.phase, i_phase);
        return state;
    }

    /// Until the machine was asked.
    void WaitForBegin()
    {
        const auto end = Bell::Clock::now() + Long;
        while (machine->begun == 0 && Bell::Clock::now() < end)
            bell->Wait(Bell::Clock::now() + std::chrono::milliseconds(5));
        ASSERT_EQ(machine->begun, 1);
    }

    RunState Take(std::uint8_t i_number, std::uint64_t i_upload, std::uint64_t i_offset, const std::string& i_content,
                  const std::string& i_hashed)
    {
        const auto hash = HashOf(i_hashed);
        return book.Take(MakeId(i_number), i_upload, {i_offset, i_content, hash});
    }

    const std::shared_ptr<Bell> bell = std::make_shared<Bell>();
    const std::shared_ptr<Machine> machine = std::make_shared<Machine>();
    std::atomic<std::int64_t> later = 0; ///< seconds that the clock was put forward
    std::mutex toldMutex;                ///< guards told
    std::vector<std::string> told;
    RunBook book{{.running = 3, .runningOfOneClient = 2, .kept = 4, .inputBytes = 100, .diskBytes = 150},
                 bell,
                 [this](const std::string& i_line) {
                     const std::lock_guard lock(toldMutex);
                     told.push_back(i_line.substr(i_line.find(": ") + 2));
                 },
                 [this] {
                     return RunBook::Clock::now() + std::chrono::seconds(later.load());
                 }};
};

TEST_F(RunBookTest, CarriesARunOutOnceHoweverOftenItIsStarted)
{
    EXPECT_EQ(book.Start(MakeOrder(1, "hello")).phase, Phase::WaitingForInput);
    auto upload = book.BeginUpload(MakeId(1));
    EXPECT_EQ(Take(1, upload, 0, "hel", "hel").received, 3u);
    // The connection breaks; another one goes on.
    auto again = MakeOrder(1, "hello");
    again.isResumption = true;
    EXPECT_EQ(book.Start(again).received, 3u);
    const auto next = book.BeginUpload(MakeId(1));
    EXPECT_EQ(GetReason([&] { Take(1, upload, 3, "lo", "hello"); }), "wrong-order");
    EXPECT_EQ(GetReason([&] { Take(1, next, 3, "lX", "hello"); }), "damaged");
    EXPECT_EQ(GetReason([&] { Take(1, next, 2, "lo", "hello"); }), "wrong-order");
    EXPECT_EQ(GetReason([&] { Take(1, next, 3, "lo!", "hello!"); }), "too-large");
    EXPECT_EQ(Take(1, next, 3, "lo", "hello").received, 5u);
    WaitForBegin();
    EXPECT_EQ(TestSupport::ReadFile(machine->parameters.inputFile), "hello");
    EXPECT_EQ(machine->parameters.inputFile.filename(), "in put.txt");
    machine->parameters.onProgress(40, "half");
    machine->parameters.onProgress(30, "back");
    EXPECT_EQ(book.Get(MakeId(1)).percent, 40);
    EXPECT_EQ(book.Get(MakeId(1)).stage, "back");
    EXPECT_EQ(GetReason([&] { book.Open(MakeId(1), 0); }), "wrong-order");

    TestSupport::WriteFile(machine->parameters.outputDir / "out.txt", "result");
    machine->answer.set_value({});
    const auto state = WaitFor(1, Phase::Finished);
    EXPECT_THAT(state.files, ElementsAre(RunFile{"out.txt", 6, HashOf("result")}));
    EXPECT_EQ(state.percent, 100);
    EXPECT_EQ(book.Start(MakeOrder(1, "hello")).phase, Phase::Finished);
    EXPECT_EQ(book.Cancel(MakeId(1)).phase, Phase::Finished);
    EXPECT_EQ(machine->begun, 1);
    const auto opened = book.Open(MakeId(1), 0);
    EXPECT_EQ(GetReason([&] { book.Open(MakeId(1), 1); }), "bad-request");
    auto other = MakeOrder(1, "hello");
    other.fingerprint = "another";
    EXPECT_EQ(GetReason([&] { book.Start(other); }), "bad-request");

    // Who fetches a file keeps it.
    book.Release(MakeId(1));
    book.Tend();
    EXPECT_EQ(TestSupport::ReadFile(opened.path), "result");
    EXPECT_EQ(GetReason([&] { book.Get(MakeId(1)); }), "unknown-run");
    EXPECT_EQ(GetReason([&] { book.Start(again); }), "unknown-run");
    EXPECT_THAT(told, ElementsAre("accepted", "begun", "released"));
}

TEST_F(RunBookTest, TakesAnInputThatWasNotAnnouncedForDamaged)
{
    auto order = MakeOrder(1, "hello");
    order.input->hash = HashOf("other");
    book.Start(order);
    const auto upload = book.BeginUpload(MakeId(1));
    EXPECT_EQ(GetReason([&] { Take(1, upload, 0, "hello", "hello"); }), "damaged");
    EXPECT_EQ(book.Get(MakeId(1)).received, 0u);
    EXPECT_EQ(machine->begun, 0);
    // An empty input is there at once.
    book.Start(MakeOrder(2, ""));
    WaitForBegin();
}

TEST_F(RunBookTest, TakesTheHashOfTheLastPieceWhereNoneWasAnnounced)
{
    auto order = MakeOrder(1, "hello");
    order.input->hash.clear();
    order.takesLateHashes = true;
    book.Start(order);
    const auto upload = book.BeginUpload(MakeId(1));
    EXPECT_EQ(Take(1, upload, 0, "hel", "hel").phase, Phase::WaitingForInput);
    EXPECT_EQ(GetReason([&] { Take(1, upload, 3, "lo", "help!"); }), "damaged");
    EXPECT_EQ(Take(1, upload, 3, "lo", "hello").phase, Phase::Running);
    WaitForBegin();
    EXPECT_EQ(TestSupport::ReadFile(machine->parameters.inputFile), "hello");
    TestSupport::WriteFile(machine->parameters.outputDir / "out.txt", "result");
    machine->answer.set_value({});
    EXPECT_THAT(WaitFor(1, Phase::Finished).files, ElementsAre(RunFile{"out.txt", 6, ""}));
    // An empty one of no announced hash is there at once as well.
    auto empty = MakeOrder(2, "");
    empty.input->hash.clear();
    EXPECT_NE(book.Start(empty).phase, Phase::WaitingForInput);
}

TEST_F(RunBookTest, CancelsInEachPhase)
{
    book.Start(MakeOrder(1, "hello"));
    EXPECT_EQ(GetFailureCode(book.Cancel(MakeId(1))), ErrorCode::ProcessingAborted);
    const auto upload = book.BeginUpload(MakeId(1));
    Take(1, upload, 0, "hello", "hello");
    EXPECT_EQ(machine->begun, 0);

    // A machine that does not give up: the run has failed all the same, and soon.
    book.Start(MakeOrder(2));
    WaitForBegin();
    book.Cancel(MakeId(2));
    EXPECT_TRUE(machine->parameters.stopToken.stop_requested());
    EXPECT_EQ(GetFailureCode(WaitFor(2, Phase::Failed)), ErrorCode::ProcessingAborted);
    machine->parameters.onProgress(99, "too late");
    EXPECT_EQ(book.Get(MakeId(2)).percent, 0);
    book.Release(MakeId(2));
    book.Tend();
    EXPECT_TRUE(std::filesystem::exists(machine->parameters.outputDir)) << "it may still write";
    const auto begun = Bell::Clock::now();
    book.Close();
    EXPECT_LT(Bell::Clock::now() - begun, std::chrono::seconds(5));
    machine->parameters.onProgress(99, "after the end");
    // A host that comes back meanwhile is not told that its run is not known.
    EXPECT_THAT(GetReason([&] { book.Get(MakeId(1)); }), HasSubstr("goes down"));
    auto again = MakeOrder(1, "hello");
    again.isResumption = true;
    EXPECT_THAT(GetReason([&] { book.Start(again); }), HasSubstr("goes down"));
}

TEST_F(RunBookTest, GivesUpWhatHasNoHostAndForgetsWhatWasKeptLongEnough)
{
    book.Start(MakeOrder(1));
    WaitForBegin();
    // A clock that is put back makes nothing older.
    later = -3600;
    book.Tend();
    EXPECT_EQ(book.Get(MakeId(1)).phase, Phase::Running);
    auto attendance = book.Attend(MakeId(1));
    later = 61;
    book.Tend();
    EXPECT_EQ(book.Get(MakeId(1)).phase, Phase::Running);
    attendance.reset();
    later = 2 * 61;
    book.Tend();
    EXPECT_EQ(GetFailureCode(WaitFor(1, Phase::Failed)), ErrorCode::ProcessingAborted);
    EXPECT_TRUE(machine->parameters.stopToken.stop_requested());
    later = 3 * 61;
    book.Tend();
    EXPECT_EQ(book.Get(MakeId(1)).phase, Phase::Failed);
    later = 3 * 61 + 601;
    book.Tend();
    EXPECT_EQ(GetReason([&] { book.Get(MakeId(1)); }), "unknown-run");
}

TEST_F(RunBookTest, HasBounds)
{
    const auto start = [this](std::uint8_t i_number, const char* ip_client, std::size_t i_size) {
        auto order = MakeOrder(i_number, std::string(i_size, 'a'));
        order.client = ip_client;
        return GetReason([&] { book.Start(order); });
    };
    EXPECT_EQ(start(1, "a", 101), "too-large");
    EXPECT_EQ(start(1, "a", 60), "");
    EXPECT_EQ(start(2, "b", 91), "busy"); // the disk
    EXPECT_EQ(start(2, "a", 10), "");
    EXPECT_EQ(start(3, "a", 10), "busy"); // of one client
    EXPECT_EQ(start(3, "b", 10), "");
    EXPECT_EQ(start(4, "c", 10), "busy"); // of all
    book.Cancel(MakeId(1));
    EXPECT_EQ(start(4, "c", 10), "");
    book.Cancel(MakeId(2));
    EXPECT_EQ(start(5, "c", 10), "busy"); // kept
    auto order = MakeOrder(6, "x");
    order.input->name = "../x";
    EXPECT_EQ(GetReason([&] { book.Start(order); }), "bad-request");
    EXPECT_FALSE(book.IsIdle());
    book.Drain();
    book.Cancel(MakeId(3));
    book.Cancel(MakeId(4));
    EXPECT_TRUE(book.IsIdle());
    book.Release(MakeId(3));
    EXPECT_THAT(start(7, "c", 10), HasSubstr("goes down"));
}

TEST_F(RunBookTest, IsSharedByManyThreads)
{
    RunBook shared({.running = 1000, .runningOfOneClient = 1000}, bell);
    std::vector<std::thread> threads;
    std::atomic<int> finished = 0;
    for (std::uint8_t thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (std::uint8_t number = 0; number < 20; ++number) {
                auto order = MakeOrder(static_cast<std::uint8_t>(40 * thread + number + 1));
                const auto id = order.id;
                order.begin = [](const CommandParameters& i_parameters) {
                    i_parameters.onProgress(50, "half");
                    std::promise<CommandResult> promise;
                    promise.set_value({});
                    return promise.get_future();
                };
                shared.Start(order);
                const auto attendance = shared.Attend(id);
                if (number % 3 == 0)
                    shared.Cancel(id);
                const auto end = Bell::Clock::now() + Long;
                while (!shared.Get(id).HasEnded() && Bell::Clock::now() < end)
                    bell->Wait(Bell::Clock::now() + std::chrono::milliseconds(1));
                finished += shared.Get(id).HasEnded() ? 1 : 0;
                if (number % 2 == 0)
                    shared.Release(id);
                shared.Tend();
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(finished, 80);
}

} // namespace

} // namespace MachineService::Server
