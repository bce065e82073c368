#pragma once

#include "machinelayer/MachineRecords.h"
#include "tavam/Platform.h"

#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What the machine configuration that a platform carries says to this service.
struct ReceivedConfiguration
{
    MachineLayer::Data::MachineConfiguration configuration;
    std::vector<std::string> notes; ///< what it asks for and nothing here can do, a sentence each
};

/// Reads the text of the platform's property "Print3D.MachineConfiguration"; format in docs/machine-configuration.md.
/// Empty when the platform carries none.
/// \throws CommunicationException FileError for a text that is damaged, of another kind or of another version.
ReceivedConfiguration ReadReceivedConfiguration(const TavAM::Platform& i_platform);

} // namespace MachineService::BuildProcessor
