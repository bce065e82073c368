#pragma once

#include <map>
#include <string>

namespace MachineService {

/// Values by the id of their parameter.
using ParameterValues = std::map<std::wstring, std::wstring>;

/// Writes the document that tells a machine what was chosen for a new platform; docs/platform-information.md describes
/// the format. A file at the path is replaced, as a whole or not at all.
/// \throws CommunicationException FileError "Failed to create '%1'.", also for a text that XML cannot carry.
void WritePlatformCreationParameters(const wchar_t* ip_path, const ParameterValues& i_values);

} // namespace MachineService
