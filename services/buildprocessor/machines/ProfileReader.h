#pragma once

#include "buildprocessor/base/JsonFields.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <optional>
#include <string>

namespace MachineService::BuildProcessor {

/// A profile file is read up to this size.
inline constexpr std::size_t MaxProfileBytes = 1'000'000;

/// Reads a machine profile; its fields stand in docs/machine-profiles.md.
/// \param i_file name for messages, for example "profiles/forge.json".
/// \param i_file_time when the file was written; empty takes the time of the field "revised".
/// \throws ProfileError.
DatedProfile ReadProfile(const std::string& i_text, const std::string& i_file,
                         const std::optional<ConfigurationTime>& i_file_time = {});

} // namespace MachineService::BuildProcessor
