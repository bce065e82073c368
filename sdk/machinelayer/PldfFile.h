#pragma once

#include "machinelayer/IMachineData.h"
#include "machinelayer_export.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// Machine data as XML documents: the PLDF file, and the two that machine services send beside it. Their format is
/// described in docs/pldf-format.md. Documents come from anywhere: size, depth, counts, texts and numbers are bounded
/// and checked.
///
/// Each op_remarks gets a sentence (without its full stop) for each of the first elements and attributes that are not
/// known and passed over.
///
/// Thread: any.
namespace MachineLayer::Utilities {

/// Replaces the machine data with what the PLDF file holds; on failure they stay as they were.
/// \throws TavAM::FileError that names file, place and reason.
MACHINELAYER_EXPORT void LoadMachineDataPLDF(const std::filesystem::path& i_path, IMachineData& o_data,
                                             std::vector<std::string>* op_remarks = nullptr);

/// Writes a PLDF file to a temporary name beside it (0600), renamed when it is complete; on failure what was there
/// stays.
/// \throws TavAM::FileError that names file and reason.
MACHINELAYER_EXPORT void SaveMachineDataPLDF(const std::filesystem::path& i_path, const IMachineData& i_data);

/// The PLDF document as a text.
/// \throws std::invalid_argument with place and reason for a value that PLDF cannot hold, a text that XML cannot carry,
/// and a document that were longer than readers take.
MACHINELAYER_EXPORT std::string WriteMachineDataPLDF(const IMachineData& i_data);

/// Reads a description of a platform's geometry: shape, geometry and scan fields.
/// \throws std::invalid_argument with line, place and reason; the machine data then stay as they were.
MACHINELAYER_EXPORT void ReadPlatformGeometry(std::string_view i_document, IMachineData& o_data,
                                              std::vector<std::string>* op_remarks = nullptr);
/// \throws as WriteMachineDataPLDF().
MACHINELAYER_EXPORT std::string WritePlatformGeometry(const IMachineData& i_data);

/// Reads machine data that a machine sent of itself.
/// \throws as ReadPlatformGeometry().
MACHINELAYER_EXPORT void ReadMachineData(std::string_view i_document, IMachineData& o_data,
                                         std::vector<std::string>* op_remarks = nullptr);
/// \throws as WriteMachineDataPLDF().
MACHINELAYER_EXPORT std::string WriteMachineData(const IMachineData& i_data);

} // namespace MachineLayer::Utilities
