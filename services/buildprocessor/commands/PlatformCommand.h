#pragma once

#include "buildprocessor/platform/SlicedPlatform.h"

#include <memory>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// The frame of a command that takes a platform and gives it back: reads it, keeps notes, writes the result.
class PlatformCommand
{
public:
    /// \throws CommunicationException FileError for a platform that cannot be read.
    explicit PlatformCommand(const JobInput& i_input);

    /// As JobProgress::Report.
    void Report(int i_percent, const std::string& i_stage) { _progress.Report(i_percent, i_stage); }
    TavAM::Platform& GetPlatform() { return *_platform; }
    /// As SettleJobSettings; the notes stay with the settings.
    JobSettings Settle() const;
    /// As SlicePlatform, for the estimates.
    std::unique_ptr<SlicedPlatform> Slice(JobSettings& io_settings);
    /// Sentences for the end of the message, a line each.
    void AddNotes(const std::vector<std::string>& i_notes);
    void Set(const wchar_t* ip_name, const std::string& i_text);
    CommandResult Finish(DataFormat i_format, std::string i_message);

private:
    const JobInput& _input;
    JobProgress _progress;
    std::shared_ptr<TavAM::Platform> _platform;
    std::vector<std::string> _notes;
};

} // namespace MachineService::BuildProcessor
