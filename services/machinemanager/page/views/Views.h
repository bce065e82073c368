#pragma once

#include "machinemanager/page/Call.h"
#include "machinemanager/page/views/Template.h"
#include "machinemanager/page/views/Words.h"

namespace MachineService::MachineManager::Views {

// What answers the requests of the page; the table of routes says which.

HttpResponse ShowStart(const PageContext& i_context, const Call& i_call);
HttpResponse ShowJobs(const PageContext& i_context, const Call& i_call);
HttpResponse ShowJob(const PageContext& i_context, const Call& i_call);
HttpResponse ShowMachines(const PageContext& i_context, const Call& i_call);
HttpResponse ShowMachine(const PageContext& i_context, const Call& i_call);
/// Asks before something that cannot be undone.
template <JobAction Action>
HttpResponse Confirm(const PageContext& i_context, const Call& i_call);

template <JobAction Action>
HttpResponse Act(const PageContext& i_context, const Call& i_call);
HttpResponse MoveJob(const PageContext& i_context, const Call& i_call);
HttpResponse SetPriority(const PageContext& i_context, const Call& i_call);
HttpResponse PlaceJob(const PageContext& i_context, const Call& i_call);
HttpResponse CopyJob(const PageContext& i_context, const Call& i_call);
HttpResponse PauseMachine(const PageContext& i_context, const Call& i_call);
HttpResponse ResumeMachine(const PageContext& i_context, const Call& i_call);
HttpResponse SetLoaded(const PageContext& i_context, const Call& i_call);

HttpResponse SignIn(const PageContext& i_context, const Call& i_call);
HttpResponse SignOut(const PageContext& i_context, const Call& i_call);
HttpResponse SetLanguage(const PageContext& i_context, const Call& i_call);
HttpResponse GetStyle(const PageContext& i_context, const Call& i_call);
HttpResponse GetScript(const PageContext& i_context, const Call& i_call);
HttpResponse GetIcon(const PageContext& i_context, const Call& i_call);

// What several of them show.

using MachineNames = std::map<boost::uuids::uuid, std::string>;
MachineNames GetMachineNames(const PageContext& i_context, const Call& i_call);
/// Values of a row of job-table.html.
Values MakeJobRow(const PageContext& i_context, const Call& i_call, const Job& i_job, const MachineNames& i_names);
/// Values of progress.html.
void SetProgress(Values& io_values, const Job& i_job, const std::string& i_language);
/// Values of state.html.
void SetState(Values& io_values, const StateWords& i_words, const std::string& i_language);
/// May the actor do something with the job at all?
bool IsMine(const Actor& i_actor, const Job& i_job);
/// What an action is called, in English, of the table of texts.
const char* GetActionWords(const std::string& i_action, bool i_is_final);

} // namespace MachineService::MachineManager::Views
