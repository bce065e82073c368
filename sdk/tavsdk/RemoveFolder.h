#pragma once

#include "tavsdk_export.h"

#include <filesystem>

namespace TavSDK {

/// Removes a folder with all that is in it, also folders without the right to write, and while another process still
/// writes into it. Links are removed, never followed.
///
/// It gets another name first: whoever writes into it by its name finds it gone.
///
/// Thread: any.
/// \return false when something is left.
TAVSDK_EXPORT bool RemoveFolder(const std::filesystem::path& i_folder) noexcept;

} // namespace TavSDK
