#pragma once

#include "client/interface/CommunicationException.h"

#include <string>
#include <system_error>

namespace MachineService::BuildProcessor {

// The client shows a sentence of its own for most codes, ProcessingError among them, and the service's text only for
// codes without one. Whatever names a part, a file or a reason is therefore thrown with FileError (the input, a file)
// or InternalError (the machine, the engine).
[[noreturn]] inline void Fail(ErrorCode i_code, const std::string& i_text)
{
    throw CommunicationException(i_code, i_text.c_str());
}

inline std::string ErrorText(int i_errno)
{
    return std::generic_category().message(i_errno);
}

} // namespace MachineService::BuildProcessor
