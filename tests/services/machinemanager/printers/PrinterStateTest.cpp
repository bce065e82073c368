#include "services/machinemanager/printers/PrinterHttpFixture.h"

namespace MachineService::MachineManager::Testing {

namespace {

using State = PrintStatus::State;

constexpr const char* AnothersName = "Other - 5b1d6f0e-6a0c-4c1e-9f4e-2d7a61c0a101-1.gcode";
constexpr const char* Nobody = "";

/// What is believed of a printer's state.
class PrinterStateTest : public HttpPrinterWorld
{
protected:
    /// What happened before the state is asked for, on a link of its own.
    enum class Past
    {
        Restart,
        Sent,
        Unconfirmed,
        Confirmed,
        Seen,
    };
    void Arrive(Past i_past, const std::string& i_description)
    {
        link = MakeLink(i_description);
        if (i_past == Past::Restart)
            return;
        Send(*link);
        if (i_past == Past::Sent)
            return;
        server.On("POST /jobs", i_past == Past::Unconfirmed ? 202 : 201);
        EXPECT_EQ(Start(), Outcome::Done);
        if (i_past != Past::Seen)
            return;
        SetState(R"("printing")");
        EXPECT_EQ(GetState(), State::Printing);
    }

    struct Row
    {
        const char* word;
        const char* job;
        std::vector<State> states; ///< for each past
    };
    void Check(const std::string& i_description, const std::vector<Row>& i_rows)
    {
        for (const auto& row : i_rows) {
            for (std::size_t past = 0; past < row.states.size(); ++past) {
                SCOPED_TRACE(std::string(row.word) + " of '" + row.job + "' past " + std::to_string(past));
                Arrive(static_cast<Past>(past), i_description);
                SetState('"' + std::string(row.word) + '"', row.job);
                EXPECT_EQ(GetState(), row.states[past]);
            }
        }
    }

