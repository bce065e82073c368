#include "buildprocessor/platform/PlatformInformation.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/machines/MachineRecord.h"
#include "buildprocessor/platform/JobSettings.h"
#include "buildprocessor/platform/PlatformChoices.h"
#include "client/interface/ScopedTempDir.h"
#include "contract/Guard.h"
#include "contract/PrivateFile.h"
#include "tavam/AMXFileWriter.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlWriter.h"

#include <QByteArray>
namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxPlatformBytes = 10'000'000; ///< one without parts is far below

void Report(const PlatformRequest& i_request, int i_percent)
{
    ThrowIfStopped(i_request.stop);
    if (i_request.onProgress)
        i_request.onProgress(i_percent);
}

std::string WriteInformation(const MachineProfile& i_profile, std::vector<PlatformChoice> i_choices)
{
    PlatformDescription description{i_profile.name, i_profile.comment, {}, std::move(i_choices)};
    for (const Material& material : i_profile.materials)
        description.materials.push_back(material.name);
    return WritePlatformInformation(description);
}

/// A platform of the settings. What io_platform already has of them stays.
Platform MakePlatformItem(const JobSettings& i_settings, TavAM::Platform& io_platform)
{
    io_platform.SetName(TavSDK::ToWide(i_settings.profile.name));
    io_platform.SetMachine(MakeMachineParameters(i_settings.profile, i_settings.machine));
    StoreJobSettings(i_settings, io_platform);
    const ScopedTempDir dir;
    const auto file = dir.GetAbsoluteFileNameInTempDir("platform.TavAMX");
    TavAM::AMXFileWriter().WriteFile(file, io_platform);
    return {PlatformDataKind::Platform, ReadBoundedFile(file, MaxPlatformBytes).value()};
}

PlatformInfo MakeInformation(const PlatformRequest& i_request)
{
    Report(i_request, 0);
    TavAM::Platform platform;
    const JobSettings defaults = SettleJobSettings(i_request.profile, i_request.settingsDir, platform);
    PlatformInfo info;
    Report(i_request, 20);
    info.xml = WriteInformation(defaults.profile, GetPlatformChoices(i_request.profile, defaults.profile));
    Report(i_request, 40);
    info.items.push_back(MakePlatformItem(defaults, platform));
    Report(i_request, 80);
    const std::string configuration = MakePldf(defaults.profile, defaults.machine);
    info.items.push_back({PlatformDataKind::MachineConfiguration,
                          QByteArray::fromRawData(configuration.data(), static_cast<int>(configuration.size()))
                              .toBase64()
                              .toStdString()});
    for (const std::string& note : defaults.notes)
        info.message += (info.message.empty() ? "" : "\n") + note;
    Report(i_request, 100);
    return info;
}

std::pair<CommandResult, Platform> MakeEmpty(const PlatformRequest& i_request, const std::string& i_parameters)
{
    Report(i_request, 0);
    TavAM::Platform platform;
    const JobSettings defaults = SettleJobSettings(i_request.profile, i_request.settingsDir, platform);
    const auto choices = GetPlatformChoices(i_request.profile, defaults.profile);
    for (const auto& [id, value] : ReadChosenValues(i_parameters, i_request.profile.name, choices))
        platform.GetAMXProperties().SetText(TavSDK::ToWide(id), TavSDK::ToWide(value));
    Report(i_request, 30);
    // The same way as Build goes later.
    const JobSettings settings = SettleJobSettings(i_request.profile, i_request.settingsDir, platform);
    std::pair<CommandResult, Platform> answer;
    answer.second = MakePlatformItem(settings, platform);
    answer.first.dataFormat = DataFormat::Platform;
    answer.first.message = "The platform is built with layers of " +
                           TavSDK::NumberToText(settings.profile.layerHeights.front()) + " mm in '" +
                           settings.profile.GetDefaultMaterial().name + "'.";
    Report(i_request, 100);
    return answer;
}

} // namespace

PlatformInfo MakePlatformInformation(const PlatformRequest& i_request)
{
    return RunGuarded([&] { return MakeInformation(i_request); }, "The job failed: ");
}

std::pair<CommandResult, Platform> MakeEmptyPlatform(const PlatformRequest& i_request, const std::string& i_parameters)
{
    return RunGuarded([&] { return MakeEmpty(i_request, i_parameters); }, "The job failed: ");
}

} // namespace MachineService::BuildProcessor
