#include "tavsdk/ZipWriter.h"

#include "tavsdk/FileError.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <utility>

#include <fcntl.h>
#include <unistd.h>
#include <zip.h>

namespace TavSDK {

namespace {

/// Fast: platforms are written before every command that sends one to a machine.
constexpr zip_uint32_t DeflateLevel = 1;
/// Entries that pack better than this are stored as they are; well below what a reader takes for a bomb.
constexpr std::uint64_t LargestWrittenRatio = ZipBounds().ratio / 2;
/// 1 January 1980: the same entries make the same file.
constexpr zip_uint16_t EntryDate = 0x21;

struct ZipDiscarder
{
    void operator()(zip_t* ip_zip) const { zip_discard(ip_zip); }
};
using Zip = std::unique_ptr<zip_t, ZipDiscarder>;

zip_int64_t TellError(void* op_data, int i_code, int i_errno)
{
    const int codes[2] = {i_code, i_errno};
    std::memcpy(op_data, codes, sizeof(codes));
    return sizeof(codes);
}

/// Lets libzip read pieces of memory one after the other, without a copy of them in one piece.
class PiecesSource
{
public:
    explicit PiecesSource(const std::vector<std::string_view>& i_pieces)
        : _pieces(i_pieces)
    {}

    static zip_int64_t Handle(void* ip_self, void* op_data, zip_uint64_t i_size, zip_source_cmd_t i_command)
    {
        auto& self = *static_cast<PiecesSource*>(ip_self);
        switch (i_command) {
        case ZIP_SOURCE_OPEN:
            self._piece = 0;
            self._offset = 0;
            return 0;
        case ZIP_SOURCE_READ:
            return static_cast<zip_int64_t>(self._Read(static_cast<char*>(op_data), i_size));
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        case ZIP_SOURCE_STAT: {
            auto* stat = static_cast<zip_stat_t*>(op_data);
            zip_stat_init(stat);
            for (const std::string_view piece : self._pieces)
                stat->size += piece.size();
            stat->valid = ZIP_STAT_SIZE;
            return sizeof(*stat);
        }
        case ZIP_SOURCE_ERROR:
            return TellError(op_data, ZIP_ER_OK, 0);
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
        default:
            return -1;
        }
    }

private:
    std::size_t _Read(char* op_bytes, std::size_t i_size)
    {
        std::size_t count = 0;
        while (count < i_size && _piece < _pieces.size()) {
            const std::string_view piece = _pieces[_piece];
            const std::size_t step = std::min(i_size - count, piece.size() - _offset);
            if (step > 0)
                std::memcpy(op_bytes + count, piece.data() + _offset, step);
            count += step;
            _offset += step;
            if (_offset == piece.size()) {
                ++_piece;
                _offset = 0;
            }
        }
        return count;
    }

    const std::vector<std::string_view>& _pieces;
    std::size_t _piece = 0;
    std::size_t _offset = 0;
};

/// Lets libzip write a new package into an open file; on its own it would make a file of another name.
///
/// libzip 1.7 loses memory where closing a package fails: it is told that all went well, and who writes asks for the
/// failure afterwards.
class FileTarget
{
public:
    explicit FileTarget(int i_file)
        : _file(i_file)
    {}

    static zip_int64_t Handle(void* ip_self, void* op_data, zip_uint64_t i_size, zip_source_cmd_t i_command)
    {
        return static_cast<FileTarget*>(ip_self)->_Handle(op_data, i_size, i_command);
    }

    /// errno of the first call that failed, or 0.
    int GetFailure() const { return _failure; }

private:
    zip_int64_t _Handle(void* op_data, zip_uint64_t i_size, zip_source_cmd_t i_command)
    {
        switch (i_command) {
        case ZIP_SOURCE_STAT: {
            // There is no package yet.
            auto* stat = static_cast<zip_stat_t*>(op_data);
            zip_stat_init(stat);
            return -1;
        }
        case ZIP_SOURCE_BEGIN_WRITE:
        case ZIP_SOURCE_COMMIT_WRITE:
        case ZIP_SOURCE_ROLLBACK_WRITE:
        case ZIP_SOURCE_FREE:
            return 0;
        case ZIP_SOURCE_WRITE:
            _Write(static_cast<const char*>(op_data), i_size);
            return static_cast<zip_int64_t>(i_size);
        case ZIP_SOURCE_SEEK_WRITE: {
            const auto* arguments = ZIP_SOURCE_GET_ARGS(zip_source_args_seek_t, op_data, i_size, nullptr);
            if (!arguments || arguments->whence != SEEK_SET)
                return -1;
            _position = arguments->offset;
            if (_failure == 0 && ::lseek(_file, _position, SEEK_SET) < 0)
                _failure = errno;
            return 0;
        }
        case ZIP_SOURCE_TELL_WRITE:
            return _position;
        case ZIP_SOURCE_ERROR:
            return TellError(op_data, ZIP_ER_READ, ENOENT);
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_WRITABLE;
        default:
            return -1;
        }
    }

