#include "buildprocessor/machines/ProfileInstaller.h"

#include "buildprocessor/machines/ProfileReader.h"
#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/InputFile.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

namespace MachineService::BuildProcessor {

namespace {

/// Of the printer's file that is in the folder already; empty for none.
/// \param i_name of the new file.
/// \throws ProfileError when another printer's file has it.
std::filesystem::path FindFileOf(const boost::uuids::uuid& i_printer, const std::filesystem::path& i_folder,
                                 const std::filesystem::path& i_name)
{
    std::filesystem::path found;
    std::error_code error;
    std::filesystem::directory_iterator entry(i_folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const std::filesystem::path name = entry->path().filename();
        if (name.native().front() == '.' || name.extension() != ".json")
            continue;
        try {
            if (ReadProfile(TavSDK::ReadFile(entry->path(), MaxProfileBytes), "").profile.id == i_printer) {
                found = entry->path();
                continue;
            }
        } catch (const std::exception&) {
            // A damaged file is nobody's; under the new one's name it is replaced.
            continue;
        }
        if (name == i_name)
            throw ProfileError(TavSDK::Quote(TavSDK::ShowPath(i_name)) +
                               ": the folder of profiles has a file of this name, which is of another printer. Rename "
                               "the new file.");
    }
    return found;
}

} // namespace

std::string InstallProfile(const std::filesystem::path& i_file, const std::filesystem::path& i_folder,
                           const ProfileFolder::FindFault& i_find_fault)
{
    const std::filesystem::path name = i_file.filename();
    const std::string label = TavSDK::Quote(TavSDK::ShowPath(name));
    try {
        if (name.native().front() == '.' || name.extension() != ".json")
            throw ProfileError(label + ": a profile's name ends with '.json' and begins with no dot");
        const std::string content = TavSDK::ReadFile(i_file, MaxProfileBytes);
        const DatedProfile profile = ReadProfile(content, label);
        if (const std::string fault = i_find_fault(profile.profile); !fault.empty())
            throw ProfileError(label + ": " + fault);
        const std::filesystem::path present = FindFileOf(profile.profile.id, i_folder, name);
        std::filesystem::create_directories(i_folder);
        TavSDK::AtomicFile file(present.empty() ? i_folder / name : present);
        file.Write(content);
        file.Commit();
        return profile.profile.name;
    } catch (const TavSDK::FileError& error) {
        throw ProfileError(label + ": " + error.what());
    } catch (const std::filesystem::filesystem_error& error) {
        throw ProfileError(label + ": the folder of profiles cannot be made: " + error.code().message());
    }
}

} // namespace MachineService::BuildProcessor
