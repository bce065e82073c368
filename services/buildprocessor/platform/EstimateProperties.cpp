#include "buildprocessor/platform/EstimateProperties.h"

#include "tavam/PropertyNames.h"

#include <QString>

namespace MachineService::BuildProcessor {

namespace {

namespace Names = TavAM::PropertyNames::Print3D;

void SetNumber(TavAM::PersistentProperties& io_properties, const wchar_t* ip_name, double i_value, int i_digits)
{
    io_properties.SetText(ip_name, QString::number(i_value, 'f', i_digits).toStdWString());
}

/// Those of an earlier build, perhaps on another machine.
void RemoveEstimates(TavAM::PersistentProperties& io_properties)
{
    for (const wchar_t* name :
         {Names::LayerCount, Names::PrintTimeSeconds, Names::MaterialMillimetres, Names::MaterialCubicCentimetres,
          Names::MaterialGrams, Names::MachineFile, Names::JobName})
        io_properties.Remove(name);
}

} // namespace

void StoreEstimates(const Estimates& i_estimates, const Material& i_material, TavAM::Platform& io_platform)
{
    auto& properties = io_platform.GetAMXProperties();
    RemoveEstimates(properties);
    SetNumber(properties, Names::LayerCount, static_cast<double>(i_estimates.layers), 0);
    SetNumber(properties, Names::PrintTimeSeconds, i_estimates.seconds, 0);
    if (i_estimates.millimetres)
        SetNumber(properties, Names::MaterialMillimetres, *i_estimates.millimetres, 2);
    SetNumber(properties, Names::MaterialCubicCentimetres, i_estimates.cubicCentimetres, 3);
    SetNumber(properties, Names::MaterialGrams, i_estimates.grams, 2);
    for (std::size_t index = 0; index < io_platform.GetParts().size(); ++index) {
        auto& ofPart = io_platform.GetParts()[index].GetAMXProperties();
        RemoveEstimates(ofPart);
        if (index >= i_estimates.parts.size())
            continue;
        const PartEstimates& part = i_estimates.parts[index];
        const double volume = GetFilamentVolume(i_material, part.millimetres);
        SetNumber(ofPart, Names::LayerCount, static_cast<double>(part.layers), 0);
        SetNumber(ofPart, Names::MaterialMillimetres, part.millimetres, 2);
        SetNumber(ofPart, Names::MaterialCubicCentimetres, volume, 3);
        SetNumber(ofPart, Names::MaterialGrams, volume * i_material.density, 2);
    }
}

} // namespace MachineService::BuildProcessor
