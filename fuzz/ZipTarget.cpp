#include "Fuzz.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/ZipReader.h"
#include "tavsdk/ZipWriter.h"

#include <map>

namespace {

std::map<std::string, std::string> ReadAll(const TavSDK::ZipReader& i_package)
{
    std::map<std::string, std::string> entries;
    for (const std::string& name : i_package.GetNames())
        entries[name] = i_package.ReadBytes(name, 10'000'000);
    return entries;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    std::map<std::string, std::string> entries;
    try {
        const auto package = TavSDK::ZipReader::FromBytes(Fuzz::ToText(ip_data, i_size));
        entries = ReadAll(package);
    } catch (const TavSDK::FileError& failure) {
        Fuzz::RequireSentence(failure);
        return 0;
    }
    if (entries.empty())
        return 0;
    TavSDK::ZipWriter writer;
    for (const auto& [name, content] : entries)
        writer.Add(name, {content}, TavSDK::ZipWriter::Packing::Deflate);
    TavSDK::AtomicFile file(Fuzz::GetFolder() / "written.zip");
    writer.Write(file.GetDescriptor());
    const TavSDK::ZipReader again(file.GetTemporaryPath());
    Fuzz::Require(ReadAll(again) == entries, "a package reads back the same");
    return 0;
}
