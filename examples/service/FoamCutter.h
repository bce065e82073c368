#pragma once

#include "contract/AbstractServiceCatalog.h"

#include <filesystem>
#include <memory>

namespace Example {

/// A service with one machine: a hot-wire cutter that cuts the rectangle around each part out of a sheet of foam.
/// \param i_jobs_dir where finished jobs are kept.
std::unique_ptr<MachineService::AbstractServiceCatalog> MakeFoamCutters(const std::filesystem::path& i_jobs_dir);

} // namespace Example
