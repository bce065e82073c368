#include "tavam/AMXPackageReader_p.h"

#include "tavam/AMXFormat_p.h"
#include "tavam/FileError.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <vector>

#include <zip.h>

namespace TavAM {

static_assert(std::endian::native == std::endian::little, "meshes are copied between file and memory as they are");
static_assert(sizeof(Point3f) == 12 && sizeof(Mesh::triangles[0]) == 12);

namespace {

constexpr std::size_t SmallestStep = std::size_t{1} << 20U;
/// What meshes hardly exceed: room for so much is made at once, more only when it comes.
constexpr std::uint64_t UsualRatio = 8;

/// Names that would lead out of a folder somebody unpacks the package into.
bool IsSafeName(std::string_view i_name)
{
    if (i_name.empty() || i_name.front() == '/' || i_name.find('\\') != std::string_view::npos)
        return false;
    if (i_name.size() > 1 && i_name[1] == ':')
        return false;
    for (std::size_t begin = 0; begin <= i_name.size();) {
        const std::size_t end = std::min(i_name.find('/', begin), i_name.size());
        if (i_name.substr(begin, end - begin) == "..")
            return false;
        begin = end + 1;
    }
    return true;
}

std::string Quote(std::string_view i_text)
{
    return "\"" + std::string(i_text) + "\"";
}

} // namespace

/// One entry while it is read.
class AMXPackageReader::Entry
{
public:
    Entry(AMXPackageReader& io_package, const std::string& i_name)
        : _package(io_package)
        , _name(i_name)
    {
        const auto found = io_package._indices.find(i_name);
        if (found == io_package._indices.end())
            Throw("is missing");
        zip_stat_t stat = {};
        if (zip_stat_index(io_package._zip.get(), found->second, 0, &stat) != 0)
            Throw(zip_strerror(io_package._zip.get()));
        _statedSize = stat.size;
        _packedSize = std::min<std::uint64_t>(stat.comp_size, io_package._fileSize);
        _firstStep = std::max<std::size_t>(SmallestStep, UsualRatio * _packedSize);
        _file.reset(zip_fopen_index(io_package._zip.get(), found->second, 0));
        if (!_file)
            Throw(zip_strerror(io_package._zip.get()));
    }

    [[noreturn]] void Throw(const std::string& i_reason) const
    {
        throw FileError("its entry " + Quote(_name) + ": " + i_reason);
    }

    /// Only a hint.
    std::uint64_t GetStatedSize() const { return _statedSize; }

    /// Fewer bytes than asked for only at the entry's end, where its checksum has been found right.
    std::size_t Read(void* op_bytes, std::size_t i_count)
    {
        std::size_t count = 0;
        while (count < i_count) {
            const zip_int64_t read = zip_fread(_file.get(), static_cast<char*>(op_bytes) + count, i_count - count);
            if (read < 0)
                Throw(zip_file_strerror(_file.get()));
            if (read == 0)
                break;
            count += static_cast<std::size_t>(read);
            _Count(static_cast<std::uint64_t>(read));
        }
        return count;
    }

    /// Appends i_count elements as the bytes come, never allocating far beyond what has come.
    template <class Vector>
    void ReadInto(Vector& o_elements, std::size_t i_count)
    {
        constexpr std::size_t elementSize = sizeof(typename Vector::value_type);
        while (o_elements.size() < i_count) {
            const std::size_t had = o_elements.size();
            const std::size_t step = std::min(i_count - had, std::max(_firstStep / elementSize, had));
            o_elements.resize(had + step);
            if (Read(o_elements.data() + had, step * elementSize) != step * elementSize)
                Throw("is shorter than its counts say");
        }
    }

    void RequireEnd()
    {
        char byte = 0;
        if (Read(&byte, 1) != 0)
            Throw("is longer than its counts say");
    }

private:
    void _Count(std::uint64_t i_bytes)
    {
        _size += i_bytes;
        _package._unpackedSize += i_bytes;
        if (_package._unpackedSize > AMXFormat::LargestUnpackedSize)
            Throw("with it, more than 4 GB come out of the package");
        const bool isBomb = (_size > AMXFormat::FreeUnpackedSize && _size / AMXFormat::LargestRatio > _packedSize) ||
                            (_package._unpackedSize > AMXFormat::FreeUnpackedSize &&
                             _package._unpackedSize / AMXFormat::LargestRatio > _package._fileSize);
        if (isBomb)
            Throw("is packed more than 100 : 1");
    }

    struct FileCloser
    {
        void operator()(zip_file_t* ip_file) const { zip_fclose(ip_file); }
    };

