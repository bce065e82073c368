#pragma once

#include "buildprocessor/MachineSettings.h"
#include "buildprocessor/PlatformJob.h"

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
    /// Those of the machine; what had to be replaced becomes a note.
    MachineSettings ReadSettings();
    /// Sentences for the end of the message, a line each.
    std::vector<std::string>& GetNotes() { return _notes; }
    /// As SlicePlatform; what it notes becomes notes.
    std::unique_ptr<SlicedPlatform> Slice();
    void Set(const wchar_t* ip_name, const std::string& i_text);
    CommandResult Finish(DataFormat i_format, std::string i_message);

private:
    const JobInput& _input;
    JobProgress _progress;
    std::shared_ptr<TavAM::Platform> _platform;
    std::vector<std::string> _notes;
};

} // namespace MachineService::BuildProcessor
