#include "tavsdk/ZipReader.h"

#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <cerrno>
#include <map>

#include <fcntl.h>
#include <unistd.h>
#include <zip.h>

namespace TavSDK {

namespace {

constexpr std::size_t SmallestStep = std::size_t{1} << 20U;
/// What entries hardly exceed: room for so much is made at once, more only when it comes.
constexpr std::uint64_t UsualRatio = 8;

struct ZipDiscarder
{
    void operator()(zip_t* ip_zip) const { zip_discard(ip_zip); }
};
using Zip = std::unique_ptr<zip_t, ZipDiscarder>;

struct ZipError : zip_error_t
{
    ZipError() { zip_error_init(this); }
    ~ZipError() { zip_error_fini(this); }
    ZipError(const ZipError&) = delete;
    ZipError& operator=(const ZipError&) = delete;
};

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

Zip RequireSound(zip_t* ip_zip, ZipError& io_error)
{
    if (ip_zip == nullptr && zip_error_code_zip(&io_error) == ZIP_ER_EXISTS)
        throw FileError("it has an entry twice");
    if (ip_zip == nullptr)
        throw FileError(std::string("it is no sound zip package: ") + zip_error_strerror(&io_error));
    return Zip(ip_zip);
}

Zip OpenFile(const InputFile& i_file)
{
    // Closed by libzip, but only when it takes the file.
    const int file = ::fcntl(i_file.GetDescriptor(), F_DUPFD_CLOEXEC, 0);
    if (file < 0)
        throw FileError(ErrnoText(errno));
    int code = 0;
    zip_t* const zip = zip_fdopen(file, ZIP_CHECKCONS, &code);
    ZipError error;
    if (zip == nullptr) {
        zip_error_init_with_code(&error, code);
        ::close(file);
    }
    return RequireSound(zip, error);
}

Zip OpenBytes(std::string_view i_bytes)
{
    // libzip takes no bytes for a package without entries.
    if (i_bytes.empty())
        throw FileError("it is no sound zip package: it is empty");
    ZipError error;
    zip_source_t* const source = zip_source_buffer_create(i_bytes.data(), i_bytes.size(), 0, &error);
    if (source == nullptr)
        throw FileError(zip_error_strerror(&error));
    zip_t* const zip = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
    if (zip == nullptr)
        zip_source_free(source);
    return RequireSound(zip, error);
}

} // namespace

class ZipReader::Impl
{
public:
    Impl(Zip i_zip, std::uint64_t i_size, const ZipBounds& i_bounds)
        : bounds(i_bounds)
        , size(i_size)
        , zip(std::move(i_zip))
    {
        const auto count = static_cast<std::uint64_t>(zip_get_num_entries(zip.get(), 0));
        if (count > bounds.entries) {
            throw FileError("it has " + std::to_string(count) + " entries, more than " +
                            std::to_string(bounds.entries));
        }
        for (std::uint64_t index = 0; index < count; ++index) {
            const char* name = zip_get_name(zip.get(), index, 0);
            if (name == nullptr)
                throw FileError(zip_strerror(zip.get()));
            if (!IsSafeName(name))
                throw FileError("its entry " + Quote(ReplaceInvalid(name)) + " would lie outside of the package");
            if (!indices.emplace(name, index).second)
                throw FileError("it has the entry " + Quote(name) + " twice");
            names.emplace_back(name);
        }
    }

