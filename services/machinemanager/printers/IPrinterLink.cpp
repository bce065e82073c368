#include "machinemanager/printers/IPrinterLink.h"

#include "machinemanager/printers/Description.h"
#include "machinemanager/printers/FolderLink.h"
#include "machinemanager/printers/HttpLink.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <boost/uuid/uuid_io.hpp>

#include <QString>

#include <algorithm>
#include <string_view>
#include <utility>

namespace MachineService::MachineManager {

namespace {

std::unique_ptr<IPrinterLink> MakeFolderLink(const Description& i_description)
{
    i_description.AllowOnly({"kind", "path", "confirmedAfter"});
    std::filesystem::path path;
    try {
        path = TavSDK::PathFromUtf8(i_description.FindText("path"));
    } catch (const TavSDK::FileError&) {
        // Refused below, like every other text that names no folder.
    }
    if (!path.is_absolute())
        i_description.Refuse("path", "is the absolute name of a folder.");
    std::error_code failure;
    if (!std::filesystem::is_directory(path, failure))
        i_description.Refuse("path", "names no folder: there is no " + TavSDK::Quote(TavSDK::ShowPath(path)) +
                                         "; make it first.");
    constexpr int usual = 30;
    constexpr int longest = 7 * 24 * 3600;
    const int after =
        i_description.Has("confirmedAfter") ? i_description.GetNumber("confirmedAfter", 1, longest) : usual;
    return std::make_unique<FolderLink>(path, std::chrono::seconds(after));
}

std::unique_ptr<IPrinterLink> MakeHttpLink(const Description& i_description)
{
    return std::make_unique<HttpLink>(ReadHttpSteps(i_description));
}

using Make = std::unique_ptr<IPrinterLink> (*)(const Description&);

constexpr std::pair<const char*, Make> Kinds[] = {
    {"folder", MakeFolderLink},
    {"http", MakeHttpLink},
};

/// Of a name, what no file system, header or path takes for anything but a letter.
std::string Clean(std::string_view i_name)
{
    constexpr std::string_view special = "/\\:*?\"<>|%";
    auto text = TavSDK::ReplaceInvalid(i_name);
    for (char& character : text) {
        if (static_cast<unsigned char>(character) < ' ' || character == '\x7f' ||
            special.find(character) != std::string_view::npos)
            character = '_';
    }
    return text;
}

bool IsEnding(std::string_view i_text)
{
    constexpr std::size_t longest = 16;
    return i_text.size() > 1 && i_text.size() <= longest &&
           std::all_of(i_text.begin() + 1, i_text.end(), [](char i_character) {
               return (i_character >= 'a' && i_character <= 'z') || (i_character >= 'A' && i_character <= 'Z') ||
                      (i_character >= '0' && i_character <= '9');
           });
}

} // namespace

std::string PrintOrder::GetKey() const
{
    return boost::uuids::to_string(job) + '-' + std::to_string(copy);
}

std::string PrintOrder::GetFileName() const
{
    constexpr std::size_t longest = 120;
    const std::string_view whole = fileName;
    const auto dot = std::min(whole.rfind('.'), whole.size());
    const bool hasEnding = IsEnding(whole.substr(dot));
    auto name = Clean(hasEnding ? whole.substr(0, dot) : whole);
    // A leading dot hides a file from who watches the folder.
    name.erase(0, std::min(name.find_first_not_of(". "), name.size()));
    name = TavSDK::CutUtf8(name, longest);
    if (name.empty())
        name = "job";
    return name + " - " + GetKey() + std::string(hasEnding ? whole.substr(dot) : std::string_view());
}

std::unique_ptr<IPrinterLink> MakePrinterLink(const std::string& i_json)
{
    const auto description = Description::Parse(i_json);
    const auto kind = description.GetValue("kind").toString();
    for (const auto& [name, make] : Kinds) {
        if (kind == QLatin1String(name))
            return make(description);
    }
    description.Refuse("kind", "is 'folder' or 'http'.");
}

} // namespace MachineService::MachineManager
