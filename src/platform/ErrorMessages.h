#pragma once

#include "client/interface/CommandTypes.h"
#include "client/interface/CommunicationException.h"
#include "client/interface/PlatformTypes.h"
#include "machineservice_export.h"

#include <map>
#include <string>

namespace MachineService {

/// The sentence that the user sees for a code of ErrorCode, English. Codes without an entry have no fixed text.
///
/// Filled while the library loads and only read afterwards.
MACHINESERVICE_EXPORT extern const std::map<int, const char*> ErrorMessageTable;

/// The table's sentence for the result's code if there is one, otherwise the result's own text; translated, UTF-8.
/// An own text becomes plain text of at most 1,000 characters.
MACHINESERVICE_EXPORT std::string GetResultErrorMessage(const PlatformInfo& i_result);
/// The same for a failed run of a command.
MACHINESERVICE_EXPORT std::string GetResultErrorMessage(const CommandResult& i_result);

/// The table's sentence for the exception's code if there is one, otherwise its what(); translated, UTF-8.
MACHINESERVICE_EXPORT std::string GetExceptionErrorMessage(const CommunicationException& i_exception);

} // namespace MachineService
