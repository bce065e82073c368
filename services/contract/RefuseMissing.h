#pragma once

#include "contract/Failure.h"

#include <string>

namespace MachineService {

/// For what the contract knows and the machine has not: the user reads which machine does not offer what.
[[noreturn]] inline void RefuseMissing(const std::string& i_machine, const char* ip_what)
{
    Fail(ErrorCode::InternalError, "The printer '" + i_machine + "' does not offer " + ip_what + '.');
}

} // namespace MachineService
