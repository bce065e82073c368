#include "vexlorui/SceneDescription.h"

#include "tavsdk/Text.h"
#include "tavsdk/XmlWriter.h"

#include <boost/uuid/uuid_io.hpp>

#include <QString>

#include <utility>

namespace Vexlor {

namespace {

constexpr char Namespace[] = "https://www.vexlor.example/AM/HostScene/2026/11";

/// UTF-8, with what XML cannot carry replaced: names are the user's, and a machine must still get its scene.
std::string ToXmlText(const std::wstring& i_text)
{
    auto text = QString::fromStdWString(i_text);
    for (auto& character : text) {
        const auto code = character.unicode();
        if ((code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code >= 0xFFFE)
            character = QChar::ReplacementCharacter;
    }
    return text.toStdString();
}

std::string ToText(const TavAM::Point3d& i_point)
{
    return TavSDK::NumberToText(i_point.x) + ' ' + TavSDK::NumberToText(i_point.y) + ' ' +
           TavSDK::NumberToText(i_point.z);
}

void WriteProperties(TavSDK::XmlWriter& io_writer, const TavAM::PersistentProperties& i_properties)
{
    io_writer.WriteStartTag("Properties");
    for (const auto& [name, text] : i_properties.GetAll()) {
        io_writer.WriteStartTag("Property");
        io_writer.WriteAttribute("name", ToXmlText(name));
        if (text)
            io_writer.WriteCharacterData(ToXmlText(*text));
        else
            io_writer.WriteAttribute("undefined", "true");
        io_writer.WriteEndTag("Property");
    }
    io_writer.WriteEndTag("Properties");
}

void WriteStrategies(TavSDK::XmlWriter& io_writer, const TavAM::Part::Strategies& i_strategies)
{
    io_writer.WriteStartTag("Strategies");
    for (const auto& [role, id] : i_strategies) {
        io_writer.WriteStartTag("Strategy");
        io_writer.WriteAttribute("role", ToXmlText(role));
        io_writer.WriteAttribute("id", ToXmlText(id));
        io_writer.WriteEndTag("Strategy");
    }
    io_writer.WriteEndTag("Strategies");
}

void WritePart(TavSDK::XmlWriter& io_writer, const TavAM::Part& i_part)
{
    io_writer.WriteStartTag("Part");
    io_writer.WriteAttribute("id", boost::uuids::to_string(i_part.GetRevisionId()));
    io_writer.WriteAttribute("name", ToXmlText(i_part.GetName()));
    io_writer.WriteAttribute("supports", i_part.HasSupports() ? "true" : "false");

    io_writer.WriteStartTag("Placement");
    std::string rows;
    for (const double value : i_part.GetPlacement().rows)
        rows += (rows.empty() ? "" : " ") + TavSDK::NumberToText(value);
    io_writer.WriteCharacterData(rows);
    io_writer.WriteEndTag("Placement");

    if (const auto box = i_part.GetBoundingBox(); !box.IsEmpty()) {
        io_writer.WriteStartTag("BoundingBox");
        io_writer.WriteAttribute("min", ToText(box.min));
        io_writer.WriteAttribute("max", ToText(box.max));
        io_writer.WriteEndTag("BoundingBox");
    }
    if (i_part.GetStrategies())
        WriteStrategies(io_writer, *i_part.GetStrategies());
    WriteProperties(io_writer, i_part.GetAMXProperties());
    io_writer.WriteEndTag("Part");
}

} // namespace

std::string DescribeScene(const TavAM::Platform& i_platform)
{
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag("HostScene");
    writer.WriteAttribute("xmlns", Namespace);
    writer.WriteStartTag("Platform");
    writer.WriteAttribute("name", ToXmlText(i_platform.GetName()));
    if (const auto* machine = i_platform.GetMachine()) {
        writer.WriteStartTag("Machine");
        writer.WriteAttribute("name", ToXmlText(machine->name));
        writer.WriteAttribute("manufacturer", ToXmlText(machine->manufacturer));
        writer.WriteAttribute("modelId", ToXmlText(machine->modelId));
        WriteProperties(writer, machine->values);
        writer.WriteEndTag("Machine");
    }
    WriteProperties(writer, i_platform.GetAMXProperties());
    writer.WriteStartTag("Parts");
    for (const auto& part : i_platform.GetParts())
        WritePart(writer, part);
    writer.WriteEndTag("Parts");
    writer.WriteEndTag("Platform");
    writer.WriteEndTag("HostScene");
    writer.Close();
    return writer.TakeText();
}

} // namespace Vexlor
