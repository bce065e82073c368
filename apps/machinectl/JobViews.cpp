#include "machinectl/JobViews.h"

#include "machinectl/TextWidth.h"

#include <QCoreApplication>
#include <QDateTime>

#include <algorithm>

namespace MachineCtl {

namespace {

using namespace Hosting;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::JobViews)
};

/// The machine that a job is on, or the one that it is for.
QString ShowMachine(const Jobs::Job& i_job, const MachineNames& i_names)
{
    if (!i_job.machine.empty())
        return CleanText(i_job.machine);
    if (const auto found = i_names.find(i_job.target.machine); found != i_names.end())
        return CleanText(found->second);
    if (i_job.target.model.empty())
        return CleanText(i_job.target.machine);
    return i_job.target.material.empty()
               ? Texts::tr("any %1").arg(CleanText(i_job.target.model))
               : Texts::tr("any %1 with %2").arg(CleanText(i_job.target.model), CleanText(i_job.target.material));
}

QString ShowPercent(const Jobs::Job& i_job)
{
    return i_job.state == "processing" ? QStringLiteral("%1 %").arg(i_job.percent) : QString();
}

QString ShowNumber(double i_number)
{
    return QString::number(i_number, 'g', 6);
}

std::int64_t CountSeconds(Jobs::Time i_from, Jobs::Time i_to)
{
    return std::max<std::int64_t>(0, std::chrono::duration_cast<std::chrono::seconds>(i_to - i_from).count());
}

} // namespace

MachineNames CollectNames(const std::vector<Jobs::Machine>& i_machines)
{
    MachineNames names;
    for (const auto& machine : i_machines)
        names[machine.id] = machine.name;
    return names;
}

Look GetStateLook(const std::string& i_state)
{
    if (i_state == "completed" || i_state == "idle")
        return Look::Good;
    if (i_state == "processing")
        return Look::Busy;
    if (i_state == "processing-stopped" || i_state == "aborted" || i_state == "stopped")
        return Look::Bad;
    return i_state == "canceled" ? Look::Plain : Look::Waiting;
}

Table MakeJobTable(const std::vector<Jobs::Job>& i_jobs, const MachineNames& i_names, Jobs::Time i_now)
{
    Table table({{Texts::tr("Job"), 3, 9, true},
                 {Texts::tr("Name"), 6, 8},
                 {Texts::tr("State"), 10, 7},
                 {Texts::tr("Done"), 5, 4, true},
                 {Texts::tr("Why"), 10, 5},
                 {Texts::tr("Machine"), 8, 6},
                 {Texts::tr("Owner"), 5, 1},
                 {Texts::tr("Age"), 6, 2, true}});
    for (const auto& job : i_jobs)
        table.AddRow({QString::number(job.number),
                      CleanText(job.name),
                      {CleanText(job.state), GetStateLook(job.state)},
                      ShowPercent(job),
                      job.reasons.empty() ? QString() : CleanText(job.reasons.front()),
                      ShowMachine(job, i_names),
                      CleanText(job.owner),
                      FormatDuration(CountSeconds(job.created, i_now))});
    return table;
}

Table MakeMachineTable(const std::vector<Jobs::Machine>& i_machines)
{
    Table table({{Texts::tr("Machine"), 10, 9},
                 {Texts::tr("State"), 7, 8},
                 {Texts::tr("Waiting"), 7, 5, true},
                 {Texts::tr("Job"), 8, 6},
                 {Texts::tr("Loaded"), 8, 4},
                 {Texts::tr("Why"), 10, 3}});
    for (const auto& machine : i_machines) {
        const auto reason = machine.reasons.empty() ? QString() : CleanText(machine.reasons.front());
        const auto job =
            machine.current ? QStringLiteral("%1 %2").arg(machine.current->number).arg(CleanText(machine.current->name))
                            : QString();
        table.AddRow({CleanText(machine.name),
                      {CleanText(machine.state), GetStateLook(machine.state)},
                      QString::number(machine.waiting),
                      job,
                      FormatLoaded(machine.loaded),
                      reason});
    }
    return table;
}

