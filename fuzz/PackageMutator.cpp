// Lets the fuzzer change what is inside of a zip package: changed as it is, it would hardly ever get beyond checksums.
#include "Fuzz.h"

#include "tavsdk/FileError.h"
#include "tavsdk/ZipReader.h"
#include "tavsdk/ZipWriter.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <random>
#include <vector>

#include <sys/mman.h>
#include <unistd.h>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* iop_data, std::size_t i_size, std::size_t i_max_size);

namespace {

constexpr std::uint64_t LargestEntry = 1'000'000; ///< bytes

struct Entry
{
    std::string name;
    std::string content;
};

std::optional<std::vector<Entry>> Unpack(std::string_view i_bytes)
{
    try {
        const auto package = TavSDK::ZipReader::FromBytes(i_bytes);
        std::vector<Entry> entries;
        for (const std::string& name : package.GetNames())
            entries.push_back({name, package.ReadBytes(name, LargestEntry)});
        return entries;
    } catch (const TavSDK::FileError&) {
        return std::nullopt;
    }
}

/// Empty when nothing can be written.
std::string Pack(const std::vector<Entry>& i_entries, TavSDK::ZipWriter::Packing i_packing)
{
    const int file = memfd_create("package", MFD_CLOEXEC);
    std::string bytes;
    try {
        TavSDK::ZipWriter package;
        for (const Entry& entry : i_entries)
            package.Add(entry.name, {entry.content}, i_packing);
        package.Write(file);
        bytes.resize(static_cast<std::size_t>(lseek(file, 0, SEEK_END)));
        if (pread(file, bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
            bytes.clear();
    } catch (const TavSDK::FileError&) {
        bytes.clear();
    }
    close(file);
    return bytes;
}

void Mutate(std::string& io_text, std::size_t i_longest)
{
    const std::size_t size = io_text.size();
    io_text.resize(std::max(size + 64, std::min(2 * size, i_longest)));
    io_text.resize(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t*>(io_text.data()), size, io_text.size()));
}

} // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* iop_data, std::size_t i_size, std::size_t i_max_size,
                                               unsigned i_seed)
{
    std::minstd_rand random(i_seed);
    const auto oneIn = [&random](unsigned i_count) {
        return random() % i_count == 0;
    };
    auto entries = oneIn(8) ? std::nullopt : Unpack(Fuzz::ToText(iop_data, i_size));
    if (!entries || entries->empty())
        return LLVMFuzzerMutate(iop_data, i_size, i_max_size);

    const std::size_t index = random() % entries->size();
    if (oneIn(16))
        Mutate((*entries)[index].name, 200);
    else if (oneIn(32))
        entries->erase(entries->begin() + static_cast<std::ptrdiff_t>(index));
    else if (oneIn(32))
        entries->push_back({(*entries)[index].name + "2", (*entries)[index].content});
    else
        Mutate((*entries)[index].content, i_max_size);
    using Packing = TavSDK::ZipWriter::Packing;
    const std::string bytes = Pack(*entries, oneIn(2) ? Packing::Deflate : Packing::Store);
    if (bytes.empty() || bytes.size() > i_max_size)
        return LLVMFuzzerMutate(iop_data, i_size, i_max_size);
    std::memcpy(iop_data, bytes.data(), bytes.size());
    return bytes.size();
}
