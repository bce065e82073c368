#include "vexlorcore/ScopedTemporaryFile.h"

#include "tavam/FileError.h"

#include <QString>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>
#include <unistd.h>

namespace VexlorCore {

namespace {

std::string ToFileName(const std::wstring& i_name)
{
    const auto name = QString::fromStdWString(i_name).toStdString();
    if (name.find('/') != std::string::npos || name.find('\0') != std::string::npos)
        throw std::invalid_argument("The name of a temporary file holds a path separator.");
    return name;
}

} // namespace

ScopedTemporaryFile::ScopedTemporaryFile(const std::wstring& i_stem, const std::wstring& i_extension)
{
    const auto extension = ToFileName(i_extension);
    const auto stem = ToFileName(i_stem);
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error);
    if (error)
        throw TavAM::FileError("There is no folder for temporary files: " + error.message() + ".");
    std::string path = (folder / (stem + "XXXXXX" + extension)).string();
    const int file = ::mkstemps(path.data(), static_cast<int>(extension.size()));
    if (file < 0)
        throw TavAM::FileError("A temporary file cannot be made in '" + folder.string() +
                               "': " + std::generic_category().message(errno) + ".");
    // mkstemps asks for 0600 and the umask may take more away.
    ::fchmod(file, S_IRUSR | S_IWUSR);
    ::close(file);
    _path = QString::fromStdString(path).toStdWString();
}

ScopedTemporaryFile::~ScopedTemporaryFile()
{
    ::unlink(QString::fromStdWString(_path).toUtf8().constData());
}

} // namespace VexlorCore
