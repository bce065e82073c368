#include "Fuzz.h"

#include "tavsdk/XmlReader.h"
#include "tavsdk/XmlWriter.h"

#include <utility>
#include <vector>

namespace {

/// An element with elements in it, or with a text.
struct Element
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::string text;
    std::vector<Element> children;
    bool operator==(const Element&) const = default;
};

/// Takes everything that a document holds. Whether an element is read for its text is told by its name, which stays the
/// same when it is written.
class TreeReader : public TavSDK::XmlReader<TreeReader>
{
public:
    TreeReader()
        : XmlReader(&TreeReader::_Read)
    {
        _open.push_back(&top);
    }

    Element top;

private:
    Answer _Read(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        Element& element = _open.back()->children.emplace_back();
        element.name = i_name;
        i_attributes.ForEach([&element](std::string_view i_attribute, std::string_view i_value) {
            element.attributes.emplace_back(i_attribute, i_value);
        });
        if (i_name.size() % 2 == 0) {
            ReadValue(element.text);
            return Taken();
        }
        _open.push_back(&element);
        return Taken(&TreeReader::_Read, &TreeReader::_Close);
    }
    void _Close() { _open.pop_back(); }

    std::vector<Element*> _open;
};

void Write(const Element& i_element, TavSDK::XmlWriter& io_writer)
{
    io_writer.WriteStartTag(i_element.name);
    for (const auto& [name, value] : i_element.attributes)
        io_writer.WriteAttribute(name, value);
    if (!i_element.text.empty())
        io_writer.WriteCharacterData(i_element.text);
    for (const Element& child : i_element.children)
        Write(child, io_writer);
    io_writer.WriteEndTag(i_element.name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    TreeReader reader;
    if (!reader.ParseText(Fuzz::ToText(ip_data, i_size))) {
        Fuzz::RequireSentence(reader.GetError());
        return 0;
    }
    TavSDK::XmlWriter writer;
    writer.OpenText();
    Write(reader.top.children.front(), writer);
    writer.Close();
    TreeReader again;
    Fuzz::Require(again.ParseText(writer.TakeText()), "what was written can be read");
    Fuzz::Require(again.top == reader.top, "a document reads back the same");
    return 0;
}
