#include "machinelayer/Pldf.h"

#include "machinelayer/MachineDescription.h"

#include <string>
#include <utility>

namespace MachineLayer::PLDF {

namespace {

/// Parameters have fields of their own for these.
bool IsOwnField(const std::string& i_attribute)
{
    return i_attribute == "name" || i_attribute == "manufacturer" || i_attribute == "modelId";
}

/// Settings keep their own names among parameters.
Schema MakeParameterSchema()
{
    Schema schema = MakeMachineSchema("MachineParameters");
    std::erase_if(schema.children, [](const Schema& i_child) { return i_child.name == "Setting"; });
    for (Schema& child : schema.children) {
        if (child.name == "Machine") {
            std::erase_if(child.attributes, IsOwnField);
        }
    }
    return schema;
}

} // namespace

void ConvertFromPLDF(IMachineData& io_data, const TavAM::MachineParameters& i_parameters,
                     const PldfConvertOptions& i_options)
{
    std::map<std::wstring, std::wstring> rest;
    const Node tree = GrowTree(i_parameters.values, MakeParameterSchema(), rest);
    Data::Machine parameters = ReadMachine(tree);

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
    Node tree = DescribeMachine(machine);
    for (Node& child : tree.children) {
        if (child.name == "Machine") {
            std::erase_if(child.attributes, [](const auto& i_attribute) { return IsOwnField(i_attribute.first); });
        }
    }
    FlattenTree(tree, MakeParameterSchema(), parameters.values);
    return parameters;
}

} // namespace MachineLayer::PLDF
