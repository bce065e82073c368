#include "machinemanager/page/Interface.h"
#include "machinemanager/page/JobJson.h"
#include "machinemanager/page/views/Frame.h"
#include "machinemanager/page/views/Texts.h"
#include "machinemanager/page/views/Views.h"
#include "machinemanager/page/views/Words.h"
#include "tavsdk/PercentEncoding.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::MachineManager::Views {

namespace {

constexpr const char* Unfinished = "pending,pending-held,processing,processing-stopped";
constexpr int PageSize = 50;

/// The page of jobs with another beginning.
std::string MakePagePath(const HttpRequest& i_request, std::int64_t i_after)
{
    std::string path = "/jobs?";
    for (const char* name : {"text", "state", "machine", "owner", "order"}) {
        if (const auto value = i_request.GetQuery(name); !value.empty())
            path += std::string(name) + '=' + TavSDK::EncodePercent(value) + '&';
    }
    if (i_after > 0)
        path += "after=" + std::to_string(i_after);
    else
        path.pop_back();
    return path;
}

/// In the order of their names.
void AddMachines(Values& io_values, const char* ip_list, const MachineNames& i_names, const std::string& i_chosen)
{
    std::vector<std::pair<std::string, std::string>> sorted;
    for (const auto& [id, name] : i_names)
        sorted.emplace_back(name, to_string(id));
    std::sort(sorted.begin(), sorted.end());
    for (const auto& [name, id] : sorted)
        io_values.Add(ip_list, MakeChoice(id, name, i_chosen));
}

void SetFilters(Values& io_values, const Call& i_call, const MachineNames& i_names)
{
    const auto& request = i_call.request;
    const auto translate = [&](const char* ip_text) {
        return Translate(ip_text, i_call.language);
    };
    io_values.Set("text", request.GetQuery("text")).Set("owner", request.GetQuery("owner"));
    const auto state = request.GetQuery("state");
    io_values.Add("stateChoices", MakeChoice("", translate("All states"), state));
    io_values.Add("stateChoices", MakeChoice(Unfinished, translate("Not finished"), state));
    for (const auto one : {JobState::Pending, JobState::PendingHeld, JobState::Processing, JobState::ProcessingStopped,
                           JobState::Canceled, JobState::Aborted, JobState::Completed})
        io_values.Add("stateChoices", MakeChoice(GetName(one), translate(GetWords(one).word), state));
    const auto machine = request.GetQuery("machine");
    io_values.Add("machineChoices", MakeChoice("", translate("All machines"), machine));
    AddMachines(io_values, "machineChoices", i_names, machine);
    const auto order = request.GetQuery("order") == "oldest" ? "oldest" : "newest";
    io_values.Add("orderChoices", MakeChoice("newest", translate("Newest first"), order));
    io_values.Add("orderChoices", MakeChoice("oldest", translate("Oldest first"), order));
}

bool IsFiltered(const HttpRequest& i_request)
{
    return std::any_of(i_request.query.begin(), i_request.query.end(),
                       [](const auto& i_field) { return i_field.first != "order" && !i_field.second.empty(); });
}

Values MakeFact(const Call& i_call, const char* ip_word, const std::string& i_value)
{
    Values fact;
    fact.Set("word", Translate(ip_word, i_call.language)).Set("value", i_value);
    return fact;
}

void AddFacts(Values& io_values, const Call& i_call, const Job& i_job, const std::string& i_target)
{
    const auto& language = i_call.language;
    const auto add = [&](const char* ip_word, const std::string& i_value) {
        if (!i_value.empty())
            io_values.Add("facts", MakeFact(i_call, ip_word, i_value));
    };
    add("Owner", i_job.owner);
    add("For", i_target);
    add("Machine", i_job.machineName);
    add("Priority", std::to_string(i_job.priority));
    if (i_job.copies > 1)
        add("Copies",
            Translate("%1 of %2 done", language, std::to_string(i_job.copiesDone), std::to_string(i_job.copies)));
    add("Handed in", DescribeTime(i_job.created, language));
    add("Last change", DescribeTime(i_job.changed, language));
    auto needs = i_job.needs.model;
    for (const auto& part :
         {i_job.needs.material,
          i_job.needs.nozzle ? DescribeNumber(*i_job.needs.nozzle, 2, language) + " mm" : std::string()}) {
        if (!part.empty())
            needs += (needs.empty() ? "" : ", ") + part;
    }
    add("Prepared for", needs);
    if (i_job.estimates.seconds)
        add("Time it takes",
            DescribeSpan(std::chrono::milliseconds(
                             static_cast<std::int64_t>(std::clamp(*i_job.estimates.seconds, 0.0, 1e9)) * 1000),
                         language));
    std::string material;
    if (i_job.estimates.grams)
        material = Translate("%1 g", language, DescribeNumber(*i_job.estimates.grams, 1, language));
    if (i_job.estimates.cubicCentimetres)
        material += (material.empty() ? "" : ", ") +
                    Translate("%1 cm³", language, DescribeNumber(*i_job.estimates.cubicCentimetres, 1, language));
    add("Material it takes", material);
    add("SHA-256", i_job.platform.hash);
    for (const auto& [word, value] : i_job.settings) {
        Values setting;
        setting.Set("word", word).Set("value", value);
        io_values.Add("settings", std::move(setting));
    }
    io_values.Set("hasSettings", !i_job.settings.empty());
}

void AddFiles(Values& io_values, const Call& i_call, const Job& i_job)
{
    const auto add = [&](const KeptFile& i_file, const char* ip_kind, const char* ip_path) {
        Values file;
        file.Set("fileName", i_file.name)
            .Set("kind", Translate(ip_kind, i_call.language))
            .Set("size", DescribeSize(i_file.size, i_call.language))
            .Set("link", "/jobs/" + to_string(i_job.id) + "/files/" + ip_path);
        io_values.Add("files", std::move(file));
    };
    if (i_job.phase != JobPhase::Incoming)
        add(i_job.platform, "Platform", "platform");
    if (i_job.machineFile)
        add(*i_job.machineFile, "Machine file", "machine-file");
}

void AddHistory(Values& io_values, const PageContext& i_context, const Call& i_call, const Job& i_job)
{
    auto history = i_context.desk.GetHistory(i_call.actor, i_job.id);
    std::reverse(history.begin(), history.end());
    for (const auto& entry : history) {
        Values line;
        line.Set("time", FormatTime(entry.time))
            .Set("timeWords", DescribeTime(entry.time, i_call.language))
            .Set("event", DescribeEvent(entry.event, i_call.language))
            .Set("actor", entry.actor)
            .Set("remark", entry.detail);
        io_values.Add("history", std::move(line));
    }
}

/// \return whether what is loaded keeps a machine from taking the job, and nothing else.
bool AddCandidates(Values& io_values, const PageContext& i_context, const Call& i_call, const Job& i_job)
{
    bool canBeAcknowledged = false;
    const auto candidates =
        IsFinal(i_job.phase) ? std::vector<Candidate>() : i_context.desk.GetCandidates(i_call.actor, i_job.id);
    for (const auto& candidate : candidates) {
        Values row;
        row.Set("machineId", to_string(candidate.machine))
            .Set("machineName", candidate.name)
            .Set("refusal", candidate.refusal)
            .Set("canBeAcknowledged", candidate.canBeAcknowledged);
        io_values.Add("candidates", std::move(row));
        canBeAcknowledged = canBeAcknowledged || candidate.canBeAcknowledged;
    }
    io_values.Set("hasCandidates", !candidates.empty()).Set("isOpen", !IsFinal(i_job.phase));
    return canBeAcknowledged;
}

void AddActions(Values& io_values, const Call& i_call, const Job& i_job, const MachineNames& i_names,
                bool i_can_be_acknowledged)
{
    const auto allowed = IsMine(i_call.actor, i_job) ? GetAllowedActions(i_job) : std::vector<std::string>();
    const auto isAllowed = [&](const char* ip_action) {
        return std::find(allowed.begin(), allowed.end(), ip_action) != allowed.end();
    };
    for (const auto& action : allowed) {
        const bool isForm = action == "move" || action == "priority" || action == "place";
        if (isForm || (action == "acknowledge" && !i_can_be_acknowledged))
            continue;
        Values row;
        row.Set("action", action)
            .Set("word", Translate(GetActionWords(action, IsFinal(i_job.phase)), i_call.language))
            .Set("isDangerous", action != "hold" && action != "release" && action != "copy")
            // The same form twice is the same copy.
            .Set("newId", action == "copy" ? to_string(boost::uuids::random_generator()()) : std::string());
        io_values.Add("actions", std::move(row));
    }
    if (isAllowed("move")) {
        const auto chosen = to_string(i_job.target.machine);
        AddMachines(io_values, "moveChoices", i_names, chosen);
    }
    io_values.Set("hasActions", !allowed.empty())
        .Set("canMove", isAllowed("move"))
        .Set("canPrioritise", isAllowed("priority"))
        .Set("canPlace", isAllowed("place"))
        .Set("priority", std::to_string(i_job.priority))
        .Set("phase", GetInfo(i_job.phase).name);
}

struct Question
{
    const char* question;
    const char* consequence;
};

Question GetQuestion(JobAction i_action)
{
    switch (i_action) {
    case JobAction::StartAgain:
        return {"Start this job again?",
                "Look at the machine first: when it has begun after all, the job is printed twice."};
    case JobAction::ConfirmDone:
        return {"Is this job printed?",
                "The job is completed then, and the machine takes the next one: its plate must be free."};
    case JobAction::Acknowledge:
        return {"Will what is loaded do?",
                "The job is started although the machine is loaded with something else than it was prepared for."};
    default:
        return {"Cancel this job?",
                "The machine is told to stop. A job that was cancelled cannot go on; it can be copied."};
    }
}

} // namespace

