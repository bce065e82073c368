#pragma once

#include "buildprocessor/PreparationRules.h"
#include "tavam/Platform.h"

#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What the machine configuration that a platform carries says to this service.
struct ReceivedConfiguration
{
    PreparationRules rules;
    std::vector<std::string> notApplied; ///< what it asks for and nothing here can do, for example "Z compensation"
};

/// Reads the document of the platform's property "Print3D.MachineConfiguration"; format in
/// docs/machine-configuration.md. Elements that are not known are passed over. Empty when the platform carries none.
/// \throws CommunicationException FileError for a document that is damaged, of another kind or of another version.
ReceivedConfiguration ReadReceivedConfiguration(const TavAM::Platform& i_platform);

} // namespace MachineService::BuildProcessor
