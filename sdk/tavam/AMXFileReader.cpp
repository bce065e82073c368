#include "tavam/AMXFileReader.h"

#include "tavam/AMXDocumentReader_p.h"
#include "tavam/AMXFormat_p.h"
#include "tavam/AMXPackageReader_p.h"
#include "tavam/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/ZipBounds.h"

#include <new>

namespace TavAM {

namespace {

void FailIfStopped(const std::stop_token& i_stop)
{
    if (i_stop.stop_requested())
        throw FileError("it is not wanted any more");
}

std::vector<std::shared_ptr<Platform>> ReadPlatforms(const std::filesystem::path& i_path, const std::stop_token& i_stop)
{
    AMXPackageReader package(i_path);
    AMXDocumentReader document({
        [&](const std::string& i_entry) {
            FailIfStopped(i_stop);
            return package.ReadMesh(i_entry);
        },
        [&](const std::string& i_entry) {
            FailIfStopped(i_stop);
            return package.ReadBytes(i_entry, TavSDK::ZipBounds().unpackedSize);
        },
    });
    FailIfStopped(i_stop);
    const std::string text = package.ReadBytes(AMXFormat::DocumentEntry, TavSDK::XmlBounds::Document);
    if (!document.ParseText(text))
        throw FileError("its entry " + TavSDK::Quote(AMXFormat::DocumentEntry) + ": " + document.GetError());
    return document.TakePlatforms();
}

} // namespace

void AMXFileReader::Read(const std::filesystem::path& i_path, Database& io_database, const std::stop_token& i_stop)
{
    std::string reason;
    try {
        for (auto& platform : ReadPlatforms(i_path, i_stop))
            io_database.AddPlatform(std::move(platform));
        return;
    } catch (const std::bad_alloc&) {
        reason = "there is not enough memory";
    } catch (const std::exception& error) {
        reason = error.what();
    }
    while (!reason.empty() && reason.back() == '.')
        reason.pop_back();
    throw FileError("The file " + TavSDK::Quote(TavSDK::ShowPath(i_path)) + " cannot be read: " + reason + ".");
}

bool AMXFileReader::ReadFile(const std::filesystem::path& i_path, Database& io_database)
{
    _error.clear();
    try {
        Read(i_path, io_database);
    } catch (const FileError& error) {
        _error = error.what();
    }
    return _error.empty();
}

} // namespace TavAM
