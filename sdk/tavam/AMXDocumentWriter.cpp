#include "tavam/AMXDocumentWriter_p.h"

#include "tavam/AMXFormat_p.h"
#include "tavam/FileError.h"

#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"

#include <boost/uuid/uuid_io.hpp>

#include <cmath>
#include <limits>

namespace TavAM {

namespace {

// Bytes of UTF-8. Even when each becomes an entity of six, a tag with its value stays within what a reader of XML
// takes.
constexpr std::size_t LargestName = std::size_t{64} << 10U;
static_assert(PersistentProperties::LargestText + 7 * LargestName < TavSDK::XmlBounds::Text);

} // namespace

AMXDocumentWriter::AMXDocumentWriter()
{
    _xml.OpenText();
    _xml.WriteStartTag("PlatformFile");
    _xml.WriteAttribute("xmlns", AMXFormat::Namespace);
    _xml.WriteAttribute("version", std::to_string(AMXFormat::Version));
}

std::string AMXDocumentWriter::Finish()
{
    _xml.WriteEndTag("PlatformFile");
    _xml.Close();
    std::string text = _xml.TakeText();
    if (text.size() > TavSDK::XmlBounds::Document)
        throw FileError("names and properties take more than " + std::to_string(TavSDK::XmlBounds::Document) +
                        " bytes");
    return text;
}

void AMXDocumentWriter::WritePlatform(const Platform& i_platform)
{
    _xml.WriteStartTag("Platform");
    _WriteText("name", i_platform.GetName());
    _xml.WriteStartTag("Properties");
    _WriteProperties(i_platform.GetAMXProperties());
    _xml.WriteEndTag("Properties");
    if (const MachineParameters* machine = i_platform.GetMachine())
        _WriteMachine(*machine);
    _xml.WriteStartTag("Parts");
    for (const Part& part : i_platform.GetParts()) {
        try {
            _WritePart(part);
        } catch (const FileError& error) {
            throw FileError("part " + TavSDK::Quote(TavSDK::ToUtf8(part.GetName())) + ": " + error.what());
        }
    }
    _xml.WriteEndTag("Parts");
    _xml.WriteEndTag("Platform");
}

void AMXDocumentWriter::_WriteProperties(const PersistentProperties& i_properties)
{
    for (const auto& [name, text] : i_properties.GetAll()) {
        _xml.WriteStartTag("Property");
        _WriteText("name", name);
        if (text)
            _WriteText("value", *text);
        _xml.WriteEndTag("Property");
    }
}

void AMXDocumentWriter::_WriteMachine(const MachineParameters& i_machine)
{
    _xml.WriteStartTag("Machine");
    _WriteText("name", i_machine.name);
    _WriteText("manufacturer", i_machine.manufacturer);
    _WriteText("modelId", i_machine.modelId);
    _WriteProperties(i_machine.values);
    _xml.WriteEndTag("Machine");
}

void AMXDocumentWriter::_WritePart(const Part& i_part)
{
    _xml.WriteStartTag("Part");
    _WriteText("name", i_part.GetName());
    _xml.WriteAttribute("revisionId", boost::uuids::to_string(i_part.GetRevisionId()));
    _WritePlacement(i_part.GetPlacement());
    _xml.WriteAttribute("hasSupports", i_part.HasSupports() ? "true" : "false");
    _xml.WriteStartTag("Properties");
    _WriteProperties(i_part.GetAMXProperties());
    _xml.WriteEndTag("Properties");
    if (i_part.GetStrategies()) {
        _xml.WriteStartTag("Strategies");
        for (const auto& [role, id] : *i_part.GetStrategies()) {
            _xml.WriteStartTag("Strategy");
            _WriteText("role", role);
            _WriteText("id", id);
            _xml.WriteEndTag("Strategy");
        }
        _xml.WriteEndTag("Strategies");
    }
    _WriteShape(i_part.GetRepresentation(), 1);
    _xml.WriteEndTag("Part");
}

void AMXDocumentWriter::_WriteShape(const Representation& i_representation, unsigned i_depth)
{
    if (i_depth > AMXFormat::LargestDepth)
        throw FileError("its members are nested deeper than " + std::to_string(AMXFormat::LargestDepth));
    _shapeCounter.Add(i_representation.GetKind() == RepresentationKind::Mesh ? i_representation.GetMesh().get()
                                                                             : nullptr);
    _xml.WriteStartTag("Shape");
    switch (i_representation.GetKind()) {
    case RepresentationKind::Mesh:
        _xml.WriteAttribute("kind", "mesh");
        _xml.WriteAttribute("entry", GetMeshEntry(_Collect(*i_representation.GetMesh())));
        break;
    case RepresentationKind::Implicit:
    case RepresentationKind::Brep:
        _xml.WriteAttribute("kind", i_representation.GetKind() == RepresentationKind::Brep ? "brep" : "implicit");
        _xml.WriteAttribute("entry", GetDefinitionEntry(_definitions.size()));
        _definitions.push_back(&i_representation.GetDefinition());
        break;
    case RepresentationKind::Composed:
        _xml.WriteAttribute("kind", "composed");
        break;
    }
    if (i_representation.GetPlacement() != Transform())
        _WritePlacement(i_representation.GetPlacement());
    for (const Representation& member : i_representation.GetMembers())
        _WriteShape(member, i_depth + 1);
    _xml.WriteEndTag("Shape");
}

std::string AMXDocumentWriter::GetMeshEntry(std::size_t i_index)
{
    return "meshes/" + std::to_string(i_index) + ".mesh";
}

std::string AMXDocumentWriter::GetDefinitionEntry(std::size_t i_index)
{
    return "definitions/" + std::to_string(i_index) + ".bin";
}

std::size_t AMXDocumentWriter::_Collect(const Mesh& i_mesh)
{
    const auto [known, isNew] = _meshIndices.try_emplace(&i_mesh, _meshes.size());
    if (isNew) {
        constexpr auto largestCount = std::numeric_limits<std::uint32_t>::max();
        if (i_mesh.vertices.size() > largestCount || i_mesh.triangles.size() > largestCount)
            throw FileError("its mesh has too many triangles");
        if (const std::string defect = FindMeshDefect(i_mesh); !defect.empty())
            throw FileError("its mesh cannot be used, " + defect);
        _meshes.push_back(&i_mesh);
    }
    return known->second;
}

void AMXDocumentWriter::_WriteText(std::string_view i_attribute, std::wstring_view i_text)
{
    const std::string text = AMXFormat::EncodeText(i_text);
    const bool isValue = i_attribute == "value";
    const std::size_t largest = isValue ? PersistentProperties::LargestText : LargestName;
    if ((isValue ? AMXFormat::CountAttributeBytes(text) : text.size()) > largest)
        throw FileError("a " + std::string(i_attribute) + " takes more than " + std::to_string(largest) + " bytes");
    _xml.WriteAttribute(i_attribute, text);
}

void AMXDocumentWriter::_WritePlacement(const Transform& i_placement)
{
    _numbers.clear();
    for (const double number : i_placement.rows) {
        if (!(std::abs(number) <= AMXFormat::LargestPlacementNumber))
            throw FileError("its placement is not twelve numbers between -1,000,000 and 1,000,000");
        if (!_numbers.empty())
            _numbers += ' ';
        TavSDK::AppendNumber(number, _numbers);
    }
    _xml.WriteAttribute("placement", _numbers);
}

} // namespace TavAM
