#pragma once

#include "client/interface/CommandTypes.h"
#include "tavam/Platform.h"

#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// The platform of a command's input file; what the parameters tell of a part counts before the file.
/// \throws CommunicationException FileError for a file that cannot be read or holds another number of platforms;
///         ProcessingAborted when the token asks.
std::shared_ptr<TavAM::Platform> ReadPlatform(const CommandParameters& i_parameters, const std::stop_token& i_stop);

/// Writes the platform as the result of a command.
/// \param i_notes sentences behind the message, a line each; the platform keeps them for hosts to show.
/// \throws TavAM::FileError.
CommandResult WriteResult(const CommandParameters& i_parameters, TavAM::Platform& io_platform, DataFormat i_format,
                          std::string i_message, const std::vector<std::string>& i_notes);

} // namespace MachineService::BuildProcessor
