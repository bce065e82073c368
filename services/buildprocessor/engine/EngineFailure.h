#pragma once

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/MachineProfile.h"

#include <string>
#include <string_view>
#include <vector>

namespace MachineService::BuildProcessor {

/// What the engine is told to call a part, so that its words can be traced back: the part's number, from 1, and its
/// name as it may stand in a comment of the machine file.
std::string ToEngineName(const PartGeometry& i_part, std::size_t i_index);

/// Text of the engine as it may be shown: plain, in one line, without time stamps, addresses, progress and folders,
/// cut to a bounded length.
std::string CleanEngineText(std::string_view i_text);

/// Tells why the engine gave up: in a sentence that names the parts, what is wrong and what helps where it is one of
/// the reasons that lie in parts, else with the engine's own words behind i_what.
/// \param i_output the last lines that the engine wrote.
/// \throws CommunicationException FileError for parts, InternalError else. Always.
[[noreturn]] void FailWithEngineReason(const std::string& i_what, const std::string& i_output,
                                       const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts);

/// \throws CommunicationException InternalError: the engine's machine file cannot be used, and why. Always.
[[noreturn]] void FailMachineFile(const std::string& i_what);

} // namespace MachineService::BuildProcessor
