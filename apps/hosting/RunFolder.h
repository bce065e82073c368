#pragma once

#include "tavsdk/RunFolder.h"

#include <optional>

namespace Hosting {

/// A TavSDK::RunFolder whose failure is told to the user.
///
/// Thread: one.
class RunFolder
{
public:
    /// As TavSDK::RunFolder.
    /// \throws HostingError with folder and reason.
    RunFolder(const std::filesystem::path& i_parent, const std::string& i_name);

    const std::filesystem::path& GetPath() const { return _folder->GetPath(); }
    /// Whether other runs have their folders beside this one.
    bool HasNeighbours() const { return _folder->HasNeighbours(); }

private:
    std::optional<TavSDK::RunFolder> _folder;
};

} // namespace Hosting
