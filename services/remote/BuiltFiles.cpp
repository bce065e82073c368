#include "remote/BuiltFiles.h"

#include "contract/Failure.h"
#include "contract/JobFolder.h"
#include "tavam/AMXFileReader.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"

#include <fnmatch.h>

#include <optional>

namespace MachineService::Remote {

namespace {

constexpr std::size_t LongestExtension = 32; // bytes

/// As hosts tell which of the files are platforms.
bool IsPlatform(const std::string& i_name)
{
    return fnmatch("*.TavAMX", i_name.c_str(), FNM_CASEFOLD) == 0;
}

/// Behind the job's name; a service chose it.
std::string GetExtension(const std::filesystem::path& i_file)
{
    const std::string name = ToFileName('x' + i_file.extension().string());
    return name.size() <= LongestExtension ? name.substr(1) : std::string();
}

/// Lets every platform of a file name the machine file.
void NameMachineFile(const std::filesystem::path& i_file, const std::filesystem::path& i_machine_file,
                     const std::stop_token& i_stop)
{
    using TavAM::PropertyNames::Print3D::MachineFile;
    try {
        TavAM::Database database;
        TavAM::AMXFileReader::Read(i_file, database, i_stop);
        bool isOther = false;
        for (std::size_t index = 0; index < database.GetNumPlatforms(); ++index) {
            auto& properties = database.GetPlatform(index)->GetAMXProperties();
            if (i_machine_file.empty() && !properties.Has(MachineFile))
                continue;
            properties.SetText(MachineFile, TavSDK::PathToWide(i_machine_file));
            isOther = true;
        }
        if (isOther)
            TavAM::AMXFileWriter().WriteFile(i_file, database);
    } catch (const TavSDK::FileError& failure) {
        // Reading that is stopped ends like a damaged file.
        if (i_stop.stop_requested())
            throw CommunicationException(ErrorCode::ProcessingAborted);
        Fail(ErrorCode::FileError, std::string("The platform that the machine built cannot be taken: ") +
                                       failure.what() + " Run the command again.");
    }
}

} // namespace

void KeepBuiltFiles(const BuildPlace& i_place, const std::filesystem::path& i_output_dir,
                    const std::vector<std::string>& i_names, const std::stop_token& i_stop)
{
    std::vector<std::filesystem::path> platforms;
    std::vector<std::filesystem::path> machineFiles;
    for (const std::string& name : i_names)
        (IsPlatform(name) ? platforms : machineFiles).push_back(i_output_dir / TavSDK::PathFromUtf8(name));
    if (machineFiles.size() > 1)
        Fail(ErrorCode::InternalError, "The machine service left " + std::to_string(machineFiles.size()) +
                                           " files beside the platform that it built, where one machine file belongs; "
                                           "it needs to be repaired.");
    std::optional<JobFolder> job;
    std::filesystem::path kept;
    if (!machineFiles.empty()) {
        job.emplace(std::filesystem::absolute(i_place.jobsDir), i_place.machineFolder, i_place.jobName);
        kept = job->AddFile(machineFiles.front(), GetExtension(machineFiles.front()), i_stop);
    }
    for (const auto& platform : platforms)
        NameMachineFile(platform, kept, i_stop);
    // A host that cancelled never learns where the job is.
    if (i_stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (job)
        job->Keep();
}

} // namespace MachineService::Remote
