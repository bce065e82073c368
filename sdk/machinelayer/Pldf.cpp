#include "machinelayer/Pldf.h"

#include "machinelayer/MachineNodes.h"
#include "machinelayer/ParameterNames.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace MachineLayer::PLDF {

void ConvertFromPLDF(IMachineData& io_data, const TavAM::MachineParameters& i_parameters,
                     const PldfConvertOptions& i_options)
{
    std::map<std::wstring, std::wstring> rest;
    Data::Machine parameters;
    try {
        parameters = NodeToMachine(GrowMachine(i_parameters.values, rest));
    } catch (const FieldError& error) {
        throw std::invalid_argument(std::string(error.what()) + '.');
    }

    Data::Machine& machine = io_data.Edit();
    if (i_options.properties) {
        machine.properties = std::move(parameters.properties);
        machine.properties.name = i_parameters.name;
        machine.properties.manufacturer = i_parameters.manufacturer;
        machine.properties.modelId = i_parameters.modelId;
        machine.settings = std::move(rest);
    }
    if (i_options.platform) {
        machine.platformShape = parameters.platformShape;
        machine.platformGeometry = parameters.platformGeometry;
        machine.scanFields = std::move(parameters.scanFields);
        machine.baseplate = std::move(parameters.baseplate);
    }
    if (i_options.profiles) {
        machine.surfaceTypeProfiles = std::move(parameters.surfaceTypeProfiles);
        machine.supportProfileSet = std::move(parameters.supportProfileSet);
        machine.nesting = std::move(parameters.nesting);
        machine.zBrace = parameters.zBrace;
        machine.zCompensation = std::move(parameters.zCompensation);
        machine.partExport = std::move(parameters.partExport);
    }
}

TavAM::MachineParameters ConvertToMachineParameters(const IMachineData& i_data)
{
    const Data::Machine& machine = i_data.Get();
    TavAM::MachineParameters parameters;
    parameters.name = machine.properties.name;
    parameters.manufacturer = machine.properties.manufacturer;
    parameters.modelId = machine.properties.modelId;
    // First, so that a setting with the name of a parameter gives way to it.
    for (const auto& [name, text] : machine.settings)
        parameters.values.SetText(name, text);
    FlattenMachine(MachineToNode(machine, false), parameters.values);
    return parameters;
}

} // namespace MachineLayer::PLDF
