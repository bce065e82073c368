#pragma once

#include <string_view>

namespace MachineService::MachineManager {

/// Looks through JSON before it is parsed, because the parser of Qt 5.15 loses memory when an object has a name twice,
/// and because programs do not agree on which of the two counts.
///
/// \throws HttpError 400 for a name that an object has twice, and for more than 32 levels. Other damage is passed over.
void CheckJsonKeys(std::string_view i_text);

} // namespace MachineService::MachineManager
