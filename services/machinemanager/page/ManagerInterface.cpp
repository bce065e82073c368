#include "machinemanager/page/Interface.h"
#include "machinemanager/page/JobJson.h"
#include "machinemanager/page/JsonBody.h"
#include "machinemanager/page/http/Problem.h"

namespace MachineService::MachineManager::Interface {

namespace {

constexpr std::uint64_t LongestBody = 64 * 1024;

boost::uuids::uuid FindId(const PageContext& i_context, const Call& i_call)
{
    return i_context.desk.FindMachine(i_call.actor, i_call.word).entry.id;
}

HttpResponse Answer(const Call& i_call, const MachineView& i_machine)
{
    return MakeAnswer(ToJson(i_machine, i_call.actor.role));
}

HttpResponse SetPaused(const PageContext& i_context, const Call& i_call, bool i_is_paused, const std::string& i_reason)
{
    return Answer(i_call, i_context.desk.SetPaused(i_call.actor, FindId(i_context, i_call), i_is_paused, i_reason));
}

/// Counts of a metric with one label.
template <class Counts>
void AppendMetric(std::string& io_text, const std::string& i_name, const char* ip_type, const char* ip_help,
                  const char* ip_label, const Counts& i_counts)
{
    io_text += "# HELP " + i_name + ' ' + ip_help + "\n# TYPE " + i_name + ' ' + ip_type + '\n';
    for (const auto& [value, count] : i_counts)
        io_text += i_name + '{' + ip_label + "=\"" + value + "\"} " + std::to_string(count) + '\n';
}

void AppendMetric(std::string& io_text, const std::string& i_name, const char* ip_help, std::uint64_t i_value)
{
    io_text += "# HELP " + i_name + ' ' + ip_help + "\n# TYPE " + i_name + " gauge\n" + i_name + ' ' +
               std::to_string(i_value) + '\n';
}

/// With a row for each state, also for those that no job is in.
std::map<std::string, std::int64_t> CountStates(const PageContext& i_context, const Actor& i_actor)
{
    std::map<std::string, std::int64_t> counts;
    for (const auto& row : GetJobPhases())
        counts[GetName(row.state)] = 0;
    for (const auto& [state, count] : i_context.desk.CountStates(i_actor))
        counts[GetName(state)] = count;
    return counts;
}

} // namespace

HttpResponse ListMachines(const PageContext& i_context, const Call& i_call)
{
    QJsonArray machines;
    for (const auto& machine : i_context.desk.GetMachines(i_call.actor))
        machines.append(ToJson(machine, i_call.actor.role));
    return MakeAnswer(QJsonObject{{QStringLiteral("machines"), machines}});
}

HttpResponse GetMachine(const PageContext& i_context, const Call& i_call)
{
    return Answer(i_call, i_context.desk.FindMachine(i_call.actor, i_call.word));
}

HttpResponse PauseMachine(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    const auto reason = body.Text("reason", 500);
    body.Finish();
    return SetPaused(i_context, i_call, true, reason);
}

HttpResponse ResumeMachine(const PageContext& i_context, const Call& i_call)
{
    return SetPaused(i_context, i_call, false, {});
}

HttpResponse SetLoaded(const PageContext& i_context, const Call& i_call)
{
    const auto loaded = ParseLoaded(i_call.request.ReadBody(LongestBody));
    return Answer(i_call, i_context.desk.SetLoaded(i_call.actor, FindId(i_context, i_call), loaded));
}

HttpResponse SetPrinter(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    if (!body.Has("printer"))
        body.Refuse("printer", "is missing");
    const auto printer = body.ObjectText("printer");
    body.Finish();
    return Answer(i_call, i_context.desk.SetPrinter(i_call.actor, FindId(i_context, i_call), printer));
}

HttpResponse Listen(const PageContext& i_context, const Call&)
{
    auto response = i_context.events.Open();
    if (!response)
        return MakeProblem(503, "As many listen as may. Ask for the jobs now and then instead, or try again later.");
    return std::move(*response);
}

HttpResponse GetInformation(const PageContext& i_context, const Call& i_call)
{
    QJsonObject jobs;
    for (const auto& [state, count] : CountStates(i_context, i_call.actor))
        jobs.insert(QString::fromStdString(state), static_cast<qint64>(count));
    return MakeAnswer({{QStringLiteral("name"), QString::fromStdString(i_context.options.name)},
                       {QStringLiteral("version"), QStringLiteral(MACHINEMANAGER_VERSION)},
                       {QStringLiteral("jobs"), jobs},
                       {QStringLiteral("diskUse"), static_cast<qint64>(i_context.desk.GetDiskUse(i_call.actor))},
                       {QStringLiteral("pageAddress"), QString::fromStdString(i_context.address)},
                       {QStringLiteral("user"), QString::fromStdString(i_call.actor.name)},
                       {QStringLiteral("role"), QString::fromLatin1(GetName(i_call.actor.role))}});
}

HttpResponse GetHealth(const PageContext& i_context, const Call&)
{
    // Whoever asks learns of the store that it answers, and nothing of what is in it.
    i_context.desk.CountStates({"health", Role::See});
    return MakeAnswer(QJsonObject{{QStringLiteral("status"), QStringLiteral("ok")}});
}

HttpResponse GetMetrics(const PageContext& i_context, const Call& i_call)
{
    std::map<std::string, std::int64_t> machines = {{"idle", 0}, {"processing", 0}, {"stopped", 0}};
    for (const auto& machine : i_context.desk.GetMachines(i_call.actor))
        ++machines[machine.state];
    std::map<std::string, std::uint64_t> requests;
    for (const auto& [status, count] : i_context.figures.GetRequests())
        requests[std::to_string(status)] = count;

    HttpResponse response;
    response.type = "text/plain; version=0.0.4; charset=utf-8";
    auto& text = response.body;
    AppendMetric(text, "machinemanager_jobs", "gauge", "Jobs by state.", "state", CountStates(i_context, i_call.actor));
    AppendMetric(text, "machinemanager_machines", "gauge", "Machines by state.", "state", machines);
    AppendMetric(text, "machinemanager_disk_bytes", "Bytes of all files that are kept.",
                 i_context.desk.GetDiskUse(i_call.actor));
    AppendMetric(text, "machinemanager_requests_total", "counter", "Requests by the code of the answer.", "code",
                 requests);
    AppendMetric(text, "machinemanager_event_readers", "Those who listen to changes.",
                 static_cast<std::uint64_t>(i_context.events.GetReaders()));
    return response;
}

} // namespace MachineService::MachineManager::Interface
