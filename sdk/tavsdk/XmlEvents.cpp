#include "tavsdk/XmlEvents_p.h"

#include "tavsdk/FileError.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace TavSDK {

namespace {

// Small enough that a chunk's events stay in the nearer caches, and that the heap does not tidy up when they are freed.
constexpr std::size_t SmallestChunk = std::size_t{16} << 10U;

std::uint32_t ToSize(std::size_t i_size)
{
    // XmlBounds keep everything far below; expat's own sizes are int.
    return static_cast<std::uint32_t>(i_size);
}

} // namespace

std::size_t XmlSource::Read(char* op_bytes, std::size_t i_count)
{
    if (_stream)
        return _stream(op_bytes, i_count);
    if (_file) {
        try {
            return _file->Read(op_bytes, i_count);
        } catch (const FileError& failure) {
            _failure = failure.what();
            return 0;
        }
    }
    const std::size_t count = std::min(i_count, _text.size() - _position);
    std::memcpy(op_bytes, _text.data() + _position, count);
    _position += count;
    return count;
}

std::size_t XmlSource::FindLine(std::uint64_t i_position)
{
    if (_stream)
        return 0;
    if (_file)
        _file->Rewind();
    _position = 0;
    std::size_t line = 1;
    std::vector<char> bytes(SmallestChunk);
    while (i_position > 0) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(i_position, bytes.size()));
        const std::size_t count = Read(bytes.data(), wanted);
        line += static_cast<std::size_t>(
            std::count(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count), '\n'));
        if (count < wanted)
            break;
        i_position -= count;
    }
    return line;
}

XmlEvents::XmlEvents(XmlSource i_source, std::string& io_error)
    : _parser(XML_ParserCreate(nullptr))
    , _source(std::move(i_source))
    , _error(io_error)
{
    if (!_parser)
        throw std::bad_alloc();
    XML_SetUserData(_parser.get(), this);
    XML_SetElementHandler(_parser.get(), &XmlEvents::_OnStart, &XmlEvents::_OnEnd);
    XML_SetCharacterDataHandler(_parser.get(), &XmlEvents::_OnText);
    XML_SetStartDoctypeDeclHandler(_parser.get(), &XmlEvents::_OnDoctype);
}

template <class Function>
void XmlEvents::_Guard(const Function& i_function)
{
    try {
        i_function();
    } catch (...) {
        _exception = std::current_exception();
        XML_StopParser(_parser.get(), XML_FALSE);
    }
}

void XmlEvents::_Stop(std::string i_reason)
{
    _stopReason = std::move(i_reason);
    XML_StopParser(_parser.get(), XML_FALSE);
}

void XMLCALL XmlEvents::_OnStart(void* ip_self, const XML_Char* ip_name, const XML_Char** ip_attributes)
{
    auto& self = *static_cast<XmlEvents*>(ip_self);
    self._Guard([&] { self._AddStart(ip_name, ip_attributes); });
}

void XmlEvents::_AddStart(const char* ip_name, const char** ip_attributes)
{
    // Expat may deliver the rest of an empty element's events after it was stopped.
    if (!_stopReason.empty())
        return;
    if (_depth == XmlBounds::Depth) {
        _Stop("elements are nested deeper than " + std::to_string(XmlBounds::Depth));
        return;
    }
    Buffer& buffer = _buffers[_filling];
    const std::size_t offset = buffer.bytes.size();
    const std::size_t first = buffer.sizes.size();
    const std::string_view tag = ip_name;
    buffer.bytes.append(tag);
    std::uint16_t count = 0;
    for (; ip_attributes[2 * count] != nullptr; ++count) {
        if (count == XmlBounds::Attributes) {
            _Stop("an element has more than " + std::to_string(XmlBounds::Attributes) + " attributes");
            return;
        }
        const std::string_view name = ip_attributes[2 * count];
        const std::string_view value = ip_attributes[2 * count + 1];
        buffer.bytes.append(name).append(value);
        buffer.sizes.push_back({ToSize(name.size()), ToSize(value.size())});
    }
    if (buffer.bytes.size() - offset > XmlBounds::Text) {
        _Stop("a tag is longer than " + std::to_string(XmlBounds::Text) + " bytes");
        return;
    }
    const XML_Index position = XML_GetCurrentByteIndex(_parser.get());
    buffer.events.push_back({static_cast<std::uint64_t>(position), ToSize(offset), ToSize(tag.size()), ToSize(first),
                             count, XmlEvent::Kind::Start});
    _textSizes[++_depth] = 0;
}

