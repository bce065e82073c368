#pragma once

#include "client/interface/CommandTypes.h"
#include "tavam/Platform.h"

#include <filesystem>
#include <memory>
#include <stop_token>

namespace MachineService {

/// The platform of a .TavAMX file that a host wrote for a run.
/// \throws CommunicationException FileError for a file that cannot be read or holds more or less than one platform;
///         ProcessingAborted when the token asks.
std::shared_ptr<TavAM::Platform> ReadOnePlatform(const std::filesystem::path& i_file,
                                                 const std::stop_token& i_stop = {});

/// Writes the platform into the output folder of a run.
/// \return a result that tells the host what of the platform to take.
/// \throws TavSDK::FileError.
CommandResult WritePlatformResult(const std::filesystem::path& i_output_dir, const TavAM::Platform& i_platform,
                                  DataFormat i_format);

} // namespace MachineService
