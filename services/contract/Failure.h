#pragma once

#include "client/interface/CommunicationException.h"

#include <string>

namespace MachineService {

// The client shows a sentence of its own for most codes, ProcessingError among them, and the service's text only for
// codes without one. Whatever names a part, a file or a reason is therefore thrown with FileError (the input, a file)
// or InternalError (the machine, the engine).
[[noreturn]] inline void Fail(ErrorCode i_code, const std::string& i_text)
{
    throw CommunicationException(i_code, i_text.c_str());
}

} // namespace MachineService
