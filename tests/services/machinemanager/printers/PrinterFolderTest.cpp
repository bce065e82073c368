#include "machinemanager/printers/FolderLink.h"
#include "services/machinemanager/printers/PrinterFixture.h"
#include "support/FailingCalls.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace MachineService::MachineManager::Testing {

namespace {

using State = PrintStatus::State;
namespace fs = std::filesystem;

class PrinterFolderTest : public PrinterWorld
{
protected:
    PrinterFolderTest() { fs::create_directory(watched); }

    std::vector<std::string> GetNames() const { return TestSupport::GetFileNames(watched); }
    State GetState() { return link->GetStatus(order, {}).state; }
    Outcome Start()
    {
        return GetOutcome([&] { EXPECT_FALSE(link->Start(order, {})); });
    }
    Outcome Cancel()
    {
        return GetOutcome([&] { link->Cancel(order, {}); });
    }
    /// As after a restart.
    void Renew(std::chrono::seconds i_confirmed_after = std::chrono::hours(1))
    {
        link = std::make_unique<FolderLink>(watched, i_confirmed_after);
    }

    const fs::path watched = folder / "watched";
    std::unique_ptr<FolderLink> link = std::make_unique<FolderLink>(watched, std::chrono::hours(1));
};

TEST_F(PrinterFolderTest, AFileIsSeenWholeWhenItIsToBePrintedAndPrintedWhenItIsTaken)
{
    fs::permissions(watched, fs::perms(0750));
    Send(*link);
    EXPECT_EQ(sent.back(), bytes.size());
    EXPECT_GT(sent.size(), 1U);
    EXPECT_THAT(GetNames(), ElementsAre(StartsWith(".")));
    EXPECT_EQ(GetState(), State::NotBegun);
    Send(*link);
    EXPECT_THAT(GetNames(), SizeIs(1));

    EXPECT_EQ(Start(), Outcome::Done);
    EXPECT_THAT(GetNames(), ElementsAre(FileName));
    EXPECT_EQ(TestSupport::ReadFile(watched / FileName), bytes);
    // The printer's side is in the folder's group.
    EXPECT_EQ(fs::status(watched / FileName).permissions(), fs::perms(0640));
    EXPECT_EQ(GetState(), State::NotBegun);

    fs::remove(watched / FileName);
    EXPECT_EQ(GetState(), State::Printed);
}

TEST_F(PrinterFolderTest, WhatAKilledProgramLeftGoesAndWhatIsWrittenStays)
{
    const auto leave = [&](const char* ip_name, std::chrono::minutes i_age) {
        TestSupport::WriteFile(watched / ip_name, "half");
        fs::last_write_time(watched / ip_name, fs::file_time_type::clock::now() - i_age);
    };
    leave(".unfinished-killed", std::chrono::minutes(20));
    leave(".unfinished-others", std::chrono::minutes(1));
    leave(".hidden", std::chrono::minutes(20));
    leave(".unfinished-locked", std::chrono::minutes(20));
    const int locked = ::open((watched / ".unfinished-locked").c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(locked, LOCK_EX), 0);
    link->Sweep();
    EXPECT_THAT(GetNames(), UnorderedElementsAre(".unfinished-others", ".hidden", ".unfinished-locked"));
    ::close(locked);
    link->Sweep();
    EXPECT_THAT(GetNames(), UnorderedElementsAre(".unfinished-others", ".hidden"));
    fs::remove_all(watched);
    EXPECT_NO_THROW(link->Sweep()) << "a folder of a network may be away";
}

TEST_F(PrinterFolderTest, WhatNobodyTakesCountsAsPrintedAfterTheTimeThatWasAgreed)
{
    Send(*link);
    EXPECT_EQ(Start(), Outcome::Done);
    EXPECT_EQ(GetState(), State::NotBegun);
    Renew(std::chrono::seconds(0));
    const auto status = link->GetStatus(order, {});
    EXPECT_EQ(status.state, State::Printed);
    EXPECT_THAT(status.detail, HasSubstr("Nobody took"));
}

TEST_F(PrinterFolderTest, ARestartFindsEachStepAsItWas)
{
    Send(*link);
    Renew();
    EXPECT_EQ(GetState(), State::NotBegun);
    EXPECT_EQ(Start(), Outcome::Done);
    Renew();
    EXPECT_EQ(GetState(), State::NotBegun);
    // Of a start whose end nobody knows: neither a second file nor a second start.
    Send(*link);
    EXPECT_THAT(GetNames(), ElementsAre(FileName));
    EXPECT_EQ(Start(), Outcome::Done);
    EXPECT_THAT(GetNames(), ElementsAre(FileName));
    fs::remove(watched / FileName);
    Renew();
    EXPECT_EQ(GetState(), State::Printed);
}

TEST_F(PrinterFolderTest, AFolderThatIsGoneBeginsNothingAndTellsNothing)
{
    Send(*link);
    fs::rename(watched, folder / "away");
    EXPECT_EQ(Start(), Outcome::Refused);
    EXPECT_THAT(sentence, HasSubstr(watched.native()));
    EXPECT_EQ(GetState(), State::Unknown);
    EXPECT_NE(Cancel(), Outcome::Done);
    EXPECT_EQ(GetOutcome([&] { Send(*link); }), Outcome::Refused);
    fs::rename(folder / "away", watched);
    EXPECT_EQ(Start(), Outcome::Done);

    fs::rename(watched, folder / "away");
    EXPECT_EQ(GetState(), State::Unknown);
}

TEST_F(PrinterFolderTest, ACanceledFileIsNeverTaken)
{
    EXPECT_NE(Cancel(), Outcome::Done) << "it may have been taken before this one began";
    // Interrupted while it was brought.
    EXPECT_NE(GetOutcome([&] {
                  link->Send(
                      order, [&](std::uint64_t) { stop.request_stop(); }, stop.get_token());
              }),
              Outcome::Done);
    EXPECT_THAT(GetNames(), IsEmpty());
    EXPECT_EQ(Cancel(), Outcome::Done);
    stop = {};

    Send(*link);
    EXPECT_EQ(Cancel(), Outcome::Done);
    EXPECT_THAT(GetNames(), IsEmpty());
    EXPECT_EQ(Cancel(), Outcome::Done);
    EXPECT_EQ(Start(), Outcome::Refused);

    Send(*link);
    EXPECT_EQ(Start(), Outcome::Done);
    EXPECT_EQ(Cancel(), Outcome::Done);
    EXPECT_THAT(GetNames(), IsEmpty());

    Send(*link);
    EXPECT_EQ(Start(), Outcome::Done);
    fs::remove(watched / FileName);
    EXPECT_NE(Cancel(), Outcome::Done);
    EXPECT_THAT(sentence, HasSubstr("taken"));
}

TEST_F(PrinterFolderTest, AnyFileCallMayFail)
{
    const auto calls = TestSupport::CountCalls([&] { Send(*link); });
    EXPECT_EQ(Cancel(), Outcome::Done);
    ASSERT_THAT(calls, SizeIs(::testing::Ge(5U)));
    for (const auto& counted : calls) {
        const auto& call = counted.first;
        for (const int error : TestSupport::GetErrorsOfCalls().at(call)) {
            for (int index = 0; index < counted.second; ++index) {
                SCOPED_TRACE(call + ' ' + std::to_string(index) + " errno " + std::to_string(error));
                const auto outcome =
                    GetOutcome([&] { TestSupport::RunWithFailure(call, index, error, [&] { Send(*link); }); });
                // Only a whole file may lie there, even when the failure came after it had its name.
                for (const auto& name : GetNames()) {
                    EXPECT_THAT(name, MatchesRegex("\\.[^.]*\\.ready"));
                    EXPECT_EQ(fs::file_size(watched / name), bytes.size());
                }
                if (outcome == Outcome::Done)
                    EXPECT_THAT(GetNames(), SizeIs(1));
                else
                    EXPECT_EQ(outcome, Outcome::Refused);
                EXPECT_EQ(GetState(), State::NotBegun);
                EXPECT_EQ(Cancel(), Outcome::Done);
                EXPECT_THAT(GetNames(), IsEmpty());
            }
        }
    }
    // A full disk is told as such, with the folder's name.
    EXPECT_EQ(GetOutcome([&] { TestSupport::RunWithFailure("write", 1, ENOSPC, [&] { Send(*link); }); }),
              Outcome::Refused);
    EXPECT_THAT(sentence, AllOf(HasSubstr("No space left"), HasSubstr(watched.native())));
}

TEST_F(PrinterFolderTest, AFailingStartTellsWhetherTheFileGotItsName)
{
    Send(*link);
    for (const int error : {EACCES, EIO, ENOSPC, ESTALE})
        EXPECT_EQ(GetOutcome([&] { TestSupport::RunWithFailure("rename", 0, error, [&] { link->Start(order, {}); }); }),
                  Outcome::Refused);
    // Another computer's folder has done it, and its answer was lost.
    fs::rename(watched / ('.' + std::string(Key) + ".ready"), watched / FileName);
    EXPECT_EQ(GetOutcome([&] {
                  TestSupport::RunWithFailure("rename", 0, EIO, [&] { EXPECT_FALSE(link->Start(order, {})); });
              }),
              Outcome::Done);
    fs::remove(watched / FileName);
    EXPECT_EQ(GetOutcome([&] { TestSupport::RunWithFailure("rename", 0, EIO, [&] { link->Start(order, {}); }); }),
              Outcome::NotKnown);
}

TEST_F(PrinterFolderTest, AFileNameStaysInTheFolderAndIsSeen)
{
    const std::string longName(400, 'n');
    const std::pair<std::string, std::string> rows[] = {
        {"../../etc/passwd", "_.._etc_passwd - "},
        {"/root/x.gcode", "_root_x - "},
        {"..", "job - "},
        {".gcode", "job - "},
        {"", "job - "},
        {"a\nb\x7f\x01.gcode", "a_b__ - "},
        {"con:\\*?\"<>|%2f.gcode", "con_________2f - "},
        {"bad \xff\xfe.gcode", "bad \xef\xbf\xbd\xef\xbf\xbd - "},
        {longName + ".gcode", longName.substr(0, 120) + " - "},
        {"a." + longName, "a." + longName.substr(0, 118) + " - "},
        {"a.b\nc", "a.b_c - "},
    };
    for (const auto& [name, beginning] : rows) {
        SCOPED_TRACE(name);
        order.fileName = name;
        Send(*link);
        EXPECT_EQ(Start(), Outcome::Done);
        ASSERT_THAT(GetNames(), ElementsAre(StartsWith(beginning + Key)));
        EXPECT_EQ(GetNames().front(), order.GetFileName());
        EXPECT_EQ(Cancel(), Outcome::Done);
    }
    EXPECT_THAT(TestSupport::GetFileNames(folder), UnorderedElementsAre("kept", "watched"));
}

} // namespace

} // namespace MachineService::MachineManager::Testing
