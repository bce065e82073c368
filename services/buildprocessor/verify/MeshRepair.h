#pragma once

#include "tavam/Geometry.h"

#include <optional>
#include <stop_token>

namespace MachineService::BuildProcessor {

/// True when the program that closes holes (package admesh) is installed.
bool CanRepairMeshes();

/// The mesh closed and with its triangles facing one way, by the program `admesh`: it is run in a process of its own,
/// since damaged meshes may bring it down. Nothing that was there goes, and what is added stays within the mesh's box;
/// empty when the program could not do that. The same mesh always gives the same result.
/// \throws CommunicationException InternalError when a file cannot be written or the program not be started;
///         ProcessingAborted when the token asks.
std::optional<TavAM::Mesh> RepairMesh(const TavAM::Mesh& i_mesh, const std::stop_token& i_stop);

} // namespace MachineService::BuildProcessor
