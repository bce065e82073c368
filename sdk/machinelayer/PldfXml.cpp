#include "machinelayer/PldfXml.h"

#include "machinelayer/NodeBuilder.h"

#include "tavsdk/Path.h"
#include "tavsdk/XmlReader.h"
#include "tavsdk/XmlWriter.h"

#include <charconv>
#include <stdexcept>
#include <utility>

namespace MachineLayer {

namespace {

using TavSDK::XmlAttributes;

constexpr int FormatVersion = 1;
constexpr char Namespace[] = "https://www.vexlor.example/MachineLayer/2026";

class PldfReader final : public TavSDK::XmlReader<PldfReader>
{
public:
    explicit PldfReader(const char* ip_root)
        : XmlReader(&PldfReader::_ReadRoot)
        , _rootName(ip_root)
        , _builder(GetPldfDescription())
    {}

    Node Take(bool i_is_read, std::vector<std::string>* op_remarks)
    {
        if (!i_is_read)
            throw std::invalid_argument(GetError());
        if (!_hasRoot)
            throw std::invalid_argument("The root element is not " + std::string(_rootName) + ".");
        if (op_remarks)
            *op_remarks = _builder.TakeRemarks();
        return _builder.Take();
    }

private:
    Answer _ReadRoot(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (i_name != _rootName)
            return NotTaken();
        const std::string_view text = i_attributes.Get("version");
        int version = 0;
        const auto result = std::from_chars(text.data(), text.data() + text.size(), version);
        if (result.ec != std::errc() || result.ptr != text.data() + text.size() || version < 1)
            Fail("the version of the format is missing or is no number");
        if (version > FormatVersion) {
            Fail("the format has version " + std::to_string(version) + ", which is newer than version " +
                 std::to_string(FormatVersion) + " that this program reads");
        }
        _hasRoot = true;
        return Taken(&PldfReader::_ReadElement, &PldfReader::_EndElement);
    }

    Answer _ReadElement(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (++_count > MostPldfElements)
            Fail("there are more than " + std::to_string(MostPldfElements) + " elements");
        const Field* const record = _builder.Find(i_name);
        if (record == nullptr || record->kind != Field::Kind::Record) {
            _builder.Remark(i_name, "is not known");
            return NotTaken();
        }
        _Guard([&] {
            _builder.Open(*record);
            i_attributes.ForEach([this](std::string_view i_attribute, std::string_view i_text) {
                const Field* const field = _builder.Find(i_attribute);
                if (field != nullptr && field->kind != Field::Kind::Record)
                    _builder.SetText(*field, i_text);
                else
                    _builder.Remark(i_attribute, "is not known");
            });
        });
        return Taken(&PldfReader::_ReadElement, &PldfReader::_EndElement);
    }

    void _EndElement()
    {
        _Guard([this] { _builder.Close(); });
    }

    template <class Action>
    void _Guard(const Action& i_action)
    {
        try {
            i_action();
        } catch (const FieldError& error) {
            Fail(error.what());
        }
    }

    const char* const _rootName;
    NodeBuilder _builder;
    bool _hasRoot = false;
    std::size_t _count = 0;
};

/// Counts what readers bound; markup, which is written longer than it is, counts six times.
class SizeCheck
{
public:
    void Add(const Node& i_node)
    {
        if (++_elements > MostPldfElements + 1)
            throw FieldError("has more than " + std::to_string(MostPldfElements) + " elements");
        std::size_t tag = i_node.field->name.size();
        for (const Node& child : i_node.children) {
            if (child.field->kind == Field::Kind::Record) {
                Add(child);
                continue;
            }
            tag += child.field->name.size() + child.text.size();
            for (const char byte : child.text) {
                if (static_cast<unsigned char>(byte) < 0x20 || byte == '&' || byte == '<' || byte == '>' || byte == '"')
                    tag += 5;
            }
        }
        if (tag > TavSDK::XmlBounds::Text)
            throw FieldError(i_node.field->name + " is longer than " + std::to_string(TavSDK::XmlBounds::Text) +
                             " bytes");
    }

private:
    std::size_t _elements = 0;
};

void Write(const Node& i_node, TavSDK::XmlWriter& io_writer)
{
    io_writer.WriteStartTag(i_node.field->name);
    for (const Node& child : i_node.children) {
        if (child.field->kind != Field::Kind::Record)
            io_writer.WriteAttribute(child.field->name, child.text);
    }
    for (const Node& child : i_node.children) {
        if (child.field->kind == Field::Kind::Record)
            Write(child, io_writer);
    }
    io_writer.WriteEndTag(i_node.field->name);
}

} // namespace

Node ReadPldf(std::string_view i_document, const char* ip_root, std::vector<std::string>* op_remarks)
{
    PldfReader reader(ip_root);
    const bool isRead = reader.ParseText(i_document);
    return reader.Take(isRead, op_remarks);
}

Node ReadPldf(const std::filesystem::path& i_path, const char* ip_root, std::vector<std::string>* op_remarks)
{
    PldfReader reader(ip_root);
    const bool isRead = reader.ParseFile(i_path);
    return reader.Take(isRead, op_remarks);
}

std::string WritePldf(const Node& i_root, const char* ip_root)
{
    SizeCheck().Add(i_root);
    TavSDK::XmlWriter writer;
    writer.OpenText();
    writer.WriteStartTag(ip_root);
    writer.WriteAttribute("xmlns", Namespace);
    writer.WriteAttribute("version", std::to_string(FormatVersion));
    for (const Node& child : i_root.children)
        Write(child, writer);
    writer.WriteEndTag(ip_root);
    writer.Close();
    std::string document = writer.TakeText();
    if (document.size() > TavSDK::XmlBounds::Document)
        throw FieldError("is longer than " + std::to_string(TavSDK::XmlBounds::Document) + " bytes");
    return document;
}

} // namespace MachineLayer
