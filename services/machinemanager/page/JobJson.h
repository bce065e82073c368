#pragma once

#include "machinemanager/JobDesk.h"
#include "machinemanager/page/http/Http.h"

#include <QJsonArray>
#include <QJsonObject>

#include <string>
#include <vector>

namespace MachineService::MachineManager {

// What the interface says of jobs and machines (docs/manager-api.yaml).

QJsonObject ToJson(const Job& i_job);
QJsonObject ToJson(const HistoryEntry& i_entry);
QJsonObject ToJson(const Candidate& i_candidate);
/// \param i_role what takes the machine files is told to operators only: it may hold passwords.
QJsonObject ToJson(const MachineView& i_machine, Role i_role);

/// An answer with a JSON object.
HttpResponse MakeAnswer(const QJsonObject& i_object, int i_status = 200);
/// The same with a job and its ETag.
HttpResponse MakeAnswer(const Job& i_job, int i_status = 200);
/// Of a job's version.
std::string MakeTag(const Job& i_job);

/// Keyword such as "start-again".
const char* GetName(JobAction i_action);
/// Keywords of what the job's phase allows, also "move", "copy" and the like.
std::vector<std::string> GetAllowedActions(const Job& i_job);

} // namespace MachineService::MachineManager
