#pragma once

#include "tavsdk_export.h"

#include <filesystem>
#include <functional>
#include <string_view>

namespace TavSDK {

class InputFile;

/// A file that gets its name when it is complete and on the disk. Until then it has a temporary name in the same
/// folder, beginning with a dot, and is its owner's alone; unless it was committed, it goes with the object.
///
/// What must be checked about the content is checked before Commit(): what had the name before is gone then.
///
/// Thread: one at a time.
/// Errors: FileError with the bare reason; what had the name before stays. Only when the folder cannot be brought to
/// the disk, which is asked for last, the complete new file has the name already.
class TAVSDK_EXPORT AtomicFile
{
public:
    /// Also refuses a target whose bytes are not UTF-8.
    explicit AtomicFile(std::filesystem::path i_target);
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    void Write(std::string_view i_bytes);
    /// All that is left to read.
    /// \param i_check called before each piece; may throw, as when somebody cancels.
    void Copy(InputFile& io_source, const std::function<void()>& i_check = {});
    /// For libraries, opened for reading and writing; stays this object's.
    int GetDescriptor() const { return _file; }
    /// For libraries that want a name.
    const std::filesystem::path& GetTemporaryPath() const { return _path; }

    /// Gives it the access rights of the file that it is to replace, if there is one.
    void TakeRightsOfTarget();
    /// Replaces what has the target's name. What was written survives a power cut from then on.
    void Commit();
    /// Takes another name in the same folder.
    /// \return false when that is taken; any number of names may be tried.
    bool TryCommitAs(const std::filesystem::path& i_free_name);

private:
    void _Finish();
    void _SyncFolder();

    const std::filesystem::path _target;
    std::filesystem::path _path; ///< empty once it is committed
    int _folder = -1;
    int _file = -1;
};

} // namespace TavSDK
