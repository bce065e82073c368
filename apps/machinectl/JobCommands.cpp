#include "machinectl/CommandTable.h"
#include "machinectl/Commands.h"
#include "machinectl/Groups.h"
#include "machinectl/JobJson.h"
#include "machinectl/JobViews.h"
#include "machinectl/Session.h"
#include "machinectl/TextWidth.h"

#include <QCoreApplication>

#include <algorithm>

namespace MachineCtl::Commands {

namespace {

using namespace Hosting;

constexpr int UsualCount = 50;
constexpr int LargestPage = 500;
constexpr std::chrono::hours Long(24);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::JobCommands)
};

Jobs::Time GetNow()
{
    return std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

/// A short line for people, the whole job for programs.
ExitStatus Tell(Session& io_session, const Jobs::Job& i_job)
{
    io_session.GetConsole().Print(io_session.WantsJson() ? FormatJson(ToJson(i_job))
                                                         : FormatProgress(i_job) + QLatin1Char('\n'));
    return Succeeded;
}

std::vector<std::string> ParseStates(const std::string& i_text)
{
    std::vector<std::string> states;
    for (const auto& state : QString::fromStdString(i_text).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const auto known = QString::fromLatin1(JobStates).split(QLatin1Char(' '));
        if (!known.contains(state))
            throw UsageError(Texts::tr("There is no state '%1' of jobs; there are %2.")
                                 .arg(state, known.join(QStringLiteral(", "))));
        states.push_back(state.toStdString());
    }
    return states;
}

Jobs::Filter MakeFilter(Session& io_session)
{
    const auto& line = io_session.GetLine();
    Jobs::Filter filter;
    filter.states = ParseStates(line.Get("state"));
    filter.text = line.operands.empty() ? std::string() : line.operands.front();
    const auto& client = io_session.GetClient();
    if (line.Has("mine"))
        filter.owner = client.GetInformation().user;
    if (line.Has("machine"))
        filter.machine = client.GetMachine(line.Get("machine")).id;
    return filter;
}

/// Prints the pages as they come: there may be more jobs than one would like to hold.
void PrintJsonArray(Session& io_session, Jobs::Filter i_filter)
{
    auto& console = io_session.GetConsole();
    i_filter.count = LargestPage;
    bool isFirst = true;
    console.Print(QStringLiteral("["));
    for (std::optional<std::int64_t> next = 0; next;) {
        i_filter.after = *next;
        const auto page = io_session.GetClient().List(i_filter);
        QString text;
        for (const auto& job : page.jobs) {
            text += (isFirst ? QStringLiteral("\n") : QStringLiteral(",\n")) + FormatJson(ToJson(job), true).chopped(1);
            isFirst = false;
        }
        console.Print(text);
        next = page.next;
    }
    console.Print(isFirst ? QStringLiteral("]\n") : QStringLiteral("\n]\n"));
}

} // namespace

ExitStatus ListJobs(Session& io_session)
{
    auto filter = MakeFilter(io_session);
    auto& console = io_session.GetConsole();
    if (io_session.WantsJson()) {
        PrintJsonArray(io_session, std::move(filter));
        return Succeeded;
    }
    const bool isAll = io_session.GetLine().Has("all");
    filter.count = isAll ? LargestPage : UsualCount;
    std::vector<Jobs::Job> jobs;
    std::optional<std::int64_t> next = 0;
    do {
        filter.after = *next;
        auto page = io_session.GetClient().List(filter);
        std::move(page.jobs.begin(), page.jobs.end(), std::back_inserter(jobs));
        next = page.next;
    } while (next && isAll);
    if (jobs.empty()) {
        console.Tell(Texts::tr("There are no such jobs."));
        return Succeeded;
    }
    const auto names = CollectNames(io_session.GetClient().GetMachines());
    console.Print(MakeJobTable(jobs, names, GetNow()).Format(console.GetWidth(), console.IsColoured()));
    if (next)
        console.Tell(Texts::tr("There may be more jobs; --all shows them."));
    return Succeeded;
}

