#include "tavam/AMXDocumentReader_p.h"

#include "tavam/AMXFormat_p.h"
#include "tavam/FileError.h"
#include "tavsdk/Text.h"

#include <boost/uuid/string_generator.hpp>

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

namespace TavAM {

using TavSDK::Quote;

AMXDocumentReader::AMXDocumentReader(Entries i_entries)
    : XmlReader(&AMXDocumentReader::_ReadRoot)
    , _entries(std::move(i_entries))
{}

AMXDocumentReader::Answer AMXDocumentReader::_ReadRoot(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "PlatformFile" || i_attributes.Get("xmlns") != AMXFormat::Namespace)
        Fail("this is no platform file of namespace " + Quote(AMXFormat::Namespace));
    const std::string_view text = _Require(i_attributes, "version");
    unsigned version = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), version);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || version == 0)
        Fail("the format version " + Quote(text) + " is no number");
    if (version > AMXFormat::Version) {
        Fail("the file has format version " + std::to_string(version) +
             ", written by a newer program; this one reads up to version " + std::to_string(AMXFormat::Version));
    }
    return Taken(&AMXDocumentReader::_ReadPlatform);
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadPlatform(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "Platform")
        return NotTaken();
    _seenInPlatform.clear();
    _platforms.push_back(std::make_shared<Platform>());
    _platforms.back()->SetName(_GetText(i_attributes, "name"));
    return Taken(&AMXDocumentReader::_ReadPlatformContent);
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadPlatformContent(std::string_view i_name,
                                                                  const Attributes& i_attributes)
{
    if (i_name == "Properties") {
        _RequireFirst(_seenInPlatform, i_name);
        _properties = &_platforms.back()->GetAMXProperties();
        return Taken(&AMXDocumentReader::_ReadProperty);
    }
    if (i_name == "Machine") {
        _RequireFirst(_seenInPlatform, i_name);
        _machine = {};
        _machine.name = _GetText(i_attributes, "name");
        _machine.manufacturer = _GetText(i_attributes, "manufacturer");
        _machine.modelId = _GetText(i_attributes, "modelId");
        _properties = &_machine.values;
        return Taken(&AMXDocumentReader::_ReadProperty, &AMXDocumentReader::_EndMachine);
    }
    if (i_name == "Parts") {
        _RequireFirst(_seenInPlatform, i_name);
        return Taken(&AMXDocumentReader::_ReadPart);
    }
    return NotTaken();
}

void AMXDocumentReader::_EndMachine()
{
    _platforms.back()->SetMachine(std::exchange(_machine, {}));
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadProperty(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "Property")
        return NotTaken();
    const std::wstring name = _GetText(i_attributes, "name");
    if (_properties->Has(name))
        Fail("the property " + Quote(_Require(i_attributes, "name")) + " appears twice");
    if (i_attributes.Find("value"))
        _properties->SetText(name, _GetText(i_attributes, "value"));
    else
        _properties->SetUndefined(name);
    return Taken();
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadPart(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "Part")
        return NotTaken();
    _seenInPart.clear();
    _part = _emptyPart;
    _part.SetName(_GetText(i_attributes, "name"));
    _part.SetRevisionId(_GetId(i_attributes, "revisionId"));
    _part.SetPlacement(_GetPlacement(i_attributes));
    _part.SetHasSupports(_GetFlag(i_attributes, "hasSupports"));
    return Taken(&AMXDocumentReader::_ReadPartContent, &AMXDocumentReader::_EndPart);
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadPartContent(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name == "Properties") {
        _RequireFirst(_seenInPart, i_name);
        _properties = &_part.GetAMXProperties();
        return Taken(&AMXDocumentReader::_ReadProperty);
    }
    if (i_name == "Strategies") {
        _RequireFirst(_seenInPart, i_name);
        _strategies.clear();
        return Taken(&AMXDocumentReader::_ReadStrategy, &AMXDocumentReader::_EndStrategies);
    }
    if (i_name == "Shape") {
        _RequireFirst(_seenInPart, i_name);
        return _ReadShape(i_name, i_attributes);
    }
    return NotTaken();
}

void AMXDocumentReader::_EndPart()
{
    if (_seenInPart.count("Shape") == 0)
        Fail("a part has no shape");
    _platforms.back()->GetParts().push_back(std::move(_part));
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadStrategy(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "Strategy")
        return NotTaken();
    if (!_strategies.emplace(_GetText(i_attributes, "role"), _GetText(i_attributes, "id")).second)
        Fail("a part has two strategies for the role " + Quote(_Require(i_attributes, "role")));
    return Taken();
}

