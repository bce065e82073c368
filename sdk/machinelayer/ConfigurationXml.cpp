#include "machinelayer/ConfigurationXml.h"

#include "machinelayer/ConfigurationNamespaces.h"
#include "machinelayer/ConfigurationReader.h"
#include "machinelayer/MachineNodes.h"

#include "tavsdk/Path.h"
#include "tavsdk/XmlWriter.h"

#include <algorithm>
#include <stdexcept>

namespace MachineLayer {

namespace {

std::size_t CountElements(const Node& i_record)
{
    std::size_t count = i_record.children.size();
    for (const Node& child : i_record.children)
        count += CountElements(child);
    return count;
}

Node MakeNode(const Data::MachineConfiguration& i_configuration)
{
    if (!HasSection(i_configuration))
        throw FieldError("it has no section");
    Node node = ConfigurationToNode(i_configuration);
    if (CountElements(node) > MostConfigurationElements)
        throw FieldError("it has more than " + std::to_string(MostConfigurationElements) + " elements");
    return node;
}

void Write(const Node& i_node, TavSDK::XmlWriter& io_writer)
{
    const Field& field = *i_node.field;
    io_writer.WriteStartTag(field.name);
    if (!field.path.empty())
        io_writer.WriteAttribute("xmlns", MakeNamespace(field.path));
    if (field.quantity != nullptr)
        io_writer.WriteAttribute("unit", field.quantity->unit);
    if (field.kind != Field::Kind::Record)
        io_writer.WriteCharacterData(i_node.text);
    for (const Node& child : i_node.children)
        Write(child, io_writer);
    io_writer.WriteEndTag(field.name);
}

ConfigurationSchema MakeSchema(const Field& i_field)
{
    ConfigurationSchema schema = {i_field.name, MakeNamespace(i_field.path), i_field.name + '-'};
    schema.fileName.append(GetVersion(i_field.path)).append(".xsd");
    std::replace(schema.fileName.begin(), schema.fileName.end(), '/', '-');
    return schema;
}

Data::MachineConfiguration Take(ConfigurationReader& io_reader, bool i_is_read, std::vector<std::string>& o_remarks)
{
    if (!i_is_read)
        throw std::invalid_argument(io_reader.GetError());
    if (!io_reader.HasSection())
        throw std::invalid_argument("It has no section.");
    o_remarks = io_reader.GetBuilder().TakeRemarks();
    return NodeToConfiguration(io_reader.GetBuilder().Take());
}

} // namespace

Data::MachineConfiguration TakeConfiguration(const Data::Machine& i_machine)
{
    Data::MachineConfiguration configuration;
    configuration.machineName = i_machine.properties.name;
    configuration.manufacturer = i_machine.properties.manufacturer;
    configuration.modelId = i_machine.properties.modelId;
    if (!i_machine.surfaceTypeProfiles.empty() || i_machine.supportProfileSet)
        configuration.supportProfiles = {i_machine.surfaceTypeProfiles, i_machine.supportProfileSet};
    configuration.nesting = i_machine.nesting;
    configuration.baseplate = i_machine.baseplate;
    configuration.zBrace = i_machine.zBrace;
    configuration.zCompensation = i_machine.zCompensation;
    configuration.partExport = i_machine.partExport;
    return configuration;
}

bool HasSection(const Data::MachineConfiguration& i_configuration)
{
    return i_configuration.supportProfiles || i_configuration.nesting || i_configuration.baseplate ||
           i_configuration.zBrace || i_configuration.zCompensation || i_configuration.partExport;
}

void CheckConfiguration(const Data::MachineConfiguration& i_configuration)
{
    MakeNode(i_configuration);
}

std::string WriteConfiguration(const Data::MachineConfiguration& i_configuration)
{
    TavSDK::XmlWriter xml;
    xml.OpenText();
    Write(MakeNode(i_configuration), xml);
    xml.Close();
    std::string document = xml.TakeText();
    if (document.size() > TavSDK::XmlBounds::Document)
        throw FieldError("it is longer than " + std::to_string(TavSDK::XmlBounds::Document) + " bytes");
    return document;
}

Data::MachineConfiguration ReadConfiguration(std::string_view i_document, std::vector<std::string>& o_remarks)
{
    ConfigurationReader reader;
    const bool isRead = reader.ParseText(i_document);
    return Take(reader, isRead, o_remarks);
}

Data::MachineConfiguration LoadConfiguration(const std::filesystem::path& i_path, std::vector<std::string>& o_remarks)
{
    ConfigurationReader reader;
    const bool isRead = reader.ParseFile(i_path);
    return Take(reader, isRead, o_remarks);
}

std::vector<ConfigurationSchema> GetConfigurationSchemas(const Data::MachineConfiguration& i_configuration)
{
    const Field& document = GetConfigurationDescription();
    std::vector<ConfigurationSchema> schemas = {MakeSchema(document)};
    for (const Node& section : ConfigurationToNode(i_configuration).children) {
        if (!section.field->path.empty())
            schemas.push_back(MakeSchema(*section.field));
    }
    return schemas;
}

} // namespace MachineLayer
