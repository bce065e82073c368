#include "machinemanager/jobs/JobState.h"
#include "support/Files.h"
#include "support/Test.h"

#include <sstream>

namespace {

using namespace MachineService::MachineManager;

TEST(JobStateTest, EachPhaseThatIsNotFinalHasAnExitThatTheTableKnows)
{
    const auto transitions = GetJobTransitions();
    for (const auto& info : GetJobPhases()) {
        SCOPED_TRACE(info.name);
        EXPECT_EQ(&GetInfo(info.phase), &info);
        EXPECT_EQ(FindPhase(info.name), info.phase);
        const auto leaves = [&](JobEvent i_event) {
            const auto next = FindNextPhase(info.phase, i_event);
            return next && *next != info.phase;
        };
        const bool hasExit = std::any_of(transitions.begin(), transitions.end(), [&](const JobTransition& i_row) {
            return i_row.from == info.phase && i_row.to != info.phase;
        });
        EXPECT_EQ(hasExit, !IsFinal(info.phase));
        EXPECT_EQ(info.deadline.count() > 0, info.exit == PhaseExit::Deadline);
        switch (info.exit) {
        case PhaseExit::None:
            EXPECT_TRUE(IsFinal(info.phase));
            EXPECT_GE(info.state, JobState::Canceled);
            break;
        case PhaseExit::Deadline:
            EXPECT_TRUE(leaves(info.atDeadline));
            break;
        case PhaseExit::Claim:
            EXPECT_TRUE(NeedsClaim(info.phase));
            break;
        case PhaseExit::Dispatch:
            EXPECT_TRUE(leaves(JobEvent::Claim) && leaves(JobEvent::ClaimForSending));
            break;
        case PhaseExit::Operator:
            EXPECT_TRUE(leaves(JobEvent::Cancel));
            EXPECT_TRUE(leaves(JobEvent::Release) || leaves(JobEvent::StartAgain));
            break;
        }
        // Nothing is stuck for whoever wants to be rid of it.
        EXPECT_TRUE(IsFinal(info.phase) || info.phase == JobPhase::Canceling || leaves(JobEvent::Cancel));
    }
}

TEST(JobStateTest, AFinalPhaseIsReachedFromEverywhereAndNothingStartsTwiceByItself)
{
    for (const auto& start : GetJobPhases()) {
        std::set<JobPhase> reached = {start.phase};
        for (std::size_t before = 0; before != reached.size();) {
            before = reached.size();
            for (const auto& row : GetJobTransitions()) {
                if (reached.contains(row.from))
                    reached.insert(row.to);
            }
        }
        EXPECT_TRUE(std::any_of(reached.begin(), reached.end(), IsFinal)) << start.name;
    }
    std::set<std::pair<JobPhase, JobEvent>> seen;
    for (const auto& row : GetJobTransitions()) {
        EXPECT_TRUE(seen.insert({row.from, row.event}).second) << GetInfo(row.from).name << ' ' << GetName(row.event);
        EXPECT_EQ(FindNextPhase(row.from, row.event), row.to);
        EXPECT_FALSE(IsFinal(row.from));
        // From the order to begin on, only a word of an operator or of the printer brings a job back to the queue.
        const bool mayHaveStarted = row.from == JobPhase::Starting || row.from == JobPhase::Unconfirmed ||
                                    row.from == JobPhase::Printing || row.from == JobPhase::Stopped;
        if (mayHaveStarted && row.to == JobPhase::Waiting) {
            EXPECT_TRUE(row.event == JobEvent::StartRefused || row.event == JobEvent::StartAgain ||
                        row.event == JobEvent::CopyPrinted)
                << GetInfo(row.from).name << ' ' << GetName(row.event);
        }
    }
    for (const auto& info : GetJobPhases()) {
        for (const auto& row : GetJobTransitions())
            EXPECT_EQ(FindNextPhase(info.phase, row.event).has_value(), seen.contains({info.phase, row.event}));
    }
}

TEST(JobStateTest, NamesLeadBackToWhatTheyName)
{
    for (const auto& info : GetJobPhases()) {
        EXPECT_EQ(FindState(GetName(info.state)), info.state);
        EXPECT_THAT(info.reason, MatchesRegex("[a-z-]+"));
    }
    for (const auto& row : GetJobTransitions())
        EXPECT_EQ(FindEvent(GetName(row.event)), row.event);
    EXPECT_FALSE(FindPhase("no phase") || FindState("") || FindEvent("Cancel"));
}

/// Rows of the table below a heading, without its head.
std::vector<std::string> ReadTable(const std::string& i_page, const std::string& i_heading)
{
    std::vector<std::string> rows;
    std::istringstream lines(i_page.substr(i_page.find(i_heading)));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('|'))
            rows.push_back(line);
        else if (!rows.empty())
            break;
    }
    if (rows.size() > 2)
        rows.erase(rows.begin(), rows.begin() + 2);
    return rows;
}

std::string ShowExit(const JobPhaseInfo& i_info)
{
    switch (i_info.exit) {
    case PhaseExit::None:
        return "final";
    case PhaseExit::Deadline:
        return "after " + std::to_string(i_info.deadline.count()) + " s: " + GetName(i_info.atDeadline);
    case PhaseExit::Claim:
        return "its daemon";
    case PhaseExit::Dispatch:
        return "dispatch";
    case PhaseExit::Operator:
        return "an operator";
    }
    return {};
}

TEST(JobStateTest, ThePageShowsTheTablesOfTheCode)
{
    const auto page = TestSupport::ReadFile(MACHINESERVICE_DOCS "/machine-manager.md");
    ASSERT_NE(page.find("## Phases"), std::string::npos);
    ASSERT_NE(page.find("## Transitions"), std::string::npos);
    std::vector<std::string> phases;
    for (const auto& info : GetJobPhases())
        phases.push_back(std::string("| ") + info.name + " | " + GetName(info.state) + " | " + info.reason + " | " +
                         ShowExit(info) + " |");
    EXPECT_EQ(ReadTable(page, "## Phases"), phases);
    std::vector<std::string> transitions;
    for (const auto& row : GetJobTransitions())
        transitions.push_back(std::string("| ") + GetInfo(row.from).name + " | " + GetName(row.event) + " | " +
                              GetInfo(row.to).name + " |");
    EXPECT_EQ(ReadTable(page, "## Transitions"), transitions);
}

} // namespace