void XMLCALL XmlEvents::_OnEnd(void* ip_self, const XML_Char*)
{
    auto& self = *static_cast<XmlEvents*>(ip_self);
    self._Guard([&self] {
        if (!self._stopReason.empty())
            return;
        self._buffers[self._filling].events.push_back({0, 0, 0, 0, 0, XmlEvent::Kind::End});
        --self._depth;
    });
}

void XMLCALL XmlEvents::_OnText(void* ip_self, const XML_Char* ip_text, int i_size)
{
    auto& self = *static_cast<XmlEvents*>(ip_self);
    self._Guard([&] { self._AddText(ip_text, static_cast<std::size_t>(i_size)); });
}

void XmlEvents::_AddText(const char* ip_text, std::size_t i_size)
{
    if (!_stopReason.empty())
        return;
    _textSizes[_depth] += i_size;
    if (_textSizes[_depth] > XmlBounds::Text) {
        _Stop("an element has more than " + std::to_string(XmlBounds::Text) + " bytes of text");
        return;
    }
    Buffer& buffer = _buffers[_filling];
    if (!buffer.events.empty() && buffer.events.back().kind == XmlEvent::Kind::Text)
        buffer.events.back().size += ToSize(i_size);
    else
        buffer.events.push_back({0, ToSize(buffer.bytes.size()), ToSize(i_size), 0, 0, XmlEvent::Kind::Text});
    buffer.bytes.append(ip_text, i_size);
}

void XMLCALL XmlEvents::_OnDoctype(void* ip_self, const XML_Char*, const XML_Char*, const XML_Char*, int)
{
    auto& self = *static_cast<XmlEvents*>(ip_self);
    self._Guard([&self] { self._Stop("a DOCTYPE is not accepted"); });
}

void XmlEvents::_SetError(std::size_t i_line, const std::string& i_reason)
{
    _error = (i_line > 0 ? "Line " + std::to_string(i_line) + ": " : "") + i_reason + ".";
}

void XmlEvents::Fail(std::uint64_t i_position, const std::string& i_reason)
{
    _SetError(_source.FindLine(i_position), i_reason);
    _isComplete = true;
}

/// Gives expat the next chunk. Sets the error when the document ends badly; events before that place stay to be read.
void XmlEvents::_Feed(Buffer& io_buffer)
{
    io_buffer.Clear();
    _filling = static_cast<std::size_t>(&io_buffer - _buffers.data());
    // Expat scans an incomplete tag anew with each chunk: chunks grow with it, so that the work stays proportional.
    const std::size_t wanted = std::max(SmallestChunk, _pending);
    void* bytes = XML_GetBuffer(_parser.get(), static_cast<int>(wanted));
    if (bytes == nullptr)
        throw std::bad_alloc();
    const std::size_t count = _source.Read(static_cast<char*>(bytes), wanted);
    if (!_source.GetFailure().empty()) {
        _error = "The file cannot be read: " + _source.GetFailure() + ".";
        _isComplete = true;
        return;
    }
    _fed += count;
    if (_fed > _source.GetLargestSize()) {
        _error = "The document is longer than " + std::to_string(_source.GetLargestSize()) + " bytes.";
        _isComplete = true;
        return;
    }
    const bool isLast = count < wanted;
    const XML_Status status = XML_ParseBuffer(_parser.get(), static_cast<int>(count), isLast ? 1 : 0);
    if (_exception)
        std::rethrow_exception(_exception);
    if (status != XML_STATUS_OK) {
        if (_stopReason.empty())
            _stopReason = XML_ErrorString(XML_GetErrorCode(_parser.get()));
        _SetError(XML_GetCurrentLineNumber(_parser.get()), _stopReason);
        _isComplete = true;
        return;
    }
    _isComplete = isLast;
    const XML_Index position = XML_GetCurrentByteIndex(_parser.get());
    // No place at all: expat only kept the bytes, for a tag that has not ended yet.
    _pending = position < 0 ? _pending + count : static_cast<std::size_t>(_fed - static_cast<std::uint64_t>(position));
    if (!isLast && _pending > XmlBounds::Text + SmallestChunk) {
        _SetError(XML_GetCurrentLineNumber(_parser.get()),
                  "a tag or comment is longer than " + std::to_string(XmlBounds::Text) + " bytes");
        _isComplete = true;
    }
}

} // namespace TavSDK
