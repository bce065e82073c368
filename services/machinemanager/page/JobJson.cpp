#include "machinemanager/page/JobJson.h"

#include <QJsonDocument>

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

void Put(QJsonObject& io_object, const char* ip_name, const QJsonValue& i_value)
{
    io_object.insert(QLatin1String(ip_name), i_value);
}

void Put(QJsonObject& io_object, const char* ip_name, const std::string& i_text)
{
    Put(io_object, ip_name, QString::fromStdString(i_text));
}

void Put(QJsonObject& io_object, const char* ip_name, const std::optional<double>& i_number)
{
    Put(io_object, ip_name, i_number ? QJsonValue(*i_number) : QJsonValue());
}

void Put(QJsonObject& io_object, const char* ip_name, std::int64_t i_number)
{
    Put(io_object, ip_name, QJsonValue(static_cast<qint64>(i_number)));
}

QJsonValue MakeId(const boost::uuids::uuid& i_id)
{
    return i_id.is_nil() ? QJsonValue() : QJsonValue(QString::fromStdString(to_string(i_id)));
}

QJsonArray MakeArray(const std::vector<std::string>& i_texts)
{
    QJsonArray array;
    for (const auto& text : i_texts)
        array.append(QString::fromStdString(text));
    return array;
}

QJsonObject MakeTarget(const JobTarget& i_target)
{
    QJsonObject target;
    Put(target, "machine", MakeId(i_target.machine));
    Put(target, "model", i_target.model);
    Put(target, "material", i_target.material);
    return target;
}

QJsonObject MakeFile(const KeptFile& i_file)
{
    QJsonObject file;
    Put(file, "name", i_file.name);
    Put(file, "size", static_cast<std::int64_t>(i_file.size));
    Put(file, "sha256", i_file.hash);
    return file;
}

QJsonObject MakeNeeds(const JobNeeds& i_needs)
{
    QJsonObject needs;
    Put(needs, "model", i_needs.model);
    Put(needs, "material", i_needs.material);
    Put(needs, "nozzle", i_needs.nozzle);
    Put(needs, "width", i_needs.width);
    Put(needs, "depth", i_needs.depth);
    Put(needs, "height", i_needs.height);
    return needs;
}

QJsonObject MakeEstimates(const JobEstimates& i_estimates)
{
    QJsonObject estimates;
    Put(estimates, "seconds", i_estimates.seconds);
    Put(estimates, "cubicCentimetres", i_estimates.cubicCentimetres);
    Put(estimates, "grams", i_estimates.grams);
    return estimates;
}

struct ActionRow
{
    JobAction action;
    const char* name;
};

constexpr ActionRow Actions[] = {
    {JobAction::Hold, "hold"},
    {JobAction::Release, "release"},
    {JobAction::Cancel, "cancel"},
    {JobAction::StartAgain, "start-again"},
    {JobAction::ConfirmDone, "confirm-done"},
    {JobAction::Acknowledge, "acknowledge"},
};

bool IsAllowed(const Job& i_job, JobAction i_action)
{
    const auto knows = [&](JobEvent i_event) {
        return FindNextPhase(i_job.phase, i_event).has_value();
    };
    switch (i_action) {
    case JobAction::Hold:
        return knows(JobEvent::Hold);
    case JobAction::Release:
        return knows(JobEvent::Release);
    case JobAction::Cancel:
        return knows(JobEvent::Cancel);
    case JobAction::StartAgain:
        return knows(JobEvent::StartAgain);
    case JobAction::ConfirmDone:
        return knows(JobEvent::ConfirmDone);
    case JobAction::Acknowledge:
        return !i_job.isAcknowledged && (i_job.phase == JobPhase::Waiting || i_job.phase == JobPhase::Held);
    }
    return false;
}

} // namespace

const char* GetName(JobAction i_action)
{
    return std::find_if(std::begin(Actions), std::end(Actions),
                        [&](const ActionRow& i_row) { return i_row.action == i_action; })
        ->name;
}

std::vector<std::string> GetAllowedActions(const Job& i_job)
{
    std::vector<std::string> actions;
    for (const auto& row : Actions) {
        if (IsAllowed(i_job, row.action))
            actions.emplace_back(row.name);
    }
    // A machine that works on a job is not asked again which one it is.
    const bool isQueued = i_job.phase == JobPhase::Waiting || i_job.phase == JobPhase::Held;
    if (isQueued)
        actions.emplace_back("move");
    if (!IsFinal(i_job.phase))
        actions.emplace_back("priority");
    if (isQueued)
        actions.emplace_back("place");
    if (i_job.phase != JobPhase::Incoming)
        actions.emplace_back("copy");
    return actions;
}

