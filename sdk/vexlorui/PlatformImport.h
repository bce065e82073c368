#pragma once

#include "tavam/Platform.h"

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace Vexlor {

/// How a machine's files are taken into a scene; the numbers are those of IVexlorApiProvider::LoadProcessorFiles.
enum class ImportKind : std::int32_t
{
    WholePlatform = 1,
    Placements = 2,
    Properties = 3,
    Strategies = 4,
    AdditionalParts = 5,
};

/// \throws std::runtime_error for a number that is none of them.
ImportKind ToImportKind(std::int32_t i_kind);

using Platforms = std::vector<std::shared_ptr<TavAM::Platform>>;

/// All platforms of all files.
/// Thread: any.
/// \throws TavAM::FileError; VexlorCore::JobCancelled when the token asks.
Platforms ReadPlatforms(const std::vector<std::wstring>& i_files, const std::stop_token& i_stop);
/// The same, but a file that is not .TavAMX is read as mesh and makes a platform of its parts.
Platforms ReadPlatformsAndMeshes(const std::vector<std::wstring>& i_files, const std::stop_token& i_stop);

/// Takes one platform of a machine into the platform of a scene.
void MergePlatform(TavAM::Platform& io_scene, const TavAM::Platform& i_loaded, ImportKind i_kind);
/// Gives the platform the attachment to a machine that the scene has, and no other: what a machine sends back changes
/// nothing about it.
void KeepAttachment(const TavAM::Platform& i_scene, TavAM::Platform& io_platform);
/// VexlorCore::DatabaseAction flags of that.
std::uint32_t GetActions(ImportKind i_kind);

/// The loaded platform with the scene's parts kept before its own.
TavAM::Platform WithPartsOf(const TavAM::Platform& i_scene, TavAM::Platform i_loaded);

} // namespace Vexlor
