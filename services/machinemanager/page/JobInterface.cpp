#include "machinemanager/page/Interface.h"
#include "machinemanager/page/JobJson.h"
#include "machinemanager/page/JsonBody.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

#include <functional>

namespace MachineService::MachineManager::Interface {

namespace {

constexpr std::uint64_t LongestBody = 64 * 1024;
constexpr std::uint64_t LongestOrder = 4 << 20;

Job Find(const PageContext& i_context, const Call& i_call)
{
    return i_context.desk.Find(i_call.actor, i_call.word);
}

/// Does something with a job, of the version that the client has seen.
HttpResponse Change(const PageContext& i_context, const Call& i_call,
                    const std::function<Job(const Job&, std::optional<std::uint64_t>)>& i_change)
{
    const auto job = Find(i_context, i_call);
    const auto tag = i_call.request.GetHeader("If-Match");
    std::optional<std::uint64_t> version;
    if (!tag.empty() && tag != "*") {
        if (tag != MakeTag(job))
            throw HttpError(412, "The job has changed since it was read. Read it again, then decide.");
        version = job.version;
    }
    try {
        return MakeAnswer(i_change(job, version));
    } catch (const ManagerError& failure) {
        const bool isRace = version && failure.GetKind() == ManagerError::Kind::Conflict &&
                            i_context.desk.Get(i_call.actor, job.id).version != *version;
        if (isRace)
            throw HttpError(412, "The job has changed since it was read. Read it again, then decide.");
        throw;
    }
}

JobState ParseState(std::string_view i_word)
{
    const auto state = FindState(i_word);
    if (!state)
        throw HttpError(400, "There is no state " + TavSDK::Quote(i_word, 80) + " of jobs.");
    return *state;
}

} // namespace

JobFilter ParseFilter(const PageContext& i_context, const Call& i_call)
{
    const auto& request = i_call.request;
    JobFilter filter;
    const auto states = request.GetQuery("state");
    for (std::size_t begin = 0; begin < states.size();) {
        const auto end = std::min(states.find(',', begin), states.size());
        if (end > begin)
            filter.states.push_back(ParseState(std::string_view(states).substr(begin, end - begin)));
        begin = end + 1;
    }
    filter.owner = CheckText(request.GetQuery("owner"), "owner");
    filter.text = CheckText(request.GetQuery("text"), "text");
    if (const auto machine = request.GetQuery("machine"); !machine.empty()) {
        const auto id = ParseId(machine);
        filter.machine = id ? *id : i_context.desk.FindMachine(i_call.actor, machine).entry.id;
    }
    const auto order = request.GetQuery("order");
    if (!order.empty() && order != "newest" && order != "oldest")
        throw HttpError(400, "The order must be 'newest' or 'oldest'.");
    filter.isOldestFirst = order == "oldest";
    if (const auto after = request.GetQuery("after"); !after.empty())
        filter.after = static_cast<std::int64_t>(std::min<std::uint64_t>(ParseCount(after, "'after'"), INT64_MAX));
    if (const auto text = request.GetQuery("count"); !text.empty()) {
        const auto count = ParseCount(text, "'count'");
        if (count < 1 || count > 500)
            throw HttpError(400, "'count' must be a number from 1 to 500.");
        filter.count = static_cast<int>(count);
    }
    return filter;
}

HttpResponse ListJobs(const PageContext& i_context, const Call& i_call)
{
    const auto filter = ParseFilter(i_context, i_call);
    const auto jobs = i_context.desk.List(i_call.actor, filter);
    QJsonArray list;
    for (const auto& job : jobs)
        list.append(ToJson(job));
    // A page that is full may be the last; the next one is empty then.
    const bool hasMore = jobs.size() == static_cast<std::size_t>(filter.count);
    return MakeAnswer(
        {{QStringLiteral("jobs"), list},
         {QStringLiteral("next"), hasMore ? QJsonValue(static_cast<qint64>(jobs.back().number)) : QJsonValue()}});
}

HttpResponse AnnounceJob(const PageContext& i_context, const Call& i_call)
{
    auto job = ParseNewJob(i_call.request.ReadBody(LongestOrder));
    const auto id = job.id;
    bool isNew = false;
    try {
        i_context.desk.Get(i_call.actor, id);
    } catch (const ManagerError& failure) {
        if (failure.GetKind() != ManagerError::Kind::NotFound)
            throw;
        isNew = true;
    }
    return MakeAnswer(i_context.desk.Announce(i_call.actor, std::move(job)), isNew ? 201 : 200);
}

HttpResponse GetJob(const PageContext& i_context, const Call& i_call)
{
    const auto job = Find(i_context, i_call);
    if (i_call.request.GetHeader("If-None-Match") != MakeTag(job))
        return MakeAnswer(job);
    HttpResponse unchanged;
    unchanged.status = 304;
    unchanged.Set("ETag", MakeTag(job));
    return unchanged;
}

HttpResponse GetHistory(const PageContext& i_context, const Call& i_call)
{
    QJsonArray history;
    for (const auto& entry : i_context.desk.GetHistory(i_call.actor, Find(i_context, i_call).id))
        history.append(ToJson(entry));
    return MakeAnswer(QJsonObject{{QStringLiteral("history"), history}});
}

HttpResponse GetCandidates(const PageContext& i_context, const Call& i_call)
{
    QJsonArray candidates;
    for (const auto& candidate : i_context.desk.GetCandidates(i_call.actor, Find(i_context, i_call).id))
        candidates.append(ToJson(candidate));
    return MakeAnswer(QJsonObject{{QStringLiteral("candidates"), candidates}});
}

HttpResponse MakeAddress(const PageContext& i_context, const Call& i_call)
{
    const auto id = Find(i_context, i_call).id;
    if (i_context.address.empty())
        throw HttpError(404, "This Machine Manager has no page. Its settings say that it listens at the socket only.");
    const auto address =
        i_context.address + "/jobs/" + to_string(id) + "?code=" + i_context.sessions.MakeCode(i_call.actor);
    return MakeAnswer(QJsonObject{{QStringLiteral("address"), QString::fromStdString(address)}});
}

template <JobAction Action>
HttpResponse Act(const PageContext& i_context, const Call& i_call)
{
    return Change(i_context, i_call, [&](const Job& i_job, std::optional<std::uint64_t> i_version) {
        return i_context.desk.Act(i_call.actor, i_job.id, Action, i_version);
    });
}

template HttpResponse Act<JobAction::Hold>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Release>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Cancel>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::StartAgain>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::ConfirmDone>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Acknowledge>(const PageContext&, const Call&);

HttpResponse MoveJob(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    const auto target = ParseTarget(body.Object("target"));
    body.Finish();
    return Change(i_context, i_call, [&](const Job& i_job, std::optional<std::uint64_t> i_version) {
        return i_context.desk.Move(i_call.actor, i_job.id, target, i_version);
    });
}

HttpResponse SetPriority(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    const int priority = body.Number("priority", 1, 100);
    body.Finish();
    return Change(i_context, i_call, [&](const Job& i_job, std::optional<std::uint64_t> i_version) {
        return i_context.desk.SetPriority(i_call.actor, i_job.id, priority, i_version);
    });
}

HttpResponse PlaceJob(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    if (!body.Has("before"))
        body.Refuse("before", "is missing");
    const auto other = body.Id("before");
    body.Finish();
    return MakeAnswer(i_context.desk.PlaceBefore(i_call.actor, Find(i_context, i_call).id, other));
}

HttpResponse CopyJob(const PageContext& i_context, const Call& i_call)
{
    JsonBody body(i_call.request.ReadBody(LongestBody));
    const auto id = body.RequiredId("id");
    body.Finish();
    return MakeAnswer(i_context.desk.Copy(i_call.actor, Find(i_context, i_call).id, id), 201);
}

} // namespace MachineService::MachineManager::Interface
