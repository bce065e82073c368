#include "buildprocessor/PlatformCommand.h"

#include <QString>

#include <utility>

namespace MachineService::BuildProcessor {

PlatformCommand::PlatformCommand(const JobInput& i_input)
    : _input(i_input)
    , _progress(i_input)
{
    _progress.Report(0, "Reading the platform");
    _platform = ReadPlatform(i_input.parameters);
}

MachineSettings PlatformCommand::ReadSettings()
{
    return ReadMachineSettings(_input.settingsDir, _input.profile, _notes);
}

std::unique_ptr<SlicedPlatform> PlatformCommand::Slice()
{
    auto sliced = SlicePlatform(_input, _platform, _progress);
    _notes.insert(_notes.end(), sliced->notes.begin(), sliced->notes.end());
    return sliced;
}

void PlatformCommand::Set(const wchar_t* ip_name, const std::string& i_text)
{
    _platform->GetAMXProperties().SetText(ip_name, QString::fromStdString(i_text).toStdWString());
}

CommandResult PlatformCommand::Finish(DataFormat i_format, std::string i_message)
{
    auto result = WriteResult(_input, *_platform, i_format, AddLines(std::move(i_message), _notes));
    _progress.Finish();
    return result;
}

} // namespace MachineService::BuildProcessor
