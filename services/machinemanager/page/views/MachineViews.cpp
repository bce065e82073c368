#include "machinemanager/page/views/Frame.h"
#include "machinemanager/page/views/Texts.h"
#include "machinemanager/page/views/Views.h"
#include "machinemanager/page/views/Words.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

namespace MachineService::MachineManager::Views {

namespace {

constexpr int MostJobs = 100; // of a machine's own page

std::string DescribeLoaded(const LoadedMaterial& i_loaded, const std::string& i_language)
{
    auto words = i_loaded.material;
    const auto nozzle = i_loaded.nozzle ? DescribeNumber(*i_loaded.nozzle, 2, i_language) + " mm" : std::string();
    for (const auto& part : {nozzle, i_loaded.plate}) {
        if (!part.empty())
            words += (words.empty() ? "" : ", ") + part;
    }
    return words;
}

Values MakeRow(const MachineView& i_machine, const std::string& i_language)
{
    const auto& entry = i_machine.entry;
    Values row;
    SetState(row, GetMachineWords(i_machine.state), i_language);
    row.Set("machineId", to_string(entry.id))
        .Set("machineName", entry.name)
        .Set("model", entry.model)
        .Set("waiting", std::to_string(i_machine.waiting))
        .Set("loaded", DescribeLoaded(entry.loaded, i_language));
    for (const auto& reason : i_machine.reasons) {
        Values sentence;
        sentence.Set("sentence", reason);
        row.Add("reasons", std::move(sentence));
    }
    row.Set("jobName", "");
    if (i_machine.current) {
        SetProgress(row, *i_machine.current, i_language);
        row.Set("jobName", i_machine.current->name)
            .Set("jobId", to_string(i_machine.current->id))
            .Set("jobState", Translate(GetWords(i_machine.current->GetState()).word, i_language));
    }
    return row;
}

} // namespace

HttpResponse ShowMachines(const PageContext& i_context, const Call& i_call)
{
    const auto machines = i_context.desk.GetMachines(i_call.actor);
    Values values;
    for (const auto& machine : machines)
        values.Add("machines", MakeRow(machine, i_call.language));
    values.Set("hasMachines", !machines.empty());
    return MakePage(i_context, i_call, "machines", std::move(values), Translate("Machines", i_call.language),
                    Place::Machines);
}

HttpResponse ShowMachine(const PageContext& i_context, const Call& i_call)
{
    const auto machine = i_context.desk.FindMachine(i_call.actor, i_call.word);
    const auto& entry = machine.entry;
    const auto& language = i_call.language;
    auto values = MakeRow(machine, language);

    JobFilter filter;
    filter.machine = entry.id;
    filter.states = {JobState::Pending, JobState::PendingHeld, JobState::Processing, JobState::ProcessingStopped};
    filter.isOldestFirst = true;
    filter.count = MostJobs;
    const auto jobs = i_context.desk.List(i_call.actor, filter);
    for (const auto& job : jobs)
        values.Add("jobs", MakeJobRow(i_context, i_call, job, {{entry.id, entry.name}}));

    const auto addFact = [&](const char* ip_word, const std::string& i_value) {
        Values fact;
        fact.Set("word", Translate(ip_word, language)).Set("value", i_value);
        values.Add("facts", std::move(fact));
    };
    const auto answer = [&](bool i_is) {
        return Translate(i_is ? "yes" : "no", language);
    };
    addFact("Model", entry.model);
    addFact("Waiting", std::to_string(machine.waiting));
    addFact("Offered by its service", answer(machine.isOffered));
    addFact("Takes machine files", answer(!entry.printer.empty()));
    addFact("Last seen", DescribeTime(entry.seen, language));
    values.Set("hasJobs", !jobs.empty())
        .Set("canOperate", i_call.actor.role >= Role::Operate)
        .Set("isPaused", entry.isPaused)
        .Set("pauseReason", entry.pauseReason)
        .Set("material", entry.loaded.material)
        .Set("nozzle", entry.loaded.nozzle ? TavSDK::NumberToText(*entry.loaded.nozzle) : std::string())
        .Set("plate", entry.loaded.plate);
    return MakePage(i_context, i_call, "machine", std::move(values), entry.name, Place::Machines);
}

} // namespace MachineService::MachineManager::Views
