#include "buildprocessor/machines/MachineRecord.h"

#include "machinelayer/IMachineData.h"
#include "machinelayer/Pldf.h"
#include "machinelayer/PldfFile.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <memory>

namespace MachineService::BuildProcessor {

namespace {

Data::MachineProperties MakeProperties(const MachineProfile& i_profile)
{
    Data::MachineProperties properties{
        TavSDK::ToWide(i_profile.name),    TavSDK::ToWide(i_profile.GetDefaultMaterial().name),
        TavSDK::ToWide(i_profile.comment), TavSDK::ToWide(i_profile.manufacturer),
        TavSDK::ToWide(i_profile.modelId), i_profile.technology == Technology::Sla ? L"resin" : L"fused filament",
        i_profile.layerHeights.front(),    {}};
    if (i_profile.technology == Technology::Fff)
        properties.nozzleDiameter = i_profile.nozzleDiameter;
    return properties;
}

/// The platform's shape, the field in which is built, and the plate.
void AddGeometry(const MachineProfile& i_profile, Data::Machine& io_machine)
{
    const BuildVolume volume = *ToMachineData({i_profile, {}}).buildVolume;
    const double width = volume.maxX - volume.minX;
    const double depth = volume.maxY - volume.minY;
    Data::Baseplate& plate =
        io_machine.baseplate.emplace(i_profile.configuration.baseplate.value_or(Data::Baseplate()));
    plate.width = width;
    if (volume.isCircular) {
        io_machine.platformShape = Data::CylinderShape{width, volume.height};
        plate.shape = Data::BaseplateShape::Circle;
    } else {
        io_machine.platformShape = Data::BoxShape{width, depth, volume.height};
        plate.depth = depth;
    }
    if (!i_profile.plates.empty())
        plate.material = TavSDK::ToWide(i_profile.plates[i_profile.defaultPlate].name);
    io_machine.platformGeometry = Data::PlatformGeometry{volume.minX, volume.minY, 0};
    io_machine.scanFields.push_back({{}, volume.minX, volume.minY, volume.maxX, volume.maxY});
}

std::unique_ptr<MachineLayer::IMachineData> MakeMachineData(const MachineProfile& i_profile,
                                                            const MachineSettings& i_settings)
{
    auto data = MachineLayer::CreateMachineData();
    Data::Machine& machine = data->Edit();
    machine.properties = MakeProperties(i_profile);
    AddGeometry(i_profile, machine);
    if (const auto& supports = i_profile.configuration.supportProfiles) {
        machine.surfaceTypeProfiles = supports->surfaceTypes;
        machine.supportProfileSet = supports->inUse;
    }
    // As the command that places parts does it.
    machine.nesting = i_profile.configuration.nesting.value_or(Data::Nesting());
    machine.nesting->partToPart = i_settings.clearances.partToPart;
    machine.nesting->partToWall = i_settings.clearances.partToWall;
    machine.partExport = i_profile.configuration.partExport;
    machine.settings[L"driverId"] = TavSDK::ToWide(i_profile.driverId);
    if (i_profile.technology == Technology::Sla) {
        machine.settings[L"displayPixelsX"] = TavSDK::ToWide(TavSDK::NumberToText(i_profile.displayWidth));
        machine.settings[L"displayPixelsY"] = TavSDK::ToWide(TavSDK::NumberToText(i_profile.displayHeight));
    }
    return data;
}

} // namespace

TavAM::MachineParameters MakeMachineParameters(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    return MachineLayer::PLDF::ConvertToMachineParameters(*MakeMachineData(i_profile, i_settings));
}

std::string MakePldf(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    return MachineLayer::Utilities::WriteMachineDataPLDF(*MakeMachineData(i_profile, i_settings));
}

} // namespace MachineService::BuildProcessor
