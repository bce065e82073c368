#include "tavam/AMXFileReader.h"

#include "tavam/AMXDocumentReader_p.h"
#include "tavam/AMXFormat_p.h"
#include "tavam/AMXPackageReader_p.h"
#include "tavam/FileError.h"

#include <new>

namespace TavAM {

bool AMXFileReader::ReadFile(const std::filesystem::path& i_path, Database& io_database)
{
    _error.clear();
    try {
        AMXPackageReader package(i_path);
        AMXDocumentReader document({
            [&package](const std::string& i_entry) { return package.ReadMesh(i_entry); },
            [&package](const std::string& i_entry) {
                return package.ReadBytes(i_entry, AMXFormat::LargestUnpackedSize);
            },
        });
        const std::string text = package.ReadBytes(AMXFormat::DocumentEntry, TavSDK::XmlBounds::Document);
        if (!document.ParseText(text))
            throw FileError(std::string("its entry \"") + AMXFormat::DocumentEntry + "\": " + document.GetError());
        for (auto& platform : document.TakePlatforms())
            io_database.AddPlatform(std::move(platform));
        return true;
    } catch (const std::bad_alloc&) {
        _error = "there is not enough memory";
    } catch (const std::exception& error) {
        _error = error.what();
    }
    while (!_error.empty() && _error.back() == '.')
        _error.pop_back();
    _error = "The file \"" + i_path.string() + "\" cannot be read: " + _error + ".";
    return false;
}

} // namespace TavAM
