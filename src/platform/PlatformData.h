#pragma once

#include "client/interface/PlatformTypes.h"
#include "platform/VexlorPlatformInformation.h"

#include "vexlorcore/ScopedTemporaryFile.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

// What machines send about platforms, read into the host's records. Everything goes through temporary files that live
// only for the step; all functions throw CommunicationException with FileError or PldfError.

namespace MachineService {

/// Null when there is no item of that kind.
const Platform* FindItem(const std::vector<Platform>& i_items, PlatformDataKind i_kind);

/// Reads texts and parameters from the platform information's XML, machine data from its platform and, if there is one,
/// its machine configuration.
/// \return whether there is any parameter.
bool ReadPlatformInformation(VexlorPlatformInformation& io_information, const PlatformInfo& i_platform_info,
                             const Platform& i_platform_item);

/// Brings machine data up to date with the machine configuration among the items.
/// \return false when there is none or it is empty.
bool UpdateMachineData(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items);

/// Takes the platform's shape, scan fields and geometry from a description among the items.
/// \return false when there is none or it cannot be read.
bool UpdatePlatformGeometry(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items);

/// Takes the machine's own machine data from the items as they are.
/// \return false when there are none or they cannot be read.
bool TakeMachineData(MachineLayer::IMachineData& io_data, const std::vector<Platform>& i_items);

/// \throws CommunicationException FileError with the sentence of ThrowUnreadable about a file of that stem and
/// extension.
std::unique_ptr<VexlorCore::ScopedTemporaryFile> MakeTemporaryFile(const std::wstring& i_stem,
                                                                   const std::wstring& i_extension);
std::filesystem::path ToPath(const std::wstring& i_path);
/// Replaces the content of a file.
/// \return false when that fails.
bool WriteBytes(const std::wstring& i_path, const std::string& i_bytes);
/// \throws as ThrowUnreadable.
std::string ReadBytes(const std::wstring& i_path);

/// Throws CommunicationException FileError "An error occurred while reading file %1".
[[noreturn]] void ThrowUnreadable(const std::wstring& i_path);

/// An English text, translated; what() of exceptions carries it.
std::string Translated(const char* ip_text);

} // namespace MachineService