    void _Write(const char* ip_bytes, zip_uint64_t i_size)
    {
        for (zip_uint64_t done = 0; done < i_size && _failure == 0;) {
            const auto count = ::write(_file, ip_bytes + done, i_size - done);
            if (count >= 0)
                done += static_cast<zip_uint64_t>(count);
            else if (errno != EINTR)
                _failure = errno;
        }
        _position += static_cast<off_t>(i_size);
    }

    const int _file;
    off_t _position = 0;
    int _failure = 0;
};

} // namespace

void ZipWriter::Add(std::string i_name, std::vector<std::string_view> i_pieces, Packing i_packing)
{
    for (const std::string_view piece : i_pieces)
        _size += piece.size();
    if (_size > ZipBounds().unpackedSize)
        throw FileError("its entries take more than " + std::to_string(ZipBounds().unpackedSize) + " bytes");
    if (_entries.size() == ZipBounds().entries)
        throw FileError("it has more than " + std::to_string(ZipBounds().entries) + " entries");
    _entries.push_back({std::move(i_name), std::move(i_pieces), {}, i_packing});
}

void ZipWriter::AddFile(std::string i_name, const std::filesystem::path& i_file, Packing i_packing)
{
    Add(std::move(i_name), {}, i_packing);
    _entries.back().file = i_file;
}

void ZipWriter::Write(int i_file)
{
    do {
        if (::ftruncate(i_file, 0) != 0 || ::lseek(i_file, 0, SEEK_SET) != 0)
            throw FileError(ErrnoText(errno));
        _WriteOnce(i_file);
    } while (_StoreWhatPacksTooWell(i_file));
}

void ZipWriter::_WriteOnce(int i_file)
{
    FileTarget target(i_file);
    std::deque<PiecesSource> sources; // libzip reads them when the package is closed
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* const targetSource = zip_source_function_create(&FileTarget::Handle, &target, &error);
    Zip zip(targetSource ? zip_open_from_source(targetSource, ZIP_CREATE | ZIP_TRUNCATE, &error) : nullptr);
    if (!zip) {
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        if (targetSource)
            zip_source_free(targetSource);
        throw FileError(reason);
    }
    const auto require = [&zip](bool i_is_done) {
        if (!i_is_done)
            throw FileError(zip_strerror(zip.get()));
    };
    for (const Entry& entry : _entries) {
        zip_source_t* const source = entry.file.empty() ? zip_source_function(zip.get(), &PiecesSource::Handle,
                                                                              &sources.emplace_back(entry.pieces))
                                                        : zip_source_file(zip.get(), entry.file.c_str(), 0, -1);
        require(source != nullptr);
        const zip_int64_t added = zip_file_add(zip.get(), entry.name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (added < 0)
            zip_source_free(source);
        require(added >= 0);
        const auto index = static_cast<zip_uint64_t>(added);
        const auto method = entry.packing == Packing::Deflate ? ZIP_CM_DEFLATE : ZIP_CM_STORE;
        require(zip_set_file_compression(zip.get(), index, method, DeflateLevel) == 0 &&
                zip_file_set_dostime(zip.get(), index, 0, EntryDate, 0) == 0);
    }
    require(zip_close(zip.get()) == 0);
    // Closing has freed it.
    (void)zip.release();
    if (target.GetFailure() != 0)
        throw FileError(ErrnoText(target.GetFailure()));
}

/// How well an entry packs is known only when it is packed. Few do too well: flat grids, properties full of blanks.
/// \return true when the package must be written again.
bool ZipWriter::_StoreWhatPacksTooWell(int i_file)
{
    // Closed by libzip, but only when it takes the file.
    const int file = ::fcntl(i_file, F_DUPFD_CLOEXEC, 0);
    int code = 0;
    const Zip zip(file < 0 ? nullptr : zip_fdopen(file, 0, &code));
    if (!zip) {
        const int failure = errno;
        if (file >= 0)
            ::close(file);
        throw FileError(file < 0 ? ErrnoText(failure) : "what was written cannot be read back");
    }
    bool isChanged = false;
    for (std::size_t index = 0; index < _entries.size(); ++index) {
        zip_stat_t stat = {};
        if (zip_stat_index(zip.get(), index, 0, &stat) != 0)
            throw FileError(zip_strerror(zip.get()));
        if (stat.size / LargestWrittenRatio < stat.comp_size || stat.size < LargestWrittenRatio)
            continue;
        isChanged |= std::exchange(_entries[index].packing, Packing::Store) == Packing::Deflate;
    }
    return isChanged;
}

} // namespace TavSDK