HttpResponse ShowStart(const PageContext&, const Call&)
{
    return MakeRedirect("/jobs");
}

HttpResponse ShowJobs(const PageContext& i_context, const Call& i_call)
{
    auto filter = Interface::ParseFilter(i_context, i_call);
    // One more tells whether there is another page.
    filter.count = PageSize + 1;
    auto jobs = i_context.desk.List(i_call.actor, filter);
    const bool hasMore = jobs.size() > PageSize;
    if (hasMore)
        jobs.resize(PageSize);
    Values values;
    const auto names = GetMachineNames(i_context, i_call);
    SetFilters(values, i_call, names);
    for (const auto& job : jobs)
        values.Add("jobs", MakeJobRow(i_context, i_call, job, names));
    values.Set("hasJobs", !jobs.empty())
        .Set("emptyWords", Translate(IsFiltered(i_call.request)
                                         ? "No job is like this. Change the filters to see others."
                                         : "There is no job yet. Jobs appear here when an application hands them in.",
                                     i_call.language))
        .Set("firstPage", filter.after > 0 ? MakePagePath(i_call.request, 0) : std::string())
        .Set("nextPage", hasMore ? MakePagePath(i_call.request, jobs.back().number) : std::string());
    return MakePage(i_context, i_call, "jobs", std::move(values), Translate("Jobs", i_call.language), Place::Jobs);
}

