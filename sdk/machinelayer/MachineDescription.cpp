#include "machinelayer/MachineDescription.h"

#include "machinelayer/RecordFields.h"

#include <stdexcept>
#include <utility>

namespace MachineLayer {

namespace {

PlatformElement ToElement(const Data::Machine& i_machine)
{
    PlatformElement element;
    if (i_machine.platformShape) {
        if (const auto* box = std::get_if<Data::BoxShape>(&*i_machine.platformShape)) {
            element.shape = ShapeKind::Box;
            element.width = box->width;
            element.depth = box->depth;
            element.height = box->height;
        } else {
            const auto& cylinder = std::get<Data::CylinderShape>(*i_machine.platformShape);
            element.shape = ShapeKind::Cylinder;
            element.diameter = cylinder.diameter;
            element.height = cylinder.height;
        }
    }
    if (i_machine.platformGeometry) {
        element.minX = i_machine.platformGeometry->minX;
        element.minY = i_machine.platformGeometry->minY;
        element.minZ = i_machine.platformGeometry->minZ;
    }
    return element;
}

void TakePlatform(const PlatformElement& i_element, Data::Machine& o_machine)
{
    const auto need = [](const std::optional<double>& i_number, const char* ip_name) {
        if (!i_number)
            throw std::invalid_argument(std::string("Platform: ") + ip_name + " is missing.");
        return *i_number;
    };
    if (i_element.shape == ShapeKind::Box) {
        o_machine.platformShape = Data::BoxShape{need(i_element.width, "width"), need(i_element.depth, "depth"),
                                                 need(i_element.height, "height")};
    } else if (i_element.shape == ShapeKind::Cylinder) {
        o_machine.platformShape =
            Data::CylinderShape{need(i_element.diameter, "diameter"), need(i_element.height, "height")};
    }
    if (i_element.minX || i_element.minY || i_element.minZ) {
        o_machine.platformGeometry = Data::PlatformGeometry{need(i_element.minX, "minX"), need(i_element.minY, "minY"),
                                                            need(i_element.minZ, "minZ")};
    }
}

/// What the fields cannot say one by one.
void Check(const MachineElements& i_elements)
{
    for (const Data::ScanField& field : i_elements.scanFields) {
        if (field.minX >= field.maxX || field.minY >= field.maxY)
            throw std::invalid_argument("ScanField: " + Shown(WriteText(field.name)) + " is empty.");
    }
    if (i_elements.zCompensation && i_elements.zCompensation->tableKey == Data::ZCompensationKey::Angle) {
        for (const Data::ZCompensationEntry& entry : i_elements.zCompensation->table) {
            if (!Angle.Holds(entry.key))
                throw std::invalid_argument("Entry: key " + WriteNumber(entry.key) + " is not " + Angle.GetText() +
                                            ".");
        }
    }
    if (!i_elements.nesting)
        return;
    for (const Data::NoBuildZone& zone : i_elements.nesting->noBuildZones) {
        if (zone.minX > zone.maxX || zone.minY > zone.maxY || zone.minZ > zone.maxZ)
            throw std::invalid_argument("NoBuildZone: " + Shown(WriteText(zone.name)) + " ends before it begins.");
    }
}

/// Adds to a map what must not be in it yet.
template <class Map, class Key, class Value>
void Add(const char* ip_element, const std::string& i_shown, Map& io_map, Key i_key, Value i_value)
{
    if (!io_map.emplace(std::move(i_key), std::move(i_value)).second)
        throw std::invalid_argument(std::string(ip_element) + ": " + i_shown + " stands twice.");
}

MachineElements ToElements(const Data::Machine& i_machine)
{
    MachineElements elements;
    if (i_machine.properties != Data::MachineProperties())
        elements.machine = i_machine.properties;
    if (i_machine.platformShape || i_machine.platformGeometry)
        elements.platform = ToElement(i_machine);
    elements.scanFields = i_machine.scanFields;
    elements.baseplate = i_machine.baseplate;
    for (const auto& [name, profile] : i_machine.surfaceTypeProfiles)
        elements.profiles.push_back({name, profile});
    if (i_machine.supportProfileSet) {
        ProfileSetElement& set = elements.profileSet.emplace();
        set.name = i_machine.supportProfileSet->name;
        for (const auto& [type, profile] : i_machine.supportProfileSet->profiles)
            set.uses.push_back({type, profile});
    }
    elements.nesting = i_machine.nesting;
    elements.zBrace = i_machine.zBrace;
    elements.zCompensation = i_machine.zCompensation;
    if (i_machine.partExport) {
        elements.partExport = PartExportElement{*i_machine.partExport, {}};
        for (const std::wstring& format : i_machine.partExport->formats)
            elements.partExport->formats.push_back({format});
    }
    for (const auto& [name, value] : i_machine.settings)
        elements.settings.push_back({name, value});
    return elements;
}

Node Write(MachineElements i_elements)
{
    Check(i_elements);
    Node node;
    NodeWriter writer(node);
    Describe(writer, i_elements);
    return node;
}

} // namespace

Schema MakeMachineSchema(std::string_view i_root)
{
    Schema schema;
    schema.name = i_root;
    MachineElements elements;
    SchemaBuilder builder(schema);
    Describe(builder, elements);
    return schema;
}

Node DescribeMachine(const Data::Machine& i_machine)
{
    return Write(ToElements(i_machine));
}

Node DescribePlatform(const Data::Machine& i_machine)
{
    Data::Machine machine;
    machine.platformShape = i_machine.platformShape;
    machine.platformGeometry = i_machine.platformGeometry;
    machine.scanFields = i_machine.scanFields;
    return Write(ToElements(machine));
}

Data::Machine ReadMachine(const Node& i_node)
{
    MachineElements elements;
    NodeReader reader(i_node);
    Describe(reader, elements);
    Check(elements);

    Data::Machine machine;
    machine.properties = std::move(elements.machine).value_or(Data::MachineProperties());
    if (elements.platform)
        TakePlatform(*elements.platform, machine);
    machine.scanFields = std::move(elements.scanFields);
    machine.baseplate = std::move(elements.baseplate);
    for (NamedProfile& named : elements.profiles)
        Add("SupportProfile", Shown(WriteText(named.name)), machine.surfaceTypeProfiles, named.name, named.profile);
    if (elements.profileSet) {
        Data::SupportProfileSet& set = machine.supportProfileSet.emplace();
        set.name = std::move(elements.profileSet->name);
        for (ProfileUse& use : elements.profileSet->uses) {
            const char* type = Choices<Data::SupportType>::names.at(static_cast<std::size_t>(use.type));
            Add("SupportProfileSet", Shown(type), set.profiles, use.type, std::move(use.profile));
        }
    }
    machine.nesting = std::move(elements.nesting);
    machine.zBrace = std::move(elements.zBrace);
    machine.zCompensation = std::move(elements.zCompensation);
    if (elements.partExport) {
        machine.partExport = std::move(elements.partExport->record);
        for (Format& format : elements.partExport->formats)
            machine.partExport->formats.push_back(std::move(format.name));
    }
    for (NamedText& setting : elements.settings)
        Add("Setting", Shown(WriteText(setting.name)), machine.settings, setting.name, std::move(setting.value));
    return machine;
}

} // namespace MachineLayer
