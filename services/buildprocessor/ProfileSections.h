#pragma once

#include "buildprocessor/JsonFields.h"
#include "buildprocessor/MachineProfile.h"

namespace MachineService::BuildProcessor {

/// Reads the fields of a profile that hosts get as sections of the machine's configuration: "nesting", "baseplate",
/// "supports" and "partExport", all optional. \param o_profile its bed and height are there already.
/// \throws ProfileError.
void ReadSections(JsonFields& io_fields, MachineProfile& o_profile);

} // namespace MachineService::BuildProcessor
