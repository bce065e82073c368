#pragma once

#include "tavam/Platform.h"

#include <filesystem>
#include <vector>

namespace MachineService::BuildProcessor {

/// A scene as the host describes it without its meshes: input of the commands that return documents.
struct HostScene
{
    TavAM::Platform platform;              ///< parts without representation
    std::vector<TavAM::BoundingBox> boxes; ///< by part, as placed, mm; empty for a part without mesh
};

/// Reads a host scene description (docs/host-scene-xml.md). What it does not know is skipped.
/// \throws CommunicationException FileError with the file and what is wrong.
HostScene ReadHostScene(const std::filesystem::path& i_path);

} // namespace MachineService::BuildProcessor
