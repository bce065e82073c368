#include "buildprocessor/MachineRecord.h"

#include "tavsdk/XmlWriter.h"

#include <QString>

#include <utility>
#include <vector>

namespace MachineService::BuildProcessor {

namespace {

constexpr char MachineElement[] = "Machine";
constexpr char SettingElement[] = "Setting";

struct Element
{
    std::string name;
    std::string flatName; ///< begins the names of its attributes among the machine parameters
    std::vector<std::pair<std::string, std::string>> attributes;
};

Element MakeMachine(const MachineProfile& i_profile)
{
    Element machine{MachineElement,
                    "machine",
                    {{"name", i_profile.name},
                     {"material", i_profile.GetDefaultMaterial().name},
                     {"comment", i_profile.comment},
                     {"manufacturer", i_profile.manufacturer},
                     {"modelId", i_profile.modelId},
                     {"technology", i_profile.technology == Technology::Sla ? "resin" : "fused filament"},
                     {"layerHeight", ToNumberText(i_profile.layerHeights.front())}}};
    if (i_profile.technology == Technology::Fff)
        machine.attributes.emplace_back("nozzleDiameter", ToNumberText(i_profile.nozzleDiameter));
    return machine;
}

/// The platform's shape, the field in which is built, and the plate.
void AddGeometry(const MachineProfile& i_profile, std::vector<Element>& io_elements)
{
    const BuildVolume volume = *ToMachineData({i_profile, {}}).buildVolume;
    const std::string width = ToNumberText(volume.maxX - volume.minX);
    const std::string depth = ToNumberText(volume.maxY - volume.minY);
    const std::string minX = ToNumberText(volume.minX);
    const std::string minY = ToNumberText(volume.minY);

    Element platform{"Platform", "platform", {}};
    Element plate{"Baseplate", "baseplate", {}};
    if (volume.isCircular) {
        platform.attributes = {{"shape", "cylinder"}, {"diameter", width}};
        plate.attributes = {{"shape", "circle"}, {"width", width}};
    } else {
        platform.attributes = {{"shape", "box"}, {"width", width}, {"depth", depth}};
        plate.attributes = {{"shape", "rectangle"}, {"width", width}, {"depth", depth}};
    }
    platform.attributes.insert(
        platform.attributes.end(),
        {{"height", ToNumberText(volume.height)}, {"minX", minX}, {"minY", minY}, {"minZ", "0"}});
    if (!i_profile.plates.empty())
        plate.attributes.emplace_back("material", i_profile.plates[i_profile.defaultPlate].name);

    io_elements.push_back(std::move(platform));
    io_elements.push_back(
        {"ScanField",
         "scanField.1",
         {{"minX", minX}, {"minY", minY}, {"maxX", ToNumberText(volume.maxX)}, {"maxY", ToNumberText(volume.maxY)}}});
    io_elements.push_back(std::move(plate));
}

std::vector<Element> MakeElements(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    std::vector<Element> elements{MakeMachine(i_profile)};
    AddGeometry(i_profile, elements);
    // As the command that places parts does it.
    const std::string clearance = ToNumberText(i_settings.clearance);
    elements.push_back(
        {"Nesting", "nesting", {{"partToPart", clearance}, {"partToWall", clearance}, {"rotation", "aroundZ"}}});
    const auto addSetting = [&](const char* ip_name, const std::string& i_value) {
        elements.push_back({SettingElement, ip_name, {{"name", ip_name}, {"value", i_value}}});
    };
    addSetting("driverId", i_profile.driverId);
    if (i_profile.technology == Technology::Sla) {
        addSetting("displayPixelsX", ToNumberText(i_profile.displayWidth));
        addSetting("displayPixelsY", ToNumberText(i_profile.displayHeight));
    }
    return elements;
}

std::wstring ToWide(const std::string& i_text)
{
    return QString::fromStdString(i_text).toStdWString();
}

} // namespace

TavAM::MachineParameters MakeMachineParameters(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    TavAM::MachineParameters parameters;
    parameters.name = ToWide(i_profile.name);
    parameters.manufacturer = ToWide(i_profile.manufacturer);
    parameters.modelId = ToWide(i_profile.modelId);
    for (const Element& element : MakeElements(i_profile, i_settings)) {
        if (element.name == SettingElement) {
            parameters.values.SetText(ToWide(element.flatName), ToWide(element.attributes.back().second));
            continue;
        }
        for (const auto& [name, value] : element.attributes) {
            const bool isField =
                element.name == MachineElement && (name == "name" || name == "manufacturer" || name == "modelId");
            if (!isField)
                parameters.values.SetText(ToWide(element.flatName + '.' + name), ToWide(value));
        }
    }
    return parameters;
}

std::string MakeMachineConfiguration(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag("MachineConfiguration");
    writer.WriteAttribute("xmlns", "https://www.vexlor.example/MachineLayer/2026");
    writer.WriteAttribute("version", "1");
    for (const Element& element : MakeElements(i_profile, i_settings)) {
        writer.WriteStartTag(element.name);
        for (const auto& [name, value] : element.attributes)
            writer.WriteAttribute(name, value);
        writer.WriteEndTag(element.name);
    }
    writer.WriteEndTag("MachineConfiguration");
    writer.Close();
    return writer.TakeText();
}

} // namespace MachineService::BuildProcessor
