#include "machinemanager/page/views/Texts.h"
#include "machinemanager/page/views/Views.h"
#include "machinemanager/page/views/Words.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::MachineManager::Views {

namespace {

std::string DescribeTarget(const JobTarget& i_target, const MachineNames& i_names, const std::string& i_language)
{
    if (const auto found = i_names.find(i_target.machine); found != i_names.end())
        return found->second;
    if (!i_target.IsGroup())
        return Translate("a machine that is gone", i_language);
    if (i_target.model.empty())
        return Translate("any machine", i_language);
    return i_target.material.empty() ? Translate("any %1", i_language, i_target.model)
                                     : Translate("any %1 with %2", i_language, i_target.model, i_target.material);
}

} // namespace

bool IsMine(const Actor& i_actor, const Job& i_job)
{
    return i_actor.role >= Role::Operate || (i_actor.role == Role::Submit && i_job.owner == i_actor.name);
}

void SetState(Values& io_values, const StateWords& i_words, const std::string& i_language)
{
    io_values.Set("stateClass", i_words.style)
        .Set("stateWord", Translate(i_words.word, i_language))
        .Set("mark", i_words.mark);
}

void SetProgress(Values& io_values, const Job& i_job, const std::string& i_language)
{
    const auto state = i_job.GetState();
    io_values.Set("hasProgress", state == JobState::Processing || state == JobState::ProcessingStopped)
        .Set("percent", std::to_string(std::clamp(i_job.percent, 0, 100)))
        .Set("stage", i_job.stage)
        .Set("progressLabel", Translate("Progress of %1", i_language, i_job.name));
}

MachineNames GetMachineNames(const PageContext& i_context, const Call& i_call)
{
    MachineNames names;
    for (const auto& machine : i_context.desk.GetMachines(i_call.actor))
        names.emplace(machine.entry.id, machine.entry.name);
    return names;
}

Values MakeJobRow(const PageContext& i_context, const Call& i_call, const Job& i_job, const MachineNames& i_names)
{
    const auto& language = i_call.language;
    const auto id = to_string(i_job.id);
    Values row;
    SetState(row, GetWords(i_job.GetState()), language);
    SetProgress(row, i_job, language);
    row.Set("id", id)
        .Set("name", i_job.name)
        .Set("number", std::to_string(i_job.number))
        .Set("owner", i_job.owner)
        .Set("reason", i_job.waitReason.empty() || i_job.phase != JobPhase::Waiting
                           ? Translate(GetPhaseSentence(i_job.phase), language)
                           : DescribeReason(i_job.waitReason, language))
        .Set("machine", i_job.machineName)
        .Set("machineLink", i_job.machine.is_nil() ? "/machines" : "/machines/" + to_string(i_job.machine))
        .Set("targetWords", DescribeTarget(i_job.target, i_names, language))
        .Set("picture", i_job.picture ? "/jobs/" + id + "/files/picture" : std::string())
        .Set("created", FormatTime(i_job.created))
        .Set("createdWords", DescribeTime(i_job.created, language))
        .Set("age", DescribeSpan(i_context.desk.Now() - i_job.created, language));
    return row;
}

const char* GetActionWords(const std::string& i_action, bool i_is_final)
{
    if (i_action == "hold")
        return "Hold";
    if (i_action == "release")
        return "Release";
    if (i_action == "cancel")
        return "Cancel the job";
    if (i_action == "start-again")
        return "Start again";
    if (i_action == "confirm-done")
        return "It is printed";
    if (i_action == "acknowledge")
        return "What is loaded will do";
    return i_is_final ? "Print again" : "Copy";
}

} // namespace MachineService::MachineManager::Views
