#include "machinemanager/dispatch/MachineBoard.h"
#include "services/machinemanager/ManagerFixture.h"

namespace MachineService::MachineManager::Testing {

namespace {

using State = PrintStatus::State;

class DispatchTest : public ::testing::Test, protected ManagedWorld
{
protected:
    void SetUp() override { AddMachine(1); }
};

TEST_F(DispatchTest, AJobForAMachineWithoutPrinterEndsWithItsMachineFile)
{
    Start();
    auto order = MakeJob();
    order.order = R"({"parts":[{"id":"part","supports":true,"strategies":[["part","fast"]]}]})";
    std::atomic<bool> isOrderTold = false;
    behaviour->run = [&](const CommandParameters& i_parameters) {
        isOrderTold = i_parameters.parts.size() == 1 && i_parameters.parts.front().hasSupports &&
                      i_parameters.parts.front().strategies.front().second == "fast" &&
                      i_parameters.commandId == MakeBuild().id && i_parameters.jobName == "Plate";
        LeaveResult(i_parameters, "G1 X1\n");
        return TestSupport::MakeReady(CommandResult());
    };
    const auto submitted = Submit(order);
    EXPECT_EQ(submitted.needs.material, "PLA");
    EXPECT_EQ(submitted.needs.model, "Kestrel");
    const auto job = WaitFor(submitted.id, JobPhase::Completed);
    ASSERT_EQ(job.GetState(), JobState::Completed);
    EXPECT_TRUE(isOrderTold);
    const auto [file, path] = Desk().GetFile(Operator, job.id, JobDesk::FileKind::MachineFile);
    EXPECT_EQ(file.name, "plate.gcode");
    EXPECT_EQ(file.size, 6U);
    EXPECT_EQ(job.machineName, "Machine 1");
    EXPECT_THAT(GetEvents(job.id), ElementsAre("submit", "claim", "kept"));
    // The same id is the same job, whatever is told with it.
    order.name = "Other";
    EXPECT_EQ(Submit(order).number, job.number);
    EXPECT_EQ(Desk().Count(Operator, {}), 1);
}

TEST_F(DispatchTest, EachCopyIsSentAndStartedOnce)
{
    Start();
    GivePrinter(1);
    auto order = MakeJob();
    order.copies = 3;
    const auto job = WaitFor(Submit(order).id, JobPhase::Completed);
    EXPECT_EQ(job.copiesDone, 3);
    const std::lock_guard lock(printer->mutex);
    EXPECT_EQ(printer->starts.size(), 3U);
    for (const auto& [key, count] : printer->starts)
        EXPECT_EQ(count, 1) << key;
    for (const auto& [key, bytes] : printer->files)
        EXPECT_EQ(bytes, "G28\n") << key;
}

TEST_F(DispatchTest, WhatThePrinterSaysIsTheStateOfTheJob)
{
    Start();
    GivePrinter(1);
    printer->Set({State::Printing, 40, {}});
    const auto id = Submit(MakeJob()).id;
    EXPECT_EQ(WaitFor(id, [](const Job& i_job) { return i_job.percent == 40; }).phase, JobPhase::Printing);
    printer->Set({State::Stopped, 40, "The filament ran out."});
    const auto stopped = WaitFor(id, JobPhase::Stopped);
    EXPECT_EQ(stopped.GetState(), JobState::ProcessingStopped);
    EXPECT_EQ(stopped.detail, "The filament ran out.");
    printer->Set({State::Printing, 41, {}});
    WaitFor(id, JobPhase::Printing);
    printer->Set({State::Unknown, 0, "No answer"});
    EXPECT_THAT(WaitFor(id, JobPhase::Stopped).detail, HasSubstr("No answer"));
    printer->Set({State::Failed, 0, "The head crashed."});
    EXPECT_EQ(WaitFor(id, JobPhase::Aborted).detail, "The head crashed.");
    EXPECT_EQ(printer->GetStarts(), 1);
}

TEST_F(DispatchTest, AStartThatNobodyConfirmsIsNotRepeatedByItself)
{
    Start();
    GivePrinter(1);
    printer->confirms = false;
    printer->Set({State::NotBegun, 0, {}});
    const auto id = Submit(MakeJob()).id;
    WaitFor(id, JobPhase::Starting);
    const auto job = WaitWhilePassing(id, std::chrono::seconds(61), JobPhase::Unconfirmed);
    EXPECT_THAT(job.GetReasons(), ElementsAre("start-unconfirmed"));
    EXPECT_FALSE(job.detail.empty());
    EXPECT_EQ(printer->GetStarts(), 1);
    // Nothing else begins at the machine meanwhile.
    const auto other = Submit(MakeJob()).id;
    printer->Set({State::Unknown, 0, {}});
    Desk().Act(Operator, id, JobAction::ConfirmDone);
    WaitFor(other, JobPhase::Starting);
    EXPECT_EQ(Desk().Get(Operator, id).phase, JobPhase::Completed);
}

// The system's clock is set by an hour, either way, while a job is in a phase.
class ClockTest : public ::testing::TestWithParam<int>, protected ManagedWorld
{
protected:
    ClockTest() { AddMachine(1); }
    void SetClock() { clocks->set += GetParam(); }
};

TEST_P(ClockTest, AStartIsWaitedForByTheMinuteAndNotByTheClock)
{
    Start();
    GivePrinter(1);
    printer->confirms = false;
    printer->Set({State::NotBegun, 0, {}});
    const auto id = Submit(MakeJob()).id;
    WaitFor(id, JobPhase::Starting);
    SetClock();
    clocks->passed = 55;
    Desk().SetPriority(Operator, id, 60); // so that the queue looks
    const auto job = WaitFor(
        id, [](const Job& i_job) { return i_job.phase != JobPhase::Starting; }, std::chrono::milliseconds(300));
    EXPECT_EQ(job.phase, JobPhase::Starting);
    EXPECT_EQ(WaitWhilePassing(id, std::chrono::seconds(61), JobPhase::Unconfirmed).phase, JobPhase::Unconfirmed);
    EXPECT_EQ(printer->GetStarts(), 1);
}

TEST_P(ClockTest, AManagerThatBeginsAnewGoesOnWithWhatThereWas)
{
    Start();
    GivePrinter(1);
    printer->Set({State::Printing, 5, {}});
    const auto printing = Submit(MakeJob()).id;
    const auto waiting = Submit(MakeJob()).id;
    WaitFor(printing, JobPhase::Printing);
    auto incoming = MakeJob();
    incoming.platform = {"Plate.TavAMX", std::string(64, 'a'), 10};
    Desk().Announce(Operator, incoming);
    manager.reset();
    SetClock();
    Start();
    printer->Set({State::Printed, 100, {}});
    EXPECT_EQ(WaitFor(printing, JobPhase::Completed).phase, JobPhase::Completed);
    EXPECT_EQ(WaitFor(waiting, JobPhase::Completed).phase, JobPhase::Completed);
    EXPECT_EQ(Desk().Get(Operator, incoming.id).phase, JobPhase::Incoming);
    EXPECT_EQ(WaitWhilePassing(incoming.id, std::chrono::hours(25), JobPhase::Aborted).phase, JobPhase::Aborted);
    EXPECT_EQ(printer->GetStarts(), 2);
}

INSTANTIATE_TEST_SUITE_P(Clock, ClockTest, ::testing::Values(-3600, 3600));

TEST_F(DispatchTest, CancelEndsAJobInEachPhase)
{
    Start();
    GivePrinter(1);
    using OnStop = std::stop_callback<std::function<void()>>;
    std::vector<std::unique_ptr<OnStop>> stops;
    behaviour->run = [&](const CommandParameters& i_parameters) {
        auto answer = std::make_shared<std::promise<CommandResult>>();
        auto future = answer->get_future();
        stops.push_back(std::make_unique<OnStop>(i_parameters.stopToken, [answer] {
            answer->set_exception(std::make_exception_ptr(CommunicationException(ErrorCode::ProcessingAborted)));
        }));
        return future;
    };
    const auto building = Submit(MakeJob()).id;
    const auto waiting = Submit(MakeJob()).id;
    WaitFor(building, JobPhase::Building);
    Desk().Act(Operator, waiting, JobAction::Cancel);
    EXPECT_EQ(Desk().Get(Operator, waiting).phase, JobPhase::Canceled);
    Desk().Act(Operator, building, JobAction::Cancel);
    EXPECT_EQ(WaitFor(building, JobPhase::Canceled).phase, JobPhase::Canceled);

    behaviour->run = [](const CommandParameters& i_parameters) {
        LeaveResult(i_parameters);
        return TestSupport::MakeReady(CommandResult());
    };
    printer->Set({State::Printing, 1, {}});
    const auto printing = Submit(MakeJob()).id;
    WaitFor(printing, JobPhase::Printing);
    Desk().Act(Operator, printing, JobAction::Cancel);
    EXPECT_EQ(WaitFor(printing, JobPhase::Canceled).phase, JobPhase::Canceled);
    const std::lock_guard lock(printer->mutex);
    EXPECT_EQ(printer->cancels.size(), 1U);
}

TEST_F(DispatchTest, FailuresOfTheMachineAreToldAndOnlyThoseOfTheMomentAreTriedAgain)
{
    AddMachine(2);
    Start();
    std::atomic<int> runs = 0;
    behaviour->run = [&](const CommandParameters& i_parameters) {
        if (++runs < 3)
            return TestSupport::MakeFailed<CommandResult>(
                std::make_exception_ptr(CommunicationException(ErrorCode::QueueOffline, "The cable is out.")));
        LeaveResult(i_parameters);
        return TestSupport::MakeReady(CommandResult());
    };
    WaitFor(Submit(MakeJob()).id, JobPhase::Completed);
    EXPECT_EQ(runs, 3);

    behaviour->run = [&](const CommandParameters&) {
        return TestSupport::MakeFailed<CommandResult>(
            std::make_exception_ptr(CommunicationException(ErrorCode::FileError, "The part 'A' does not fit.")));
    };
    const auto job = WaitFor(Submit(MakeJob()).id, JobPhase::Aborted);
    EXPECT_EQ(job.detail, "The part 'A' does not fit.");

    behaviour->run = [&](const CommandParameters& i_parameters) {
        LeaveResult(i_parameters);
        std::filesystem::remove(i_parameters.outputDir / "plate.gcode");
        return TestSupport::MakeReady(CommandResult());
    };
    EXPECT_THAT(WaitFor(Submit(MakeJob()).id, JobPhase::Aborted).detail, HasSubstr("left no machine file"));

    // Moved to another machine, it says what keeps it there.
    behaviour->run = [&](const CommandParameters&) {
        Desk().SetPaused(Operator, TestSupport::MakeId(1), true, {});
        return TestSupport::MakeFailed<CommandResult>(
            std::make_exception_ptr(CommunicationException(ErrorCode::QueueOffline, "The cable is out.")));
    };
    Desk().SetPaused(Operator, TestSupport::MakeId(2), true, "new plate");
    const auto failed = WaitFor(
        Submit(MakeJob()).id, [](const Job& i_job) { return i_job.phase == JobPhase::Waiting && i_job.attempts > 0; });
    EXPECT_THAT(Desk().Move(Operator, failed.id, {TestSupport::MakeId(2), {}, {}}).detail, HasSubstr("'new plate'"));
}

TEST_F(DispatchTest, SendingIsTriedAgainAndAStartThatWasRefusedToo)
{
    Start();
    GivePrinter(1);
    std::atomic<int> sends = 0;
    printer->onSend = [&] {
        if (++sends < 3)
            throw std::runtime_error("The line broke.");
    };
    std::atomic<int> starts = 0;
    printer->onStart = [&] {
        if (++starts < 2)
            throw PrinterRefusal("The door is open.");
    };
    const auto job = WaitFor(Submit(MakeJob()).id, JobPhase::Completed);
    EXPECT_EQ(job.phase, JobPhase::Completed);
    EXPECT_THAT(GetEvents(job.id), Contains("start-refused"));

    printer->onSend = [] {
        throw std::runtime_error("The line broke.");
    };
    const auto held = WaitFor(Submit(MakeJob()).id, JobPhase::Held);
    EXPECT_EQ(held.detail, "The line broke.");
    printer->onSend = {};
    Desk().Act(Operator, held.id, JobAction::Release);
    EXPECT_EQ(WaitFor(held.id, JobPhase::Completed).phase, JobPhase::Completed);
}

TEST_F(DispatchTest, AnEndOfTheManagerAtAnyPhaseStartsNothingTwice)
{
    Start();
    GivePrinter(1);
    printer->Set({State::Printing, 5, {}});
    const auto printing = Submit(MakeJob()).id;
    const auto waiting = Submit(MakeJob()).id;
    WaitFor(printing, JobPhase::Printing);
    manager.reset();
    Start();
    EXPECT_EQ(WaitFor(printing, [](const Job& i_job) { return !i_job.claimant.empty(); }).phase, JobPhase::Printing);
    EXPECT_EQ(Desk().Get(Operator, waiting).phase, JobPhase::Waiting);
    EXPECT_EQ(printer->GetStarts(), 1);
    printer->Set({State::Printed, 100, {}});
    WaitFor(printing, JobPhase::Completed);
    WaitFor(waiting, JobPhase::Completed);
    EXPECT_EQ(printer->GetStarts(), 2);

    // Ended between the word to the store and the printer's answer.
    printer->confirms = false;
    printer->Set({State::NotBegun, 0, {}});
    const auto starting = Submit(MakeJob()).id;
    WaitFor(starting, JobPhase::Starting);
    manager.reset();
    Start();
    EXPECT_EQ(WaitFor(starting, JobPhase::Unconfirmed).phase, JobPhase::Unconfirmed);
    EXPECT_EQ(printer->GetStarts(), 3);
}

TEST_F(DispatchTest, WhatIsOverForLongIsRemovedWithItsFilesAndTold)
{
    behaviour->run = [](const CommandParameters& i_parameters) {
        LeaveResult(i_parameters, i_parameters.jobName);
        return TestSupport::MakeReady(CommandResult());
    };
    Start();
    const auto id = Submit(MakeJob()).id;
    WaitFor(id, JobPhase::Completed);
    const auto file = Desk().GetFile(Operator, id, JobDesk::FileKind::MachineFile).second;
    const auto startAfter = [&](std::chrono::days i_days) {
        manager.reset();
        clocks->set = static_cast<int>(std::chrono::seconds(i_days).count());
        Start();
    };
    startAfter(std::chrono::days(89));
    auto order = MakeJob();
    order.name = "Other";
    WaitFor(Submit(order).id, JobPhase::Completed);
    EXPECT_TRUE(std::filesystem::exists(file));
    startAfter(std::chrono::days(91));
    EXPECT_TRUE(IsLogged("removed 1 jobs that are over"));
    EXPECT_THROW(Desk().Get(Operator, id), ManagerError);
    EXPECT_FALSE(std::filesystem::exists(file));
    EXPECT_THAT(log, Not(Contains(HasSubstr("removed 0 jobs"))));
}

TEST_F(DispatchTest, AGroupTakesTheFirstMachineThatFitsAndSaysOfTheOthersWhyNot)
{
    AddMachine(2);
    AddMachine(3, "Osprey");
    Start();
    Desk().SetLoaded(Operator, TestSupport::MakeId(1), {"PLA", 0.4, {}});
    Desk().SetLoaded(Operator, TestSupport::MakeId(2), {"ABS", {}, {}});
    auto order = MakeJob();
    order.target = {{}, "Kestrel", "PETG"};
    const auto id = Submit(order).id;
    const auto waiting = Desk().Get(Operator, id);
    EXPECT_EQ(waiting.phase, JobPhase::Waiting);
    EXPECT_THAT(waiting.GetReasons(), ElementsAre("job-queued", "resources-are-not-ready"));
    const auto candidates = Desk().GetCandidates(Operator, id);
    ASSERT_EQ(candidates.size(), 2U);
    EXPECT_EQ(candidates[0].refusal, "The job needs 'PETG', and 'Machine 1' has 'PLA' loaded.");
    EXPECT_TRUE(candidates[0].canBeAcknowledged);
    Desk().SetLoaded(Operator, TestSupport::MakeId(2), {"PETG", {}, {}});
    EXPECT_EQ(WaitFor(id, JobPhase::Completed).machine, TestSupport::MakeId(2));

    // Somebody says that it will do.
    order = MakeJob();
    const auto other = Submit(order, L"Nylon").id;
    EXPECT_EQ(Desk().Get(Operator, other).phase, JobPhase::Waiting);
    Desk().Act(Operator, other, JobAction::Acknowledge);
    EXPECT_EQ(WaitFor(other, JobPhase::Completed).phase, JobPhase::Completed);
}

TEST_F(DispatchTest, AMachineThatNeverAnswersDelaysNoOther)
{
    AddMachine(2);
    std::vector<std::promise<CommandResult>> silent;
    std::mutex mutex;
    behaviour->run = [&](const CommandParameters& i_parameters) {
        if (i_parameters.jobName != "Silent") {
            LeaveResult(i_parameters);
            return TestSupport::MakeReady(CommandResult());
        }
        const std::lock_guard lock(mutex);
        return silent.emplace_back().get_future();
    };
    Start();
    auto order = MakeJob(1);
    order.name = "Silent";
    const auto hanging = Submit(order).id;
    WaitFor(hanging, JobPhase::Building);
    EXPECT_EQ(WaitFor(Submit(MakeJob(2)).id, JobPhase::Completed).phase, JobPhase::Completed);
    // It is left to itself when it does not give up either.
    Desk().Act(Operator, hanging, JobAction::Cancel);
    EXPECT_EQ(WaitFor(hanging, JobPhase::Canceled).phase, JobPhase::Canceled);
    EXPECT_EQ(WaitFor(Submit(MakeJob(1)).id, JobPhase::Completed).phase, JobPhase::Completed);
}

TEST_F(DispatchTest, PausedQueuesAndLostMachinesHoldTheirJobsAndSayWhy)
{
    Start();
    const auto machine = TestSupport::MakeId(1);
    Desk().SetPaused(Operator, machine, true, "new nozzle");
    const auto id = Submit(MakeJob()).id;
    auto job = Desk().Get(Operator, id);
    EXPECT_THAT(job.GetReasons(), ElementsAre("job-queued", "printer-stopped"));
    EXPECT_THAT(job.detail, HasSubstr("'new nozzle'"));
    catalog.Erase(machine);
    catalog.RaiseRemoved(machine);
    job = Desk().Get(Operator, id);
    EXPECT_THAT(job.GetReasons(), ElementsAre("job-queued", "service-off-line"));
    Desk().SetPaused(Operator, machine, false, {});
    EXPECT_EQ(Desk().Get(Operator, id).phase, JobPhase::Waiting);
    AddMachine(1);
    catalog.RaiseAdded(machine);
    EXPECT_EQ(WaitFor(id, JobPhase::Completed).phase, JobPhase::Completed);
}

TEST_F(DispatchTest, PriorityAndPlaceDecideWhoGoesFirst)
{
    Open();
    std::vector<std::string> built;
    std::mutex mutex;
    behaviour->run = [&](const CommandParameters& i_parameters) {
        const std::lock_guard lock(mutex);
        built.push_back(i_parameters.jobName);
        LeaveResult(i_parameters);
        return TestSupport::MakeReady(CommandResult());
    };
    std::map<std::string, boost::uuids::uuid> ids;
    for (const auto* const name : {"a", "b", "c", "d"}) {
        auto order = MakeJob();
        order.name = name;
        ids[name] = Submit(order).id;
    }
    Desk().PlaceBefore(Operator, ids["c"], ids["a"]);
    Desk().SetPriority(Operator, ids["d"], 90);
    manager->Start();
    for (const auto& [name, id] : ids)
        WaitFor(id, JobPhase::Completed);
    EXPECT_THAT(built, ElementsAre("d", "c", "a", "b"));
}

} // namespace

} // namespace MachineService::MachineManager::Testing
