#include "vexlorcore/ScopedTemporaryFile.h"

#include "tavam/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Utf8.h"

#include <cerrno>
#include <cstdlib>
#include <stdexcept>

#include <sys/stat.h>
#include <unistd.h>

namespace VexlorCore {

namespace {

std::string ToFileName(const std::wstring& i_name)
{
    auto name = TavSDK::ToUtf8(i_name);
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        throw std::invalid_argument("The name of a temporary file holds a path separator.");
    return name;
}

} // namespace

ScopedTemporaryFile::ScopedTemporaryFile(const std::wstring& i_stem, const std::wstring& i_extension)
{
    const auto extension = ToFileName(i_extension);
    const auto stem = ToFileName(i_stem);
    const auto folder = TavSDK::GetTemporaryFolder();
    std::string path = folder / (stem + "XXXXXX" + extension);
    const int file = ::mkstemps(path.data(), static_cast<int>(extension.size()));
    if (file < 0)
        throw TavAM::FileError("A temporary file cannot be made in '" + TavSDK::ShowPath(folder) +
                               "': " + TavSDK::ErrnoText(errno) + ".");
    // mkstemps asks for 0600 and the umask may take more away.
    ::fchmod(file, S_IRUSR | S_IWUSR);
    ::close(file);
    _path = TavSDK::PathToWide(path);
}

ScopedTemporaryFile::~ScopedTemporaryFile()
{
    ::unlink(TavSDK::ToUtf8(_path).c_str());
}

} // namespace VexlorCore
