#include "wire/ReceivedFile.h"

#include "client/interface/CommunicationException.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace MachineService::Wire {

namespace {

[[noreturn]] void Fail(const std::filesystem::path& i_file, int i_error)
{
    throw CommunicationException(
        ErrorCode::FileError,
        ("The file '" + TavSDK::ShowPath(i_file) + "' cannot be written: " + TavSDK::ErrnoText(i_error) + '.').c_str());
}

} // namespace

ReceivedFile::ReceivedFile(std::filesystem::path i_target, std::uint64_t i_size, std::string i_hash)
    : _target(std::move(i_target))
    // Of one length, because a plain name may already be as long as a name can be.
    , _temporary(_target.parent_path() / ".incoming")
    , _size(i_size)
    , _hash(std::move(i_hash))
    , _reader(i_size)
    , _file(open(_temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600))
{
    if (_file < 0)
        Fail(_target, errno);
}

ReceivedFile::~ReceivedFile()
{
    if (_file >= 0) {
        close(_file);
        unlink(_temporary.c_str());
    }
}

ChunkReader::Piece ReceivedFile::Take(const ReceivedPiece& i_piece)
{
    return _reader.Take(i_piece, [this](std::string_view i_bytes) { _Write(i_bytes); });
}

void ReceivedFile::_Write(std::string_view i_bytes)
{
    // At its place, so that a piece of which a part was written before the disk was full can come again.
    auto offset = static_cast<off_t>(_reader.GetReceived());
    while (!i_bytes.empty()) {
        const auto count = pwrite(_file, i_bytes.data(), i_bytes.size(), offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            Fail(_target, errno);
        i_bytes.remove_prefix(static_cast<std::size_t>(count));
        offset += count;
    }
}

bool ReceivedFile::Accept()
{
    // Every piece matched the hash of all before it: without another one, the last is the file's.
    if (!IsComplete() || (!_hash.empty() && _reader.GetHash() != _hash)) {
        _reader = ChunkReader(_size);
        if (ftruncate(_file, 0) != 0)
            Fail(_target, errno);
        return false;
    }
    // An error that was held back shows when the file is closed.
    const int closed = close(_file);
    _file = -1;
    if (closed != 0 || rename(_temporary.c_str(), _target.c_str()) != 0) {
        const int error = errno;
        unlink(_temporary.c_str());
        Fail(_target, error);
    }
    return true;
}

} // namespace MachineService::Wire
