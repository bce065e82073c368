#pragma once

#include "tavam/Platform.h"

#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// Sees to it that the mesh of every part is the closed surface of a body: a part whose mesh is not gets a mended one,
/// so that what is built is what the platform shows, and nothing is mended unseen later on. Parts of several meshes are
/// looked at as a whole. Parts without a mesh are left alone.
/// \return what was mended, a sentence for each part.
/// \throws CommunicationException FileError that names each part that cannot be mended, what is wrong with it and
/// where;
///         ProcessingAborted when the token asks.
std::vector<std::string> MendParts(TavAM::Platform& io_platform, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
