#include "buildprocessor/MachineRecord.h"

#include "tavsdk/XmlWriter.h"

#include <QString>

#include <optional>
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
    std::vector<Element> children;
};

/// Adds an attribute that the machine may lack.
void AddOptional(Element& io_element, const char* ip_name, const std::optional<double>& i_value)
{
    if (i_value)
        io_element.attributes.emplace_back(ip_name, ToNumberText(*i_value));
}

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
                     {"layerHeight", ToNumberText(i_profile.layerHeights.front())}},
                    {}};
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

    Element platform{"Platform", "platform", {}, {}};
    Element plate{"Baseplate", "baseplate", {}, {}};
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
    AddOptional(plate, "thickness", i_profile.plateThickness);
    AddOptional(plate, "marginLeft", i_profile.rules.marginLeft);
    AddOptional(plate, "marginRight", i_profile.rules.marginRight);
    AddOptional(plate, "marginFront", i_profile.rules.marginFront);
    AddOptional(plate, "marginBack", i_profile.rules.marginBack);
    if (!i_profile.plates.empty())
        plate.attributes.emplace_back("material", i_profile.plates[i_profile.defaultPlate].name);

    io_elements.push_back(std::move(platform));
    io_elements.push_back(
        {"ScanField",
         "scanField.1",
         {{"minX", minX}, {"minY", minY}, {"maxX", ToNumberText(volume.maxX)}, {"maxY", ToNumberText(volume.maxY)}},
         {}});
    io_elements.push_back(std::move(plate));
}

void AddSupports(const PreparationRules& i_rules, std::vector<Element>& io_elements)
{
    static constexpr const char* kinds[] = {"point", "line", "block", "contour", "gusset", "tree"};
    const auto getKind = [](SupportKind i_kind) {
        return kinds[static_cast<std::size_t>(i_kind)];
    };
    for (const SupportProfile& support : i_rules.supports) {
        Element& profile =
            io_elements.emplace_back(Element{"SupportProfile",
                                             "supportProfile." + std::to_string(&support - i_rules.supports.data() + 1),
                                             {{"name", support.surfaceType}, {"type", getKind(support.kind)}},
                                             {}});
        AddOptional(profile, "spacing", support.spacing);
        AddOptional(profile, "criticalAngle", support.criticalAngle);
        Element contact{"Contact", "contact", {}, {}};
        AddOptional(contact, "width", support.contactWidth);
        AddOptional(contact, "penetration", support.contactPenetration);
        AddOptional(contact, "gap", support.contactGap);
        if (!contact.attributes.empty())
            profile.children.push_back(std::move(contact));
    }
    if (i_rules.supportsInUse.empty())
        return;
    Element& set = io_elements.emplace_back(Element{"SupportProfileSet", "supportProfileSet", {}, {}});
    for (const auto& [kind, profile] : i_rules.supportsInUse)
        set.children.push_back({"Use",
                                "use." + std::to_string(set.children.size() + 1),
                                {{"type", getKind(kind)}, {"profile", profile}},
                                {}});
}

Element MakeNesting(const PreparationRules& i_rules, const MachineSettings& i_settings)
{
    static constexpr const char* turns[] = {"none", "aroundZ", "any"};
    // As the command that places parts does it.
    Element nesting{"Nesting",
                    "nesting",
                    {{"partToPart", ToNumberText(i_settings.clearance)},
                     {"partToWall", ToNumberText(i_settings.wallClearance)},
                     {"rotation", turns[static_cast<std::size_t>(i_rules.turns.value_or(Turns::AroundZ))]}},
                    {}};
    AddOptional(nesting, "rotationStep", i_rules.turnStep);
    for (const NoBuildZone& zone : i_rules.zones)
        nesting.children.push_back({"NoBuildZone",
                                    "noBuildZone." + std::to_string(nesting.children.size() + 1),
                                    {{"name", zone.name},
                                     {"minX", ToNumberText(zone.minX)},
                                     {"minY", ToNumberText(zone.minY)},
                                     {"minZ", ToNumberText(zone.minZ)},
                                     {"maxX", ToNumberText(zone.maxX)},
                                     {"maxY", ToNumberText(zone.maxY)},
                                     {"maxZ", ToNumberText(zone.maxZ)}},
                                    {}});
    return nesting;
}

Element MakePartExport(const PartExport& i_export)
{
    Element partExport{"PartExport", "partExport", {{"unit", "millimetre"}}, {}};
    AddOptional(partExport, "tolerance", i_export.tolerance);
    for (const std::string& format : i_export.formats)
        partExport.children.push_back(
            {"Format", "format." + std::to_string(partExport.children.size() + 1), {{"name", format}}, {}});
    return partExport;
}

std::vector<Element> MakeElements(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    std::vector<Element> elements{MakeMachine(i_profile)};
    AddGeometry(i_profile, elements);
    AddSupports(i_profile.rules, elements);
    elements.push_back(MakeNesting(i_profile.rules, i_settings));
    if (!i_profile.partExport.formats.empty())
        elements.push_back(MakePartExport(i_profile.partExport));
    const auto addSetting = [&](const char* ip_name, const std::string& i_value) {
        elements.push_back({SettingElement, ip_name, {{"name", ip_name}, {"value", i_value}}, {}});
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

void AddParameters(const Element& i_element, const std::string& i_prefix, TavAM::PersistentProperties& io_values)
{
    for (const auto& [name, value] : i_element.attributes) {
        const bool isField =
            i_element.name == MachineElement && (name == "name" || name == "manufacturer" || name == "modelId");
        if (!isField)
            io_values.SetText(ToWide(i_prefix + '.' + name), ToWide(value));
    }
    for (const Element& child : i_element.children)
        AddParameters(child, i_prefix + '.' + child.flatName, io_values);
}

void WriteElement(const Element& i_element, TavSDK::XmlWriter& io_writer)
{
    io_writer.WriteStartTag(i_element.name);
    for (const auto& [name, value] : i_element.attributes)
        io_writer.WriteAttribute(name, value);
    for (const Element& child : i_element.children)
        WriteElement(child, io_writer);
    io_writer.WriteEndTag(i_element.name);
}

} // namespace

TavAM::MachineParameters MakeMachineParameters(const MachineProfile& i_profile, const MachineSettings& i_settings)
{
    TavAM::MachineParameters parameters;
    parameters.name = ToWide(i_profile.name);
    parameters.manufacturer = ToWide(i_profile.manufacturer);
    parameters.modelId = ToWide(i_profile.modelId);
    for (const Element& element : MakeElements(i_profile, i_settings)) {
        if (element.name == SettingElement)
            parameters.values.SetText(ToWide(element.flatName), ToWide(element.attributes.back().second));
        else
            AddParameters(element, element.flatName, parameters.values);
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
    for (const Element& element : MakeElements(i_profile, i_settings))
        WriteElement(element, writer);
    writer.WriteEndTag("MachineConfiguration");
    writer.Close();
    return writer.TakeText();
}

} // namespace MachineService::BuildProcessor