    static constexpr auto Unknown = State::Unknown;
    static constexpr auto NotBegun = State::NotBegun;
    static constexpr auto Printed = State::Printed;
};

TEST_F(PrinterStateTest, AStateThatNamesItsJobIsBelievedOfThatJobOnly)
{
    // After a restart, sent, started without and with a confirmation, seen at work.
    Check(Describe(), {
                          {"printing", FileName, std::vector(5, State::Printing)},
                          {"paused", Key, std::vector(5, State::Stopped)},
                          {"done", FileName, {Printed, NotBegun, Printed, Printed, Printed}},
                          {"broken", FileName, {State::Failed, NotBegun, State::Failed, State::Failed, State::Failed}},
                          {"ready", FileName, {Unknown, NotBegun, NotBegun, Printed, Printed}},
                          {"ready", Nobody, {Unknown, NotBegun, NotBegun, Printed, Printed}},
                          {"printing", AnothersName, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"paused", AnothersName, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"done", AnothersName, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"broken", AnothersName, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"ready", AnothersName, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"done", Nobody, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"printing", Nobody, {Unknown, NotBegun, NotBegun, Unknown, Unknown}},
                          {"strange", FileName, std::vector(5, Unknown)},
                      });
}

TEST_F(PrinterStateTest, ARestartGoesOnFromWhatThePrinterSaidBefore)
{
    order.hasBegun = true;
    for (const auto& [word, expected] : {std::pair{"ready", Printed}, {"printing", State::Printing}}) {
        Arrive(Past::Restart, Describe());
        SetState('"' + std::string(word) + '"', word[0] == 'p' ? FileName : Nobody);
        EXPECT_EQ(GetState(), expected) << word;
    }
}

TEST_F(PrinterStateTest, AStateWithoutAJobIsBelievedOnceThisOneHasBegun)
{
    Check(DescribeShared(), {
                                {"printing", Nobody, {State::Printing, NotBegun, State::Printing, State::Printing}},
                                {"done", Nobody, {Unknown, NotBegun, NotBegun, Printed, Printed}},
                                {"broken", Nobody, {Unknown, NotBegun, NotBegun, State::Failed, State::Failed}},
                                {"ready", Nobody, {Unknown, NotBegun, NotBegun, Printed, Printed}},
                            });
}

TEST_F(PrinterStateTest, WhatIsToldRightAfterTheStartMayBeOfTheJobBefore)
{
    times.settle = std::chrono::hours(1);
    for (const auto& description : {Describe(), DescribeShared()}) {
        for (const char* const word : {"\"done\"", "\"broken\"", "\"ready\""}) {
            for (const char* const job : {FileName, AnothersName, Nobody}) {
                Arrive(Past::Confirmed, description);
                SetState(word, job);
                EXPECT_EQ(GetState(), NotBegun) << word << job;
                // It has settled when it was seen at work.
                SetState(R"("printing")");
                EXPECT_EQ(GetState(), State::Printing);
                SetState(word);
                EXPECT_EQ(GetState(), word[1] == 'b' ? State::Failed : Printed);
            }
        }
    }
    // What was learned of one copy says nothing of the next.
    Arrive(Past::Seen, DescribeShared());
    order.copy = 3;
    SetState(R"("ready")");
    EXPECT_EQ(GetState(), Unknown);
}

TEST_F(PrinterStateTest, AnAnswerThatIsNoStateIsNotKnown)
{
    times.silence = std::chrono::milliseconds(300);
    Arrive(Past::Seen, Describe());
    const std::pair<std::string, const char*> rows[] = {
        {"HTTP/1.1 500 X\r\nContent-Length: 0\r\n\r\n", "answered 500."},
        {"HTTP/1.1 404 X\r\nContent-Length: 0\r\n\r\n", "answered 404."},
        {"HTTP/1.1 302 X\r\nLocation: /state2\r\nContent-Length: 0\r\n\r\n", "points elsewhere"},
        {"HTTP/1.1 200 X\r\n\r\n{\"a/b\":", "not as JSON"},
        {"HTTP/1.1 200 X\r\n\r\n<html>", "not as JSON"},
        {"HTTP/1.1 200 X\r\nContent-Length: 0\r\n\r\n", "not as JSON"},
        {"HTTP/1.1 200 X\r\n\r\n" + std::string(200'000, '['), "not as JSON"},
        {"HTTP/1.1 200 X\r\n\r\n{}", "'state.pointer'"},
        {"HTTP/1.1 200 X\r\n\r\n{\"a/b\":[{\"state\":{}}]}", "'state.pointer'"},
        {"HTTP/1.1 200 X\r\n\r\n{\"a/b\":[{\"state\":\"odd\\u0007\"}]}", "'odd?'"},
        {"HTTP/1.1 200 X\r\nContent-Length: 9000\r\n\r\n{\"a/b\":[{\"state\":\"done\"}]}", "broke the connection"},
        {"HTTP/1.1 200 X\r\n\r\n{\"a/b\":[{\"state\":\"done\"}],\"x\":\"" + std::string(1'100'000, 'x') + "\"}",
         "without an end"},
        {"", "broke the connection"},
    };
    for (const auto& [text, words] : rows) {
        server.On("GET /state", [text = text](Connection& io_connection) { io_connection.Write(text); });
        const auto status = GetStatus();
        EXPECT_EQ(status.state, Unknown) << text.substr(0, 100);
        EXPECT_THAT(status.detail, AllOf(HasSubstr(words), MatchesRegex("The printer at .+\\.")));
    }
    // It comes to itself.
    SetState(R"("printing")");
    EXPECT_EQ(GetState(), State::Printing);
    server.Stop();
    EXPECT_EQ(GetState(), Unknown);
}

TEST_F(PrinterStateTest, CancelingStopsNobodyElsesJob)
{
    const auto text = TestSupport::Replaced(Describe(), "/jobs/{key}/cancel", "/cancel");
    server.On("POST /cancel", 200);
    const struct
    {
        Past past;
        const char* job;
        bool isAsked;
        Outcome outcome;
    } rows[] = {
        {Past::Sent, AnothersName, false, Outcome::Done},          {Past::Restart, AnothersName, false, Outcome::Done},
        {Past::Seen, AnothersName, false, Outcome::Done},          {Past::Restart, FileName, true, Outcome::Done},
        {Past::Confirmed, FileName, true, Outcome::Done},          {Past::Seen, Nobody, false, Outcome::Done},
        {Past::Confirmed, AnothersName, false, Outcome::NotKnown}, {Past::Confirmed, Nobody, true, Outcome::Done},
    };
    times.settle = std::chrono::hours(1);
    for (const auto& row : rows) {
        SCOPED_TRACE(std::to_string(static_cast<int>(row.past)) + row.job);
        Arrive(row.past, text);
        SetState(R"("printing")", row.job);
        server.Take();
        EXPECT_EQ(Cancel(), row.outcome) << sentence;
        EXPECT_EQ(TakeLines() == std::vector<std::string>({"GET /state", "POST /cancel"}), row.isAsked);
    }
    // Which job it is at cannot be found out.
    server.On("GET /state", 500);
    EXPECT_EQ(Cancel(), Outcome::NotKnown);
    // A request that names the job can hit no other; one that is not there needs none.
    for (const auto& [status, outcome] : {std::pair(404, Outcome::Done), std::pair(410, Outcome::Done),
                                          std::pair(409, Outcome::NotKnown), std::pair(500, Outcome::NotKnown)}) {
        Arrive(Past::Restart, Describe());
        server.On("POST /jobs/", status);
        EXPECT_EQ(Cancel(), outcome);
    }
}

} // namespace

} // namespace MachineService::MachineManager::Testing
