#include "tavam/AMXFileWriter.h"

#include "tavam/AMXDocumentWriter_p.h"
#include "tavam/AMXFormat_p.h"
#include "tavam/AtomicFile.h"
#include "tavam/FileError.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory>

#include <zip.h>

namespace TavAM {

namespace {

/// Fast: platforms are written before every command that sends one to a machine.
constexpr zip_uint32_t DeflateLevel = 1;
/// Entries that pack better than this are stored as they are; well below what a reader takes for a bomb.
constexpr std::uint64_t LargestWrittenRatio = AMXFormat::LargestRatio / 2;
/// 1 January 1980: the same platform makes the same file.
constexpr zip_uint16_t EntryDate = 0x21;

struct ZipDiscarder
{
    void operator()(zip_t* ip_zip) const { zip_discard(ip_zip); }
};
using Zip = std::unique_ptr<zip_t, ZipDiscarder>;

/// Lets libzip read pieces of memory one after the other, without a copy of them in one piece.
class Pieces
{
public:
    void Add(const void* ip_bytes, std::size_t i_size)
    {
        _pieces.push_back({static_cast<const char*>(ip_bytes), i_size});
        _size += i_size;
    }

    std::uint64_t GetSize() const { return _size; }

    static zip_int64_t Handle(void* ip_self, void* op_data, zip_uint64_t i_size, zip_source_cmd_t i_command)
    {
        auto& self = *static_cast<Pieces*>(ip_self);
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
            stat->size = self._size;
            stat->valid = ZIP_STAT_SIZE;
            return sizeof(*stat);
        }
        case ZIP_SOURCE_ERROR: {
            const int codes[2] = {ZIP_ER_OK, 0};
            std::memcpy(op_data, codes, sizeof(codes));
            return sizeof(codes);
        }
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
        default:
            return -1;
        }
    }

private:
    struct Piece
    {
        const char* bytes;
        std::size_t size;
    };

    std::size_t _Read(char* op_bytes, std::size_t i_size)
    {
        std::size_t count = 0;
        while (count < i_size && _piece < _pieces.size()) {
            const Piece& piece = _pieces[_piece];
            const std::size_t step = std::min(i_size - count, piece.size - _offset);
            if (step > 0)
                std::memcpy(op_bytes + count, piece.bytes + _offset, step);
            count += step;
            _offset += step;
            if (_offset == piece.size) {
                ++_piece;
                _offset = 0;
            }
        }
        return count;
    }

    std::vector<Piece> _pieces;
    std::uint64_t _size = 0;
    std::size_t _piece = 0;
    std::size_t _offset = 0;
};

/// The package that is being made.
class Package
{
public:
    explicit Package(const std::string& i_path)
        : _path(i_path)
        , _zip(Open(i_path, ZIP_CREATE | ZIP_TRUNCATE))
    {}

    void Add(const std::string& i_name, std::initializer_list<std::string_view> i_pieces)
    {
        Pieces& pieces = _pieces.emplace_back();
        for (const std::string_view piece : i_pieces)
            pieces.Add(piece.data(), piece.size());
        _size += pieces.GetSize();
        if (_size > AMXFormat::LargestUnpackedSize)
            throw FileError("meshes and definitions take more than 4 GB");
        if (_pieces.size() > AMXFormat::LargestEntryCount)
            throw FileError("it has more than " + std::to_string(AMXFormat::LargestEntryCount - 1) +
                            " different meshes and definitions");
        zip_source_t* source = zip_source_function(_zip.get(), &Pieces::Handle, &pieces);
        if (source == nullptr)
            throw FileError(zip_strerror(_zip.get()));
        const zip_int64_t index = zip_file_add(_zip.get(), i_name.c_str(), source, ZIP_FL_ENC_UTF_8);
        if (index < 0) {
            zip_source_free(source);
            throw FileError(zip_strerror(_zip.get()));
        }
        if (zip_set_file_compression(_zip.get(), static_cast<zip_uint64_t>(index), ZIP_CM_DEFLATE, DeflateLevel) != 0 ||
            zip_file_set_dostime(_zip.get(), static_cast<zip_uint64_t>(index), 0, EntryDate, 0) != 0)
            throw FileError(zip_strerror(_zip.get()));
    }