HttpResponse ShowJob(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const auto names = GetMachineNames(i_context, i_call);
    auto values = MakeJobRow(i_context, i_call, job, names);
    values.Set("reason", Translate(GetPhaseSentence(job.phase), i_call.language))
        .Set("waitReason", job.waitReason.empty() || job.phase != JobPhase::Waiting
                               ? std::string()
                               : DescribeReason(job.waitReason, i_call.language))
        .Set("detail", job.detail);
    const auto target = *values.FindText("targetWords");
    AddFacts(values, i_call, job, target);
    AddFiles(values, i_call, job);
    AddHistory(values, i_context, i_call, job);
    const bool canBeAcknowledged = AddCandidates(values, i_context, i_call, job);
    AddActions(values, i_call, job, names, canBeAcknowledged);
    return MakePage(i_context, i_call, "job", std::move(values), job.name, Place::Jobs);
}

template <JobAction Action>
HttpResponse Confirm(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const std::string action = GetName(Action);
    const auto allowed = GetAllowedActions(job);
    if (!IsMine(i_call.actor, job))
        throw HttpError(403, "");
    if (std::find(allowed.begin(), allowed.end(), action) == allowed.end())
        throw HttpError(412, "");
    auto values = MakeJobRow(i_context, i_call, job, {});
    const auto [question, consequence] = GetQuestion(Action);
    values.Set("action", action)
        .Set("phase", GetInfo(job.phase).name)
        .Set("question", Translate(question, i_call.language))
        .Set("consequence", Translate(consequence, i_call.language))
        .Set("word", Translate(GetActionWords(action, false), i_call.language));
    auto call = i_call;
    call.isFragment = false;
    return MakePage(i_context, call, "confirm", std::move(values), Translate(question, i_call.language), Place::Jobs);
}

template HttpResponse Confirm<JobAction::Cancel>(const PageContext&, const Call&);
template HttpResponse Confirm<JobAction::StartAgain>(const PageContext&, const Call&);
template HttpResponse Confirm<JobAction::ConfirmDone>(const PageContext&, const Call&);
template HttpResponse Confirm<JobAction::Acknowledge>(const PageContext&, const Call&);

} // namespace MachineService::MachineManager::Views
