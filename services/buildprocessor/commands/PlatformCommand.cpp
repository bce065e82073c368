#include "buildprocessor/commands/PlatformCommand.h"

#include "buildprocessor/platform/PlatformFiles.h"
#include "tavsdk/Utf8.h"

#include <utility>

namespace MachineService::BuildProcessor {

PlatformCommand::PlatformCommand(const JobInput& i_input)
    : _input(i_input)
    , _progress(i_input)
{
    _progress.Report(0, "Reading the platform");
    _platform = ReadPlatform(i_input.parameters, i_input.stop);
}

JobSettings PlatformCommand::Settle() const
{
    return SettleJobSettings(_input.profile, _input.settingsDir, *_platform);
}

std::unique_ptr<SlicedPlatform> PlatformCommand::Slice(JobSettings& io_settings)
{
    return SlicePlatform(_input, SlicingAim::Estimates, io_settings, *_platform, _progress);
}

void PlatformCommand::AddNotes(const std::vector<std::string>& i_notes)
{
    _notes.insert(_notes.end(), i_notes.begin(), i_notes.end());
}

void PlatformCommand::Set(const wchar_t* ip_name, const std::string& i_text)
{
    _platform->GetAMXProperties().SetText(ip_name, TavSDK::ToWide(i_text));
}

CommandResult PlatformCommand::Finish(DataFormat i_format, std::string i_message)
{
    auto result = WriteResult(_input.parameters, *_platform, i_format, std::move(i_message), _notes);
    _progress.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