    const ZipBounds bounds;
    const std::uint64_t size;
    const Zip zip;
    std::uint64_t unpackedSize = 0;
    std::map<std::string, std::uint64_t> indices; ///< by entry name
    std::vector<std::string> names;
};

ZipReader::ZipReader(std::unique_ptr<Impl> ip_impl)
    : _impl(std::move(ip_impl))
{}

ZipReader::ZipReader(const std::filesystem::path& i_path, const ZipBounds& i_bounds)
{
    const InputFile file(i_path);
    _impl = std::make_unique<Impl>(OpenFile(file), file.GetSize(), i_bounds);
}

ZipReader ZipReader::FromBytes(std::string_view i_bytes, const ZipBounds& i_bounds)
{
    return ZipReader(std::make_unique<Impl>(OpenBytes(i_bytes), i_bytes.size(), i_bounds));
}

ZipReader::~ZipReader() = default;
ZipReader::ZipReader(ZipReader&&) noexcept = default;

const std::vector<std::string>& ZipReader::GetNames() const
{
    return _impl->names;
}

bool ZipReader::Has(const std::string& i_name) const
{
    return _impl->indices.contains(i_name);
}

ZipReader::Entry ZipReader::Open(const std::string& i_name) const
{
    return Entry(*_impl, i_name);
}

std::string ZipReader::ReadBytes(const std::string& i_name, std::uint64_t i_largest_size) const
{
    Entry entry = Open(i_name);
    const auto refuse = [&] {
        entry.Throw("is longer than " + std::to_string(i_largest_size) + " bytes");
    };
    if (entry.GetStatedSize() > i_largest_size)
        refuse();
    std::string bytes;
    while (true) {
        const std::size_t had = bytes.size();
        // One byte more than stated finds the end in the same pass.
        const auto rest = entry.GetStatedSize() >= had ? entry.GetStatedSize() - had + 1 : 1;
        const std::size_t step = std::min<std::size_t>(rest, std::max(SmallestStep, had));
        bytes.resize(had + step);
        const std::size_t count = entry.Read(bytes.data() + had, step);
        bytes.resize(had + count);
        if (bytes.size() > i_largest_size)
            refuse();
        if (count < step)
            return bytes;
    }
}

class ZipReader::Entry::File
{
public:
    explicit File(zip_file_t* ip_file)
        : file(ip_file)
    {}
    ~File() { zip_fclose(file); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    zip_file_t* const file;
};

ZipReader::Entry::Entry(ZipReader::Impl& io_package, const std::string& i_name)
    : _package(io_package)
    , _name(i_name)
{
    zip_t* const zip = _package.zip.get();
    const auto found = _package.indices.find(i_name);
    if (found == _package.indices.end())
        Throw("is missing");
    zip_stat_t stat = {};
    if (zip_stat_index(zip, found->second, 0, &stat) != 0)
        Throw(zip_strerror(zip));
    _statedSize = stat.size;
    _packedSize = std::min<std::uint64_t>(stat.comp_size, _package.size);
    _firstStep = std::max<std::size_t>(SmallestStep, UsualRatio * _packedSize);
    zip_file_t* const file = zip_fopen_index(zip, found->second, 0);
    if (file == nullptr)
        Throw(zip_strerror(zip));
    _file = std::make_unique<File>(file);
}

ZipReader::Entry::~Entry() = default;
ZipReader::Entry::Entry(Entry&&) noexcept = default;

void ZipReader::Entry::Throw(const std::string& i_reason) const
{
    throw FileError("its entry " + Quote(ReplaceInvalid(_name)) + ": " + i_reason);
}

std::size_t ZipReader::Entry::Read(void* op_bytes, std::size_t i_count)
{
    std::size_t count = 0;
    while (count < i_count) {
        const zip_int64_t read = zip_fread(_file->file, static_cast<char*>(op_bytes) + count, i_count - count);
        if (read < 0)
            Throw(zip_file_strerror(_file->file));
        if (read == 0)
            break;
        count += static_cast<std::size_t>(read);
        _Count(static_cast<std::uint64_t>(read));
    }
    return count;
}

void ZipReader::Entry::RequireEnd()
{
    char byte = 0;
    if (Read(&byte, 1) != 0)
        Throw("is longer than its counts say");
}

void ZipReader::Entry::_Count(std::uint64_t i_bytes)
{
    const ZipBounds& bounds = _package.bounds;
    const auto isBomb = [&bounds](std::uint64_t i_unpacked, std::uint64_t i_packed) {
        return i_unpacked > bounds.freeUnpackedSize && i_unpacked / bounds.ratio > i_packed;
    };
    _size += i_bytes;
    _package.unpackedSize += i_bytes;
    if (_package.unpackedSize > bounds.unpackedSize)
        Throw("with it, more than " + std::to_string(bounds.unpackedSize) + " bytes come out of the package");
    if (isBomb(_size, _packedSize) || isBomb(_package.unpackedSize, _package.size))
        Throw("is packed more than " + std::to_string(bounds.ratio) + " : 1");
}

} // namespace TavSDK
