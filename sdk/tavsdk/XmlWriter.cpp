#include "tavsdk/XmlWriter.h"

#include "tavsdk/AtomicFile.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <array>
#include <stdexcept>
#include <utility>
#include <vector>

namespace TavSDK {

namespace {

constexpr std::size_t BufferSize = std::size_t{64} << 10U;

// What a byte may mean, as bits: those of all bytes of a text, put together, tell how it must be treated.
constexpr unsigned char Escaped = 1;         ///< markup, or a control character that some place cannot carry as it is
constexpr unsigned char PartOfCharacter = 2; ///< of one outside ASCII
constexpr unsigned char NotInName = 4;
constexpr unsigned char NotFirstInName = 8;

constexpr std::array<unsigned char, 256> MakeMeanings()
{
    std::array<unsigned char, 256> meanings = {};
    for (unsigned byte = 0; byte < 256; ++byte) {
        const bool isLetter =
            (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_' || byte == ':';
        const bool isLater = (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
        if (byte < 0x20 || byte == '&' || byte == '<' || byte == '>' || byte == '"')
            meanings[byte] |= Escaped;
        if (byte >= 0x80)
            meanings[byte] |= PartOfCharacter;
        else if (isLater)
            meanings[byte] |= NotFirstInName;
        else if (!isLetter)
            meanings[byte] |= NotInName | NotFirstInName;
    }
    return meanings;
}
constexpr std::array<unsigned char, 256> mgp_meanings = MakeMeanings();

unsigned char GetMeaning(char i_byte)
{
    return mgp_meanings[static_cast<unsigned char>(i_byte)];
}

unsigned char GetMeanings(std::string_view i_text)
{
    unsigned char meanings = 0;
    for (const char byte : i_text)
        meanings |= GetMeaning(byte);
    return meanings;
}

bool HoldsNoncharacter(std::string_view i_text)
{
    return i_text.find("\xEF\xBF\xBE") != std::string_view::npos ||
           i_text.find("\xEF\xBF\xBF") != std::string_view::npos;
}

/// Enough to keep markup out of names; names come from the program, not from outside.
bool IsName(std::string_view i_name)
{
    if (i_name.empty() || (GetMeaning(i_name.front()) & NotFirstInName) != 0)
        return false;
    const unsigned char meanings = GetMeanings(i_name);
    return (meanings & NotInName) == 0 && ((meanings & PartOfCharacter) == 0 || IsUtf8(i_name));
}

} // namespace

class XmlWriter::Impl
{
public:
    void Begin(std::unique_ptr<AtomicFile> ip_file)
    {
        file = std::move(ip_file);
        isInMemory = !file;
        isOpen = true;
        isTagOpen = false;
        hasRoot = false;
        tags.clear();
        attributes.clear();
        text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    }

    void RequireOpen() const
    {
        if (!isOpen)
            throw std::runtime_error("no XML document is open");
    }

    void EndOpenTag()
    {
        if (isTagOpen)
            text += '>';
        isTagOpen = false;
        if (!isInMemory && text.size() >= BufferSize)
            Flush();
    }

    void Flush()
    {
        file->Write(text);
        text.clear();
    }

    /// \param i_is_attribute line ends and tabs in an attribute would be read back as blanks.
    void AppendEscaped(std::string_view i_text, bool i_is_attribute);

    std::unique_ptr<AtomicFile> file;
    std::string text;              ///< what is not in the file yet; the whole document when it is made in memory
    std::vector<std::string> tags; ///< open elements
    std::vector<std::pair<std::size_t, std::size_t>> attributes; ///< names in the open tag: place in the text, and size
    bool isInMemory = false;
    bool isOpen = false;
    bool isTagOpen = false;
    bool hasRoot = false;
};

void XmlWriter::Impl::AppendEscaped(std::string_view i_text, bool i_is_attribute)
{
    const unsigned char meanings = GetMeanings(i_text);
    if ((meanings & PartOfCharacter) != 0 && (!IsUtf8(i_text) || HoldsNoncharacter(i_text)))
        throw std::runtime_error("a text for XML is not valid UTF-8 or holds a character that XML cannot carry");
    if ((meanings & Escaped) == 0) {
        text += i_text;
        return;
    }
    std::size_t begin = 0;
    for (std::size_t position = 0; position < i_text.size(); ++position) {
        const char character = i_text[position];
        if ((GetMeaning(character) & Escaped) == 0)
            continue;
        const char* escaped = nullptr;
        switch (character) {
        case '&':
            escaped = "&amp;";
            break;
        case '<':
            escaped = "&lt;";
            break;
        case '>':
            escaped = "&gt;";
            break;
        case '"':
            escaped = "&quot;";
            break;
        case '\r':
            escaped = "&#13;";
            break;
        case '\n':
            escaped = i_is_attribute ? "&#10;" : "\n";
            break;
        case '\t':
            escaped = i_is_attribute ? "&#9;" : "\t";
            break;
        default:
            throw std::runtime_error("a text for XML holds the control character " +
                                     std::to_string(static_cast<int>(character)) + ", which XML cannot carry");
        }
        text.append(i_text, begin, position - begin);
        text += escaped;
        begin = position + 1;
    }
    text.append(i_text, begin);
}

XmlWriter::XmlWriter()
    : _impl(std::make_unique<Impl>())
{}

XmlWriter::~XmlWriter() = default;

bool XmlWriter::Open(const std::wstring& i_path)
{
    *_impl = Impl();
    try {
        _impl->Begin(std::make_unique<AtomicFile>(PathFromWide(i_path)));
        return true;
    } catch (const FileError&) {
        return false;
    }
}

void XmlWriter::OpenText()
{
    *_impl = Impl();
    _impl->Begin(nullptr);
}

void XmlWriter::WriteStartTag(std::string_view i_name)
{
    _impl->RequireOpen();
    if (!IsName(i_name))
        throw std::runtime_error(Quote(i_name) + " is no name for an XML element");
    if (_impl->tags.empty() && _impl->hasRoot)
        throw std::runtime_error("an XML document has one root element only");
    _impl->EndOpenTag();
    _impl->hasRoot = true;
    _impl->tags.emplace_back(i_name);
    _impl->attributes.clear();
    _impl->isTagOpen = true;
    _impl->text += '<';
    _impl->text += i_name;
}

void XmlWriter::WriteAttribute(std::string_view i_name, std::string_view i_value)
{
    _impl->RequireOpen();
    if (!_impl->isTagOpen)
        throw std::runtime_error("an XML attribute belongs directly after its start tag");
    if (!IsName(i_name))
        throw std::runtime_error(Quote(i_name) + " is no name for an XML attribute");
    for (const auto& [place, size] : _impl->attributes) {
        if (std::string_view(_impl->text).substr(place, size) == i_name)
            throw std::runtime_error("an XML element has the attribute " + Quote(i_name) + " twice");
    }
    _impl->text += ' ';
    _impl->attributes.emplace_back(_impl->text.size(), i_name.size());
    _impl->text += i_name;
    _impl->text += "=\"";
    _impl->AppendEscaped(i_value, true);
    _impl->text += '"';
}

void XmlWriter::WriteCharacterData(std::string_view i_text)
{
    _impl->RequireOpen();
    if (_impl->tags.empty())
        throw std::runtime_error("XML text belongs inside an element");
    _impl->EndOpenTag();
    _impl->AppendEscaped(i_text, false);
}

void XmlWriter::WriteEndTag(std::string_view i_name)
{
    _impl->RequireOpen();
    if (_impl->tags.empty() || _impl->tags.back() != i_name) {
        throw std::runtime_error("the XML end tag " + Quote(i_name) + " does not match " +
                                 (_impl->tags.empty() ? "any start tag" : Quote(_impl->tags.back())));
    }
    if (_impl->isTagOpen) {
        _impl->text += "/>";
        _impl->isTagOpen = false;
    } else {
        _impl->text += "</";
        _impl->text += i_name;
        _impl->text += '>';
    }
    _impl->EndOpenTag();
    _impl->tags.pop_back();
}

void XmlWriter::Close()
{
    _impl->RequireOpen();
    if (!_impl->tags.empty())
        throw std::runtime_error("the XML element " + Quote(_impl->tags.back()) + " was not ended");
    if (!_impl->hasRoot)
        throw std::runtime_error("the XML document has no element");
    _impl->isOpen = false;
    _impl->text += '\n';
    if (_impl->isInMemory)
        return;
    _impl->Flush();
    _impl->file->Commit();
    _impl->file.reset();
}

std::string XmlWriter::TakeText()
{
    if (_impl->isOpen || !_impl->isInMemory)
        throw std::runtime_error("no XML document in memory was closed");
    return std::exchange(_impl->text, {});
}

} // namespace TavSDK
