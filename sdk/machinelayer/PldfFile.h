#pragma once

#include "machinelayer/IMachineData.h"
#include "machinelayer_export.h"

#include <filesystem>
#include <string>
#include <string_view>

/// Machine data as XML documents: the PLDF file, and the two that machine services send beside it. Their format stands
/// in docs/pldf-format.md. Documents come from anywhere: size, depth, counts, texts and numbers are bounded and
/// checked.
///
/// Thread: any.
namespace MachineLayer::Utilities {

/// Replaces the machine data with what the PLDF file holds; on failure they stay as they were.
/// \throws TavAM::FileError that names file, place and reason.
MACHINELAYER_EXPORT void LoadMachineDataPLDF(const std::filesystem::path& i_path, IMachineData& o_data);

/// Writes a PLDF file to a temporary name beside it (0600), renamed when it is complete; on failure what was there
/// stays. \throws TavAM::FileError that names file and reason.
MACHINELAYER_EXPORT void SaveMachineDataPLDF(const std::filesystem::path& i_path, const IMachineData& i_data);

/// The PLDF document as a text. \throws std::runtime_error for a text in the data that XML cannot carry.
MACHINELAYER_EXPORT std::string WriteMachineDataPLDF(const IMachineData& i_data);

/// Reads a description of a platform's geometry: shape, geometry and scan fields.
/// \throws std::invalid_argument with place and reason; the machine data then stay as they were.
MACHINELAYER_EXPORT void ReadPlatformGeometry(std::string_view i_document, IMachineData& o_data);
MACHINELAYER_EXPORT std::string WritePlatformGeometry(const IMachineData& i_data);

/// Reads machine data that a machine sent of itself. \throws as ReadPlatformGeometry.
MACHINELAYER_EXPORT void ReadMachineData(std::string_view i_document, IMachineData& o_data);
MACHINELAYER_EXPORT std::string WriteMachineData(const IMachineData& i_data);

} // namespace MachineLayer::Utilities
