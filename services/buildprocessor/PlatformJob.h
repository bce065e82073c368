#pragma once

#include "buildprocessor/Figures.h"
#include "buildprocessor/MachineProfile.h"
#include "buildprocessor/PartGeometry.h"
#include "client/interface/CommandTypes.h"
#include "client/interface/ScopedTempDir.h"
#include "tavam/Platform.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// What a run of a command needs.
struct JobInput
{
    const MachineProfile& profile;
    const CommandParameters& parameters;
    const std::optional<std::string>& enginePath;
    const std::filesystem::path& jobsDir;
    const std::filesystem::path& settingsDir; ///< of the machines' own settings
    std::stop_token stop;                     ///< of the job; the parameters' own is not asked
};

/// Tells the caller how far the job is; only forwards, and only while it is wanted.
class JobProgress
{
public:
    explicit JobProgress(const JobInput& i_input)
        : _input(i_input)
    {}

    /// \throws CommunicationException ProcessingAborted when the job is to stop.
    void Report(int i_percent, const std::string& i_stage);
    /// The job is done, and stays so even if its caller gave up in this moment.
    void Finish() const;

private:
    const JobInput& _input;
    int _percent = 0;
};

/// Runs a job and turns what it throws into a CommunicationException with a sentence for the user.
CommandResult RunGuarded(const std::function<CommandResult()>& i_job);

/// The platform of the input file; what the parameters tell of a part counts before the file.
std::shared_ptr<TavAM::Platform> ReadPlatform(const CommandParameters& i_parameters);
/// \throws CommunicationException FileError for no part, and naming parts that are not meshes altogether.
std::vector<PartGeometry> GetGeometries(const TavAM::Platform& i_platform);
/// The text with the lines behind it.
std::string AddLines(std::string i_text, const std::vector<std::string>& i_lines);
/// Writes the platform as the result of a command.
CommandResult WriteResult(const JobInput& i_input, const TavAM::Platform& i_platform, DataFormat i_format,
                          std::string i_message);

/// A platform that went through the engine.
struct SlicedPlatform
{
    ScopedTempDir workDir;
    MachineProfile profile;            ///< with the platform's layer height, material and rules
    std::filesystem::path machineFile; ///< checked; goes with workDir
    Figures figures;
    std::vector<std::string> notes; ///< what had to be replaced or is not done, a sentence each
};

/// Gives the parts their strategies, checks volume and collisions, slices, and checks the outcome. The platform gets
/// figures, strategies and settings. Reports up to 90 percent.
std::unique_ptr<SlicedPlatform>
SlicePlatform(const JobInput& i_input, const std::shared_ptr<TavAM::Platform>& ip_platform, JobProgress& io_progress);

} // namespace MachineService::BuildProcessor
