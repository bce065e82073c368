#include "machinelayer/MachineNodes.h"

#include "machinelayer/MachineFields.h"

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

/// The element keeps to the rules of its description.
void TakePlatform(const PlatformElement& i_element, Data::Machine& o_machine)
{
    if (i_element.shape == ShapeKind::Box)
        o_machine.platformShape =
            Data::BoxShape{i_element.width.value(), i_element.depth.value(), i_element.height.value()};
    else if (i_element.shape == ShapeKind::Cylinder)
        o_machine.platformShape = Data::CylinderShape{i_element.diameter.value(), i_element.height.value()};
    if (i_element.minX)
        o_machine.platformGeometry =
            Data::PlatformGeometry{*i_element.minX, i_element.minY.value(), i_element.minZ.value()};
}

template <class Record>
Field MakeDescription(Format i_format, const char* ip_name, const char* ip_path)
{
    Field root;
    root.format = i_format;
    root.name = ip_name;
    root.path = ip_path;
    DescriptionBuilder builder(root, i_format);
    Record record;
    Describe(builder, record);
    return root;
}

} // namespace

const Field& GetPldfDescription()
{
    static const Field description = MakeDescription<MachineElements>(Format::Pldf, "", "");
    return description;
}

const Field& GetConfigurationDescription()
{
    static const Field description = MakeDescription<Data::MachineConfiguration>(
        Format::Sections, "MachineConfiguration", "/AM/MachineData/MachineConfiguration/2026/11");
    return description;
}

Node MachineToNode(const Data::Machine& i_machine, bool i_is_xml)
{
    MachineElements elements;
    if (i_machine.properties != Data::MachineProperties())
        elements.properties = i_machine.properties;
    if (i_machine.platformShape || i_machine.platformGeometry)
        elements.platform = ToElement(i_machine);
    elements.rest = i_machine;
    Node node;
    node.field = &GetPldfDescription();
    NodeWriter writer(node, i_is_xml);
    Describe(writer, std::as_const(elements));
    return node;
}

Node PlatformToNode(const Data::Machine& i_machine)
{
    Data::Machine machine;
    machine.platformShape = i_machine.platformShape;
    machine.platformGeometry = i_machine.platformGeometry;
    machine.scanFields = i_machine.scanFields;
    return MachineToNode(machine, true);
}

Data::Machine NodeToMachine(const Node& i_node)
{
    MachineElements elements;
    NodeReader reader(i_node);
    Describe(reader, elements);
    Data::Machine machine = std::move(elements.rest);
    machine.properties = std::move(elements.properties).value_or(Data::MachineProperties());
    if (elements.platform)
        TakePlatform(*elements.platform, machine);
    return machine;
}

Node ConfigurationToNode(const Data::MachineConfiguration& i_configuration)
{
    Node node;
    node.field = &GetConfigurationDescription();
    NodeWriter writer(node, true);
    Describe(writer, i_configuration);
    return node;
}

Data::MachineConfiguration NodeToConfiguration(const Node& i_node)
{
    Data::MachineConfiguration configuration;
    NodeReader reader(i_node);
    Describe(reader, configuration);
    return configuration;
}

} // namespace MachineLayer