QJsonObject ToJson(const Job& i_job)
{
    QJsonObject job;
    Put(job, "id", MakeId(i_job.id));
    Put(job, "number", i_job.number);
    Put(job, "name", i_job.name);
    Put(job, "owner", i_job.owner);
    Put(job, "state", std::string(GetName(i_job.GetState())));
    Put(job, "reasons", MakeArray(i_job.GetReasons()));
    Put(job, "detail", i_job.detail);
    Put(job, "phase", std::string(GetInfo(i_job.phase).name));
    Put(job, "machine", i_job.machineName);
    Put(job, "machineId", MakeId(i_job.machine));
    Put(job, "target", MakeTarget(i_job.target));
    Put(job, "priority", QJsonValue(i_job.priority));
    Put(job, "copies", QJsonValue(i_job.copies));
    Put(job, "copiesDone", QJsonValue(i_job.copiesDone));
    Put(job, "percent", QJsonValue(std::clamp(i_job.percent, 0, 100)));
    Put(job, "stage", i_job.stage);
    Put(job, "created", FormatTime(i_job.created));
    Put(job, "changed", FormatTime(i_job.changed));
    Put(job, "version", static_cast<std::int64_t>(i_job.version));
    Put(job, "needs", MakeNeeds(i_job.needs));
    Put(job, "estimates", MakeEstimates(i_job.estimates));
    QJsonObject settings;
    for (const auto& [name, value] : i_job.settings)
        settings.insert(QString::fromStdString(name), QString::fromStdString(value));
    Put(job, "settings", settings);
    Put(job, "platform", MakeFile(i_job.platform));
    Put(job, "machineFile", i_job.machineFile ? QJsonValue(MakeFile(*i_job.machineFile)) : QJsonValue());
    Put(job, "hasPicture", QJsonValue(i_job.picture.has_value()));
    Put(job, "draft", QJsonValue(i_job.isDraft));
    Put(job, "actions", MakeArray(GetAllowedActions(i_job)));
    return job;
}

QJsonObject ToJson(const HistoryEntry& i_entry)
{
    QJsonObject entry;
    Put(entry, "time", FormatTime(i_entry.time));
    Put(entry, "actor", i_entry.actor);
    Put(entry, "event", i_entry.event);
    Put(entry, "phase", std::string(GetInfo(i_entry.phase).name));
    Put(entry, "detail", i_entry.detail);
    return entry;
}

QJsonObject ToJson(const Candidate& i_candidate)
{
    QJsonObject candidate;
    Put(candidate, "machine", MakeId(i_candidate.machine));
    Put(candidate, "name", i_candidate.name);
    Put(candidate, "refusal", i_candidate.refusal);
    Put(candidate, "canBeAcknowledged", QJsonValue(i_candidate.canBeAcknowledged));
    return candidate;
}

QJsonObject ToJson(const MachineView& i_machine, Role i_role)
{
    const auto& entry = i_machine.entry;
    QJsonObject loaded;
    Put(loaded, "material", entry.loaded.material);
    Put(loaded, "nozzle", entry.loaded.nozzle);
    Put(loaded, "plate", entry.loaded.plate);
    QJsonObject machine;
    Put(machine, "id", MakeId(entry.id));
    Put(machine, "name", entry.name);
    Put(machine, "model", entry.model);
    Put(machine, "offered", QJsonValue(i_machine.isOffered));
    Put(machine, "state", i_machine.state);
    Put(machine, "reasons", MakeArray(i_machine.reasons));
    Put(machine, "waiting", i_machine.waiting);
    Put(machine, "paused", QJsonValue(entry.isPaused));
    Put(machine, "pauseReason", entry.pauseReason);
    Put(machine, "loaded", loaded);
    const auto printer = QJsonDocument::fromJson(QByteArray::fromStdString(entry.printer)).object();
    Put(machine, "printer", printer.isEmpty() || i_role < Role::Operate ? QJsonValue() : QJsonValue(printer));
    Put(machine, "currentJob", i_machine.current ? QJsonValue(ToJson(*i_machine.current)) : QJsonValue());
    Put(machine, "seen", FormatTime(entry.seen));
    return machine;
}

HttpResponse MakeAnswer(const QJsonObject& i_object, int i_status)
{
    HttpResponse response;
    response.status = i_status;
    response.type = "application/json";
    response.body = QJsonDocument(i_object).toJson(QJsonDocument::Compact).toStdString();
    return response;
}

HttpResponse MakeAnswer(const Job& i_job, int i_status)
{
    auto response = MakeAnswer(ToJson(i_job), i_status);
    response.Set("ETag", MakeTag(i_job));
    if (i_status == 201)
        response.Set("Location", "/api/v1/jobs/" + to_string(i_job.id));
    return response;
}

std::string MakeTag(const Job& i_job)
{
    return '"' + std::to_string(i_job.version) + '"';
}

} // namespace MachineService::MachineManager
