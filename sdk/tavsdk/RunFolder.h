#pragma once

#include "tavsdk_export.h"

#include <filesystem>
#include <string>

namespace TavSDK {

/// A new folder of this process alone (0700), removed with the object. What a run leaves there because it was killed is
/// removed by the next run that makes a folder of the same name in the same place.
///
/// The folder itself is locked, which the system ends with the process, however that ends: a folder that cannot be
/// locked belongs to a run that lives, also to one that is not visible from here, as in another container. Where the
/// file system knows no locks nothing is removed.
///
/// Thread: one.
class TAVSDK_EXPORT RunFolder
{
public:
    /// \param i_parent must be there.
    /// \param i_name the folder's name begins with it.
    /// \throws FileError with the bare reason.
    RunFolder(const std::filesystem::path& i_parent, const std::string& i_name);
    ~RunFolder();
    RunFolder(const RunFolder&) = delete;
    RunFolder& operator=(const RunFolder&) = delete;

    const std::filesystem::path& GetPath() const { return _path; }
    /// Whether other runs have their folders beside this one.
    bool HasNeighbours() const;

private:
    std::string _name;
    std::filesystem::path _path;
    int _lock = -1;
};

} // namespace TavSDK