void AMXDocumentReader::_EndStrategies()
{
    _part.SetStrategies(std::exchange(_strategies, {}));
}

AMXDocumentReader::Answer AMXDocumentReader::_ReadShape(std::string_view i_name, const Attributes& i_attributes)
{
    if (i_name != "Shape")
        return NotTaken();
    if (_shapes.size() == AMXFormat::LargestDepth)
        Fail("a part has members nested deeper than " + std::to_string(AMXFormat::LargestDepth));
    const std::string_view kind = _Require(i_attributes, "kind");
    const auto entry = [&] {
        return std::string(_Require(i_attributes, "entry"));
    };
    OpenShape shape;
    if (kind == "mesh")
        shape.representation = Representation::FromMesh(_entries.readMesh(entry()));
    else if (kind == "implicit")
        shape.representation = Representation::FromImplicit(_entries.readDefinition(entry()));
    else if (kind == "brep")
        shape.representation = Representation::FromBrep(_entries.readDefinition(entry()));
    else if (kind != "composed")
        Fail("a part has a shape of the unknown kind " + Quote(kind));
    try {
        _shapeCounter.Add(kind == "mesh" ? shape.representation.GetMesh().get() : nullptr);
    } catch (const FileError& error) {
        Fail(error.what());
    }
    shape.representation.SetPlacement(_GetPlacement(i_attributes));
    _shapes.push_back(std::move(shape));
    return Taken(kind == "composed" ? &AMXDocumentReader::_ReadShape : nullptr, &AMXDocumentReader::_EndShape);
}

void AMXDocumentReader::_EndShape()
{
    OpenShape shape = std::move(_shapes.back());
    _shapes.pop_back();
    if (shape.representation.GetKind() == RepresentationKind::Composed) {
        const Transform placement = shape.representation.GetPlacement();
        shape.representation = Representation::FromMembers(std::move(shape.members));
        shape.representation.SetPlacement(placement);
    }
    if (_shapes.empty())
        _part.SetRepresentation(std::move(shape.representation));
    else
        _shapes.back().members.push_back(std::move(shape.representation));
}

std::string_view AMXDocumentReader::_Require(const Attributes& i_attributes, std::string_view i_name)
{
    const auto value = i_attributes.Find(i_name);
    if (!value)
        Fail("the attribute " + Quote(i_name) + " is missing");
    return *value;
}

std::wstring AMXDocumentReader::_GetText(const Attributes& i_attributes, std::string_view i_name)
{
    try {
        return AMXFormat::DecodeText(_Require(i_attributes, i_name));
    } catch (const FileError& error) {
        Fail(error.what());
    }
}

bool AMXDocumentReader::_GetFlag(const Attributes& i_attributes, std::string_view i_name)
{
    const std::string_view value = _Require(i_attributes, i_name);
    if (value != "true" && value != "false")
        Fail("the attribute " + Quote(i_name) + " is neither 'true' nor 'false'");
    return value == "true";
}

Transform AMXDocumentReader::_GetPlacement(const Attributes& i_attributes)
{
    Transform placement;
    const auto text = i_attributes.Find("placement");
    if (!text)
        return placement;
    const char* position = text->data();
    const char* const end = position + text->size();
    bool isSound = true;
    for (double& number : placement.rows) {
        if (&number != placement.rows.data())
            isSound = isSound && position != end && *position++ == ' ';
        const auto result = std::from_chars(position, end, number);
        isSound = isSound && result.ec == std::errc() && std::abs(number) <= AMXFormat::LargestPlacementNumber;
        position = result.ptr;
    }
    if (!isSound || position != end)
        Fail("a placement is not twelve numbers between -1,000,000 and 1,000,000");
    return placement;
}

boost::uuids::uuid AMXDocumentReader::_GetId(const Attributes& i_attributes, std::string_view i_name)
{
    constexpr std::size_t IdLength = 36;
    const std::string_view text = _Require(i_attributes, i_name);
    try {
        if (text.size() == IdLength)
            return boost::uuids::string_generator()(text.begin(), text.end());
    } catch (const std::runtime_error&) {
        // Told below.
    }
    Fail("the attribute " + Quote(i_name) + " is no id");
}

void AMXDocumentReader::_RequireFirst(std::set<std::string, std::less<>>& io_seen, std::string_view i_name)
{
    if (!io_seen.emplace(i_name).second)
        Fail("an element " + Quote(i_name) + " appears twice");
}

} // namespace TavAM
