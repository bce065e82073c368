#pragma once

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/page/http/Http.h"

#include <string>

namespace MachineService::MachineManager {

/// Words for a status, as in "Not Found".
const char* GetStatusWords(int i_status);

/// Status that tells a client what to do next.
int GetStatus(ManagerError::Kind i_kind);

/// The problem details (RFC 9457) of a failure.
HttpResponse MakeProblem(int i_status, const std::string& i_sentence);

} // namespace MachineService::MachineManager