    AMXPackageReader& _package;
    std::string _name;
    std::unique_ptr<zip_file_t, FileCloser> _file;
    std::uint64_t _statedSize = 0;
    std::uint64_t _packedSize = 0; ///< never more than the file has
    std::size_t _firstStep = 0;    ///< bytes to make room for before any has come
    std::uint64_t _size = 0;       ///< that came out
};

void AMXPackageReader::ZipDiscarder::operator()(zip* ip_zip) const
{
    zip_discard(ip_zip);
}

AMXPackageReader::AMXPackageReader(const std::filesystem::path& i_path)
{
    std::error_code failure;
    // Opening a pipe would wait for its writer, maybe for ever.
    if (!std::filesystem::is_regular_file(i_path, failure))
        throw FileError(failure ? failure.message() : "it is no regular file");
    _fileSize = std::filesystem::file_size(i_path, failure);
    if (failure)
        throw FileError(failure.message());
    int code = 0;
    _zip.reset(zip_open(i_path.c_str(), ZIP_RDONLY | ZIP_CHECKCONS, &code));
    if (!_zip && code == ZIP_ER_EXISTS)
        throw FileError("it has an entry twice");
    if (!_zip) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const std::string reason = zip_error_strerror(&error);
        zip_error_fini(&error);
        throw FileError("it is no sound zip package: " + reason);
    }
    _CheckEntries();
}

AMXPackageReader::~AMXPackageReader() = default;

void AMXPackageReader::_CheckEntries()
{
    const auto count = static_cast<std::uint64_t>(zip_get_num_entries(_zip.get(), 0));
    if (count > AMXFormat::LargestEntryCount) {
        throw FileError("it has " + std::to_string(count) + " entries, more than " +
                        std::to_string(AMXFormat::LargestEntryCount));
    }
    for (std::uint64_t index = 0; index < count; ++index) {
        const char* name = zip_get_name(_zip.get(), index, 0);
        if (name == nullptr)
            throw FileError(zip_strerror(_zip.get()));
        if (!IsSafeName(name))
            throw FileError("its entry " + Quote(name) + " would lie outside of the package");
        if (!_indices.emplace(name, index).second)
            throw FileError("it has the entry " + Quote(name) + " twice");
    }
}

std::string AMXPackageReader::ReadBytes(const std::string& i_entry, std::uint64_t i_largest_size)
{
    Entry entry(*this, i_entry);
    if (entry.GetStatedSize() > i_largest_size)
        entry.Throw("is longer than " + std::to_string(i_largest_size) + " bytes");
    std::string bytes;
    while (true) {
        const std::size_t had = bytes.size();
        // One byte more than stated finds the end in the same pass.
        const auto rest = entry.GetStatedSize() >= had ? entry.GetStatedSize() - had + 1 : 1;
        const std::size_t step = std::min<std::size_t>(rest, std::max(SmallestStep, had));
        bytes.resize(had + step);
        const std::size_t count = entry.Read(bytes.data() + had, step);
        bytes.resize(had + count);
        if (count < step)
            return bytes;
        if (bytes.size() > i_largest_size)
            entry.Throw("is longer than " + std::to_string(i_largest_size) + " bytes");
    }
}

std::shared_ptr<const Mesh> AMXPackageReader::ReadMesh(const std::string& i_entry)
{
    std::shared_ptr<const Mesh>& known = _meshes[i_entry];
    if (known)
        return known;
    Entry entry(*this, i_entry);
    AMXFormat::MeshHeader header;
    const AMXFormat::MeshHeader expected;
    if (entry.Read(&header, sizeof(header)) != sizeof(header) ||
        std::memcmp(header.magic, expected.magic, sizeof(header.magic)) != 0)
        entry.Throw("is no mesh");
    if (header.version != expected.version)
        entry.Throw("is a mesh of the unknown format " + std::to_string(header.version));
    const std::uint64_t size = sizeof(header) + sizeof(Point3f) * std::uint64_t{header.vertexCount} +
                               sizeof(Mesh::triangles[0]) * std::uint64_t{header.triangleCount};
    if (size != entry.GetStatedSize())
        entry.Throw("its counts do not go with its size");
    auto mesh = std::make_shared<Mesh>();
    entry.ReadInto(mesh->vertices, header.vertexCount);
    entry.ReadInto(mesh->triangles, header.triangleCount);
    entry.RequireEnd();
    if (const std::string defect = FindMeshDefect(*mesh); !defect.empty())
        entry.Throw("the mesh cannot be used, " + defect);
    known = std::move(mesh);
    return known;
}

} // namespace TavAM