ExitStatus ShowJob(Session& io_session)
{
    const auto& client = io_session.GetClient();
    const auto job = client.GetJob(io_session.GetOperand(0));
    const auto history = client.GetHistory(job.id);
    const auto candidates = job.IsFinal() ? std::vector<Jobs::Candidate>() : client.GetCandidates(job.id);
    auto& console = io_session.GetConsole();
    if (io_session.WantsJson()) {
        auto all = ToJson(job);
        all.insert(QStringLiteral("history"), ToJsonArray(history));
        all.insert(QStringLiteral("candidates"), ToJsonArray(candidates));
        console.Print(FormatJson(all));
        return Succeeded;
    }
    const int width = console.GetWidth();
    const bool isColoured = console.IsColoured();
    auto text = DescribeJob(job, CollectNames(client.GetMachines())).Format(width, isColoured);
    if (!candidates.empty())
        text += QLatin1Char('\n') + MakeCandidateTable(candidates).Format(width, isColoured);
    console.Print(text + QLatin1Char('\n') + MakeHistoryTable(history).Format(width, isColoured));
    return Succeeded;
}

ExitStatus ActOnJob(Session& io_session)
{
    constexpr std::pair<const char*, Jobs::Action> actions[] = {
        {"hold", Jobs::Action::Hold},
        {"release", Jobs::Action::Release},
        {"cancel", Jobs::Action::Cancel},
        {"start-again", Jobs::Action::StartAgain},
        {"confirm-done", Jobs::Action::ConfirmDone},
        {"acknowledge", Jobs::Action::Acknowledge},
    };
    const std::string_view name = io_session.GetLine().command->name;
    const auto* const found =
        std::find_if(std::begin(actions), std::end(actions), [&](const auto& i_row) { return i_row.first == name; });
    return Tell(io_session, io_session.GetClient().Act(io_session.GetOperand(0), found->second));
}

ExitStatus MoveJob(Session& io_session)
{
    const auto& line = io_session.GetLine();
    CheckOneTarget(line, line.operands.size() > 1);
    const auto& client = io_session.GetClient();
    const auto target = line.Has("group") ? FindGroup(line, client.GetMachines())
                                          : Jobs::Target{client.GetMachine(io_session.GetOperand(1)).id, {}, {}};
    return Tell(io_session, client.Move(io_session.GetOperand(0), target));
}

ExitStatus SetPriority(Session& io_session)
{
    const int priority = ParseNumber(io_session.GetOperand(1), Texts::tr("The priority"), 1, 100);
    return Tell(io_session, io_session.GetClient().SetPriority(io_session.GetOperand(0), priority));
}

ExitStatus CopyJob(Session& io_session)
{
    return Tell(io_session, io_session.GetClient().Copy(io_session.GetOperand(0), MakeJobId()));
}

ExitStatus Watch(Session& io_session)
{
    const auto& client = io_session.GetClient();
    const auto show = [&](const Jobs::Job& i_job) {
        io_session.GetConsole().Print(io_session.WantsJson()
                                          ? FormatJson(ToJson(i_job), true)
                                          : FormatLocalTime(GetNow()).mid(11) + QStringLiteral("  ") +
                                                FormatProgress(i_job) + QLatin1Char('\n'));
    };
    if (!io_session.GetLine().operands.empty()) {
        auto job = client.GetJob(io_session.GetOperand(0));
        show(job);
        while (!job.IsFinal()) {
            auto next = client.WaitForChange(job, Long);
            // The manager tells of more than is shown.
            if (FormatProgress(next) != FormatProgress(job) || io_session.WantsJson())
                show(next);
            job = std::move(next);
        }
        return job.state == "completed" ? Succeeded : Failed;
    }
    for (;;) {
        client.Listen(
            [&](const Jobs::Change& i_change) {
                if (i_change.kind != Jobs::Change::Kind::Job)
                    return true;
                try {
                    show(client.GetJob(i_change.job));
                } catch (const JobsError& failure) {
                    // It was removed meanwhile.
                    if (failure.GetKind() != JobsError::Kind::NotFound)
                        throw;
                }
                return true;
            },
            Long);
    }
}

ExitStatus Open(Session& io_session)
{
    const auto& client = io_session.GetClient();
    const auto address = io_session.GetLine().operands.empty() ? client.GetInformation().pageAddress
                                                               : client.MakePageAddress(io_session.GetOperand(0));
    if (address.empty())
        throw JobsError(JobsError::Kind::NotFound,
                        Texts::tr("This Machine Manager has no page; its settings say that there is none."));
    io_session.GetConsole().Print(
        io_session.WantsJson() ? FormatJson(QJsonObject{{QStringLiteral("address"), QString::fromStdString(address)}})
                               : CleanText(address) + QLatin1Char('\n'));
    return Succeeded;
}

} // namespace MachineCtl::Commands