Table MakeHistoryTable(const std::vector<Jobs::HistoryEntry>& i_history)
{
    Table table({{Texts::tr("Time"), 19, 8},
                 {Texts::tr("Who"), 5, 4},
                 {Texts::tr("What"), 8, 9},
                 {Texts::tr("Phase"), 8, 7},
                 {Texts::tr("Why"), 12, 5}});
    for (const auto& entry : i_history)
        table.AddRow({FormatLocalTime(entry.time), CleanText(entry.actor), CleanText(entry.event),
                      CleanText(entry.phase), CleanText(entry.detail)});
    return table;
}

Table MakeCandidateTable(const std::vector<Jobs::Candidate>& i_candidates)
{
    Table table({{Texts::tr("Machine"), 10, 9}, {Texts::tr("Fits"), 20, 8}});
    for (const auto& candidate : i_candidates)
        table.AddRow({CleanText(candidate.name), candidate.refusal.empty()
                                                     ? Cell(Texts::tr("yes"), Look::Good)
                                                     : Cell(CleanText(candidate.refusal), Look::Waiting)});
    return table;
}

void Details::Add(const QString& i_name, const QString& i_text, Look i_look)
{
    if (!i_text.isEmpty())
        lines.emplace_back(i_name, Cell(i_text, i_look));
}

void Details::Add(const QString& i_name, const std::string& i_text)
{
    Add(i_name, CleanText(i_text));
}

QString Details::Format(int i_width, bool i_is_coloured) const
{
    int widest = 0;
    for (const auto& line : lines)
        widest = std::max(widest, GetWidth(line.first));
    QString text;
    for (const auto& [name, cell] : lines) {
        const int left = i_width - widest - 2;
        // What is told here is wanted whole; a terminal that is too narrow for two columns breaks the lines itself.
        const bool isWrapped = i_width > 0 && left >= 20;
        QString nameOrSpace = name + QString(widest - GetWidth(name) + 2, QLatin1Char(' '));
        for (const auto& part : isWrapped ? WrapText(cell.text, left) : QStringList(cell.text)) {
            text += nameOrSpace + (i_is_coloured ? Paint(part, cell.look) : part) + QLatin1Char('\n');
            nameOrSpace = QString(widest + 2, QLatin1Char(' '));
        }
    }
    return text;
}

Details DescribeJob(const Jobs::Job& i_job, const MachineNames& i_names)
{
    Details details;
    details.Add(Texts::tr("Job"), QString::number(i_job.number), Look::Title);
    details.Add(Texts::tr("Name"), i_job.name);
    details.Add(Texts::tr("Id"), i_job.id);
    details.Add(Texts::tr("State"), CleanText(i_job.state), GetStateLook(i_job.state));
    details.Add(Texts::tr("Done"), ShowPercent(i_job));
    details.Add(Texts::tr("Stage"), i_job.stage);
    QStringList reasons;
    for (const auto& reason : i_job.reasons)
        reasons.append(CleanText(reason));
    details.Add(Texts::tr("Reasons"), reasons.join(QStringLiteral(", ")));
    details.Add(Texts::tr("Why"), i_job.detail);
    details.Add(Texts::tr("Machine"), ShowMachine(i_job, i_names));
    details.Add(Texts::tr("Owner"), i_job.owner);
    details.Add(Texts::tr("Priority"), QString::number(i_job.priority));
    if (i_job.copies > 1)
        details.Add(Texts::tr("Copies"), Texts::tr("%1 of %2 printed").arg(i_job.copiesDone).arg(i_job.copies));
    details.Add(Texts::tr("Handed in"), FormatLocalTime(i_job.created));
    details.Add(Texts::tr("Changed"), FormatLocalTime(i_job.changed));
    details.Add(Texts::tr("Needs"), FormatLoaded({i_job.needs.material, i_job.needs.nozzle, {}}));
    if (i_job.estimates.seconds)
        details.Add(Texts::tr("Time"), FormatDuration(static_cast<std::int64_t>(*i_job.estimates.seconds)));
    if (i_job.estimates.cubicCentimetres)
        details.Add(Texts::tr("Material"), QStringLiteral("%1 cm³").arg(ShowNumber(*i_job.estimates.cubicCentimetres)));
    if (i_job.estimates.grams)
        details.Add(Texts::tr("Mass"), QStringLiteral("%1 g").arg(ShowNumber(*i_job.estimates.grams)));
    for (const auto& [name, value] : i_job.settings)
        details.Add(CleanText(name), value);
    const auto addFile = [&](const QString& i_name, const Jobs::File& i_file) {
        details.Add(i_name, QStringLiteral("%1 (%2)").arg(CleanText(i_file.name), FormatSize(i_file.size)));
    };
    addFile(Texts::tr("Platform"), i_job.platform);
    if (i_job.machineFile)
        addFile(Texts::tr("Machine file"), *i_job.machineFile);
    QStringList actions;
    for (const auto& action : i_job.actions)
        actions.append(CleanText(action));
    details.Add(Texts::tr("Actions"), actions.join(QStringLiteral(", ")));
    return details;
}

