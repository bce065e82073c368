#pragma once

#include "tavam_export.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace TavAM {

/// A file that gets its name when it is complete. Until then it has a temporary name in the same folder, beginning with
/// a dot, and is its owner's alone; unless it was committed, it goes with the object.
///
/// Thread: one. Errors: FileError with the system's reason; what had the name before stays.
class TAVAM_EXPORT AtomicFile
{
public:
    explicit AtomicFile(std::filesystem::path i_target);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// For libraries that write a file by its name.
    const std::string& GetTemporaryPath() const { return _path; }
    void Write(std::string_view i_bytes);
    /// What was written by then survives a power cut, once it is committed.
    void Sync();
    /// Gives it the access rights of the file that it is to replace, if there is one.
    void TakeRightsOfTarget();
    /// Replaces what has the target's name.
    void Commit();
    /// Takes another name in the same folder. \return false when that is taken; any number of names may be tried.
    bool TryCommitAs(const std::filesystem::path& i_free_name);

private:
    void _Close();

    const std::filesystem::path _target;
    std::string _path; ///< empty once it is committed
    int _file = -1;
};

} // namespace TavAM
