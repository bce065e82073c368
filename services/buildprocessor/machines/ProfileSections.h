#pragma once

#include "buildprocessor/base/JsonFields.h"
#include "buildprocessor/machines/MachineProfile.h"

namespace MachineService::BuildProcessor {

/// Reads the fields of a profile that hosts get as sections of the machine's configuration: "nesting", "baseplate",
/// "supports" and "partExport", all optional.
/// \throws ProfileError.
Data::MachineConfiguration ReadSections(JsonFields& io_fields);

} // namespace MachineService::BuildProcessor