    void Finish()
    {
        Close(_zip);
        StoreWhatPacksTooWell();
    }

private:
    static Zip Open(const std::string& i_path, int i_flags)
    {
        int code = 0;
        Zip zip(zip_open(i_path.c_str(), i_flags, &code));
        if (!zip) {
            zip_error_t error;
            zip_error_init_with_code(&error, code);
            const std::string reason = zip_error_strerror(&error);
            zip_error_fini(&error);
            throw FileError(reason);
        }
        return zip;
    }

    static void Close(Zip& io_zip)
    {
        // libzip frees the package only when closing succeeds.
        if (zip_close(io_zip.get()) != 0)
            throw FileError(zip_strerror(io_zip.get()));
        io_zip.release();
    }

    /// How well an entry packs is known only when it is packed. Few do too well: flat grids, properties full of blanks.
    void StoreWhatPacksTooWell()
    {
        Zip zip = Open(_path, 0);
        const zip_int64_t count = zip_get_num_entries(zip.get(), 0);
        for (zip_uint64_t index = 0; index < static_cast<zip_uint64_t>(count); ++index) {
            zip_stat_t stat = {};
            if (zip_stat_index(zip.get(), index, 0, &stat) != 0)
                throw FileError(zip_strerror(zip.get()));
            if (stat.size / LargestWrittenRatio < stat.comp_size || stat.size < LargestWrittenRatio)
                continue;
            if (zip_set_file_compression(zip.get(), index, ZIP_CM_STORE, 0) != 0)
                throw FileError(zip_strerror(zip.get()));
        }
        Close(zip);
    }

    std::string _path;
    std::deque<Pieces> _pieces; ///< libzip reads them when the package is closed
    std::uint64_t _size = 0;
    Zip _zip;
};

template <class Container>
std::string_view ViewBytes(const Container& i_container)
{
    return {reinterpret_cast<const char*>(i_container.data()),
            i_container.size() * sizeof(typename Container::value_type)};
}

void WritePackage(const std::string& i_path, const std::vector<const Platform*>& i_platforms)
{
    AMXDocumentWriter document;
    for (const Platform* platform : i_platforms)
        document.WritePlatform(*platform);
    const std::string text = document.Finish();
    std::deque<AMXFormat::MeshHeader> headers;
    Package package(i_path);
    package.Add(AMXFormat::DocumentEntry, {text});
    for (const Mesh* mesh : document.GetMeshes()) {
        const std::string entry = AMXDocumentWriter::GetMeshEntry(headers.size());
        AMXFormat::MeshHeader& header = headers.emplace_back();
        header.vertexCount = static_cast<std::uint32_t>(mesh->vertices.size());
        header.triangleCount = static_cast<std::uint32_t>(mesh->triangles.size());
        package.Add(entry, {{reinterpret_cast<const char*>(&header), sizeof(header)},
                            ViewBytes(mesh->vertices),
                            ViewBytes(mesh->triangles)});
    }
    for (std::size_t index = 0; index < document.GetDefinitions().size(); ++index)
        package.Add(AMXDocumentWriter::GetDefinitionEntry(index), {*document.GetDefinitions()[index]});
    package.Finish();
}

void WritePlatforms(const std::filesystem::path& i_path, const std::vector<const Platform*>& i_platforms)
{
    try {
        AtomicFile file(i_path);
        WritePackage(file.GetTemporaryPath(), i_platforms);
        file.TakeRightsOfTarget();
        file.Commit();
    } catch (const std::bad_alloc&) {
        throw FileError("The file \"" + i_path.string() + "\" cannot be written: there is not enough memory.");
    } catch (const std::exception& error) {
        throw FileError("The file \"" + i_path.string() + "\" cannot be written: " + error.what() + ".");
    }
}

} // namespace

void AMXFileWriter::WriteFile(const std::filesystem::path& i_path, const Database& i_database)
{
    std::vector<const Platform*> platforms;
    std::vector<std::shared_ptr<Platform>> owners;
    for (std::size_t index = 0; index < i_database.GetNumPlatforms(); ++index)
        platforms.push_back(owners.emplace_back(i_database.GetPlatform(index)).get());
    WritePlatforms(i_path, platforms);
}

void AMXFileWriter::WriteFile(const std::filesystem::path& i_path, const Platform& i_platform)
{
    WritePlatforms(i_path, {&i_platform});
}

} // namespace TavAM
