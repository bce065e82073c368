#include "buildprocessor/PlatformInformation.h"

#include "buildprocessor/Failure.h"
#include "buildprocessor/MachineRecord.h"
#include "buildprocessor/MachineSettings.h"
#include "buildprocessor/PlatformChoices.h"
#include "buildprocessor/PlatformJob.h"
#include "buildprocessor/PrivateFile.h"
#include "client/interface/ScopedTempDir.h"
#include "tavam/AMXFileWriter.h"
#include "tavsdk/XmlWriter.h"

#include <QByteArray>
#include <QString>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxPlatformBytes = 10'000'000; ///< one without parts is far below

void Report(const PlatformRequest& i_request, int i_percent)
{
    if (i_request.stop.stop_requested())
        throw CommunicationException(ErrorCode::ProcessingAborted);
    if (i_request.onProgress)
        i_request.onProgress(i_percent);
}

void WriteElement(TavSDK::XmlWriter& io_writer, const char* ip_name, const std::string& i_text)
{
    io_writer.WriteStartTag(ip_name);
    io_writer.WriteCharacterData(i_text);
    io_writer.WriteEndTag(ip_name);
}

void WriteChoice(TavSDK::XmlWriter& io_writer, const PlatformChoice& i_choice)
{
    io_writer.WriteStartTag("Choice");
    io_writer.WriteAttribute("id", i_choice.id);
    io_writer.WriteAttribute("name", i_choice.name);
    if (i_choice.isRequired)
        io_writer.WriteAttribute("isRequired", "true");
    for (const PlatformChoice::Item& item : i_choice.items) {
        io_writer.WriteStartTag("Item");
        io_writer.WriteAttribute("id", item.id);
        io_writer.WriteAttribute("name", item.name);
        if (item.isDefault)
            io_writer.WriteAttribute("isDefault", "true");
        io_writer.WriteEndTag("Item");
    }
    io_writer.WriteEndTag("Choice");
}

std::string WriteInformation(const MachineProfile& i_profile, const std::vector<PlatformChoice>& i_choices)
{
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag("PlatformInformation");
    WriteElement(writer, "Name", i_profile.name);
    WriteElement(writer, "Comment", i_profile.comment);
    writer.WriteStartTag("Materials");
    for (const Material& material : i_profile.materials) {
        writer.WriteStartTag("Material");
        writer.WriteAttribute("name", material.name);
        writer.WriteEndTag("Material");
    }
    writer.WriteEndTag("Materials");
    writer.WriteStartTag("Parameters");
    for (const PlatformChoice& choice : i_choices)
        WriteChoice(writer, choice);
    writer.WriteEndTag("Parameters");
    writer.WriteEndTag("PlatformInformation");
    writer.Close();
    return writer.TakeText();
}

/// A platform of the profile's defaults. What io_platform already has of them stays.
Platform MakePlatformItem(const MachineProfile& i_profile, const MachineSettings& i_settings,
                          TavAM::Platform& io_platform)
{
    io_platform.SetName(QString::fromStdString(i_profile.name).toStdWString());
    io_platform.SetMachine(MakeMachineParameters(i_profile, i_settings));
    StorePlatformSettings(i_profile, io_platform);
    const ScopedTempDir dir;
    const auto file = dir.GetAbsoluteFileNameInTempDir("platform.TavAMX");
    TavAM::AMXFileWriter().WriteFile(file, io_platform);
    return {PlatformDataKind::Platform, ReadBoundedFile(file, MaxPlatformBytes).value()};
}

PlatformInfo MakeInformation(const PlatformRequest& i_request)
{
    Report(i_request, 0);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_request.settingsDir, i_request.profile, notes);
    TavAM::Platform platform;
    const MachineProfile defaults = ApplyPlatformSettings(i_request.profile, settings, platform, notes);
    PlatformInfo info;
    Report(i_request, 20);
    info.xml = WriteInformation(defaults, GetPlatformChoices(i_request.profile, defaults));
    Report(i_request, 40);
    info.items.push_back(MakePlatformItem(defaults, settings, platform));
    Report(i_request, 80);
    const std::string configuration = MakeMachineConfiguration(defaults, settings);
    info.items.push_back({PlatformDataKind::MachineConfiguration,
                          QByteArray::fromRawData(configuration.data(), static_cast<int>(configuration.size()))
                              .toBase64()
                              .toStdString()});
    for (const std::string& note : notes)
        info.message += (info.message.empty() ? "" : "\n") + note;
    Report(i_request, 100);
    return info;
}

std::pair<CommandResult, Platform> MakeEmpty(const PlatformRequest& i_request, const std::string& i_parameters)
{
    Report(i_request, 0);
    std::vector<std::string> notes;
    const MachineSettings settings = ReadMachineSettings(i_request.settingsDir, i_request.profile, notes);
    TavAM::Platform platform;
    const MachineProfile defaults = ApplyPlatformSettings(i_request.profile, settings, platform, notes);
    const auto choices = GetPlatformChoices(i_request.profile, defaults);
    for (const auto& [id, value] : ReadChosenValues(i_parameters, i_request.profile.name, choices))
        platform.GetAMXProperties().SetText(QString::fromStdString(id).toStdWString(),
                                            QString::fromStdString(value).toStdWString());
    Report(i_request, 30);
    // The same way as Build goes later.
    const MachineProfile profile = ApplyPlatformSettings(i_request.profile, settings, platform, notes);
    std::pair<CommandResult, Platform> answer;
    answer.second = MakePlatformItem(profile, settings, platform);
    answer.first.dataFormat = DataFormat::Platform;
    answer.first.message = "The platform is built with layers of " + ToNumberText(profile.layerHeights.front()) +
                           " mm in '" + profile.GetDefaultMaterial().name + "'.";
    Report(i_request, 100);
    return answer;
}

/// What the service's files or memory refuse becomes a sentence for the user.
template <class Work>
auto Guarded(const Work& i_work)
{
    decltype(i_work()) answer;
    RunGuarded([&] {
        answer = i_work();
        return CommandResult();
    });
    return answer;
}

} // namespace

PlatformInfo MakePlatformInformation(const PlatformRequest& i_request)
{
    return Guarded([&] { return MakeInformation(i_request); });
}

std::pair<CommandResult, Platform> MakeEmptyPlatform(const PlatformRequest& i_request, const std::string& i_parameters)
{
    return Guarded([&] { return MakeEmpty(i_request, i_parameters); });
}

} // namespace MachineService::BuildProcessor