Details DescribeMachine(const Jobs::Machine& i_machine)
{
    Details details;
    details.Add(Texts::tr("Machine"), CleanText(i_machine.name), Look::Title);
    details.Add(Texts::tr("Id"), i_machine.id);
    details.Add(Texts::tr("Model"), i_machine.model);
    details.Add(Texts::tr("State"), CleanText(i_machine.state), GetStateLook(i_machine.state));
    for (const auto& reason : i_machine.reasons)
        details.Add(Texts::tr("Why"), reason);
    details.Add(Texts::tr("Waiting"), QString::number(i_machine.waiting));
    if (i_machine.isPaused)
        details.Add(Texts::tr("Paused"),
                    i_machine.pauseReason.empty() ? Texts::tr("yes") : CleanText(i_machine.pauseReason), Look::Waiting);
    const auto loaded = FormatLoaded(i_machine.loaded);
    details.Add(Texts::tr("Loaded"), loaded.isEmpty() ? Texts::tr("not known") : loaded);
    if (i_machine.current)
        details.Add(Texts::tr("Job"),
                    QStringLiteral("%1 %2").arg(i_machine.current->number).arg(CleanText(i_machine.current->name)));
    details.Add(Texts::tr("Printer"), i_machine.printer);
    if (!i_machine.isOffered)
        details.Add(Texts::tr("Last seen"), FormatLocalTime(i_machine.seen));
    return details;
}

QString FormatLoaded(const Jobs::Loaded& i_loaded)
{
    QStringList texts;
    if (!i_loaded.material.empty())
        texts.append(CleanText(i_loaded.material));
    if (i_loaded.nozzle)
        texts.append(QStringLiteral("%1 mm").arg(ShowNumber(*i_loaded.nozzle)));
    if (!i_loaded.plate.empty())
        texts.append(CleanText(i_loaded.plate));
    return texts.join(QStringLiteral(", "));
}

QString FormatDuration(std::int64_t i_seconds)
{
    if (i_seconds < 60)
        return Texts::tr("%1 s").arg(i_seconds);
    const auto minutes = i_seconds / 60;
    if (minutes < 60)
        return Texts::tr("%1 min").arg(minutes);
    const auto hours = minutes / 60;
    return hours < 48 ? Texts::tr("%1 h %2 min").arg(hours).arg(minutes % 60) : Texts::tr("%1 d").arg(hours / 24);
}

QString FormatSize(std::uint64_t i_bytes)
{
    const auto bytes = static_cast<double>(i_bytes);
    if (i_bytes < 1'000)
        return QStringLiteral("%1 B").arg(i_bytes);
    if (i_bytes < 1'000'000)
        return QStringLiteral("%1 kB").arg(bytes / 1e3, 0, 'f', 1);
    return i_bytes < 1'000'000'000 ? QStringLiteral("%1 MB").arg(bytes / 1e6, 0, 'f', 1)
                                   : QStringLiteral("%1 GB").arg(bytes / 1e9, 0, 'f', 1);
}

QString FormatProgress(const Jobs::Job& i_job)
{
    QStringList texts{QString::number(i_job.number), CleanText(i_job.state)};
    if (!i_job.reasons.empty())
        texts.append(QLatin1Char('(') + CleanText(i_job.reasons.front()) + QLatin1Char(')'));
    for (const auto& text : {ShowPercent(i_job), CleanText(i_job.stage), CleanText(i_job.detail)}) {
        if (!text.isEmpty())
            texts.append(text);
    }
    return texts.join(QLatin1Char(' '));
}

QString FormatLocalTime(Jobs::Time i_time)
{
    return QDateTime::fromMSecsSinceEpoch(i_time.time_since_epoch().count())
        .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

} // namespace MachineCtl
