#include "tavsdk/XmlReader.h"

#include "tavsdk/Utf8.h"

#include <expat.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace TavSDK {

namespace {

constexpr std::size_t SmallestChunk = std::size_t{64} << 10U;

/// Thrown inside Parse() only, from where reading ends to where the result is made.
struct ReadingEnded
{};

struct FileCloser
{
    void operator()(std::FILE* ip_file) const { std::fclose(ip_file); }
};

/// Where the bytes come from: a file, or a text in memory.
class Source
{
public:
    explicit Source(std::string_view i_text)
        : _text(i_text)
    {}
    explicit Source(std::unique_ptr<std::FILE, FileCloser> ip_file)
        : _file(std::move(ip_file))
    {}

    /// Number of bytes; fewer than asked for only at the end.
    std::size_t Read(char* op_bytes, std::size_t i_count)
    {
        if (_file) {
            const std::size_t count = std::fread(op_bytes, 1, i_count, _file.get());
            _failure = std::ferror(_file.get()) != 0 ? errno : 0;
            return count;
        }
        const std::size_t count = std::min(i_count, _text.size() - _position);
        std::memcpy(op_bytes, _text.data() + _position, count);
        _position += count;
        return count;
    }

    /// errno of the last Read(); 0 when it did well.
    int GetFailure() const { return _failure; }

    /// Line, counted from 1, that the byte stands in. Moves the position: for when reading has ended.
    std::size_t FindLine(std::uint64_t i_position)
    {
        if (_file)
            std::rewind(_file.get());
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

private:
    std::unique_ptr<std::FILE, FileCloser> _file;
    std::string_view _text;
    std::size_t _position = 0;
    int _failure = 0;
};

enum class EventKind : std::uint8_t
{
    Start,
    Text,
    End,
};

struct Event
{
    EventKind kind;
    std::uint32_t attributeCount; ///< of a start tag
    std::size_t offset;           ///< into the buffer's bytes: of a name with its attributes, or of text
    std::size_t size;             ///< of the name or text
    std::uint64_t position;       ///< of a start tag in the document
};

/// The events of one chunk, flat.
struct Buffer
{
    std::string bytes;
    std::vector<Event> events;
    std::size_t next = 0;

    void Clear()
    {
        bytes.clear();
        events.clear();
        next = 0;
    }
};

} // namespace

std::optional<std::string_view> XmlAttributes::Find(std::string_view i_name) const
{
    const char* text = _texts;
    for (std::size_t index = 0; index < _count; ++index) {
        const std::string_view name = text;
        const std::string_view value = text + name.size() + 1;
        if (name == i_name)
            return value;
        text = value.data() + value.size() + 1;
    }
    return std::nullopt;
}

/// Expat's callbacks only write events into a buffer; handlers are called when expat has returned, because an exception
/// must not pass through its C functions. There are two buffers: while a handler uses texts of one, ReadValue() may
/// have to fill the other.
class XmlReaderBase::Impl
{
public:
    /// \param io_error gets the first reason why reading failed.
    Impl(Source i_source, std::string& io_error);

    void Dispatch(XmlReaderBase& i_reader);
    bool ReadValue(std::string& o_text);
    [[noreturn]] void Fail(const std::string& i_reason);

private:
    enum class Element
    {
        Open,   ///< its handler runs, its content is still to come
        Ended,  ///< it was read to its end
        Broken, ///< the document broke off before its end
    };

    struct ParserDeleter
    {
        void operator()(XML_Parser ip_parser) const { XML_ParserFree(ip_parser); }
    };

    static void XMLCALL _OnStart(void* ip_self, const XML_Char* ip_name, const XML_Char** ip_attributes);
    static void XMLCALL _OnEnd(void* ip_self, const XML_Char* ip_name);
    static void XMLCALL _OnText(void* ip_self, const XML_Char* ip_text, int i_size);
    static void XMLCALL _OnDoctype(void* ip_self, const XML_Char*, const XML_Char*, const XML_Char*, int);

    void _AddStart(const char* ip_name, const char** ip_attributes);
    void _AddText(const char* ip_text, std::size_t i_size);
    void _Stop(std::string i_reason);
    template <class Function>
    void _Guard(const Function& i_function);

    Event* _NextEvent();
    void _Feed(Buffer& io_buffer);
    Element _SkipElement();
    Element _ReadText(std::string& o_text);
    void _SetError(std::size_t i_line, std::string i_reason);

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> _parser;
    Source _source;
    std::string& _error;

    // Feeding.
    std::array<Buffer, 2> _buffers;
    std::size_t _reading = 0; ///< the buffer that events are taken from
    std::size_t _filling = 0; ///< the buffer that expat's callbacks write into
    std::uint64_t _fed = 0;   ///< bytes given to expat
    std::size_t _pending = 0; ///< bytes of them that belong to a tag or comment not yet complete
    bool _isComplete = false; ///< the document has ended, well or not
    std::size_t _depth = 0;   ///< in the callbacks
    std::array<std::size_t, XmlBounds::Depth + 1> _textSizes = {};
    std::string _stopReason;       ///< why a callback stopped expat
    std::exception_ptr _exception; ///< that a callback must not let out

    // Dispatching.
    std::size_t _level = 0;
    std::array<Wanted, XmlBounds::Depth> _wanted = {};
    std::uint64_t _handlerPosition = 0;     ///< of the element whose handler runs
    Element _element = Element::Ended;      ///< the element whose handler runs
    const Buffer* _handlerBuffer = nullptr; ///< whose texts the running handler uses
};

XmlReaderBase::Impl::Impl(Source i_source, std::string& io_error)
    : _parser(XML_ParserCreate(nullptr))
    , _source(std::move(i_source))
    , _error(io_error)
{
    if (!_parser)
        throw std::bad_alloc();
    XML_SetUserData(_parser.get(), this);
    XML_SetElementHandler(_parser.get(), &Impl::_OnStart, &Impl::_OnEnd);
    XML_SetCharacterDataHandler(_parser.get(), &Impl::_OnText);
    XML_SetStartDoctypeDeclHandler(_parser.get(), &Impl::_OnDoctype);
}

template <class Function>
void XmlReaderBase::Impl::_Guard(const Function& i_function)
{
    try {
        i_function();
    } catch (...) {
        _exception = std::current_exception();
        XML_StopParser(_parser.get(), XML_FALSE);
    }
}

void XmlReaderBase::Impl::_Stop(std::string i_reason)
{
    _stopReason = std::move(i_reason);
    XML_StopParser(_parser.get(), XML_FALSE);
}

void XMLCALL XmlReaderBase::Impl::_OnStart(void* ip_self, const XML_Char* ip_name, const XML_Char** ip_attributes)
{
    auto& self = *static_cast<Impl*>(ip_self);
    self._Guard([&] { self._AddStart(ip_name, ip_attributes); });
}

void XmlReaderBase::Impl::_AddStart(const char* ip_name, const char** ip_attributes)
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
    const std::size_t nameSize = std::strlen(ip_name);
    buffer.bytes.append(ip_name, nameSize + 1);
    std::uint32_t count = 0;
    for (; ip_attributes[2 * count] != nullptr; ++count) {
        if (count == XmlBounds::Attributes) {
            _Stop("an element has more than " + std::to_string(XmlBounds::Attributes) + " attributes");
            return;
        }
        const char* name = ip_attributes[2 * count];
        const char* value = ip_attributes[2 * count + 1];
        buffer.bytes.append(name, std::strlen(name) + 1);
        buffer.bytes.append(value, std::strlen(value) + 1);
    }
    if (buffer.bytes.size() - offset > XmlBounds::Text) {
        _Stop("a tag is longer than " + std::to_string(XmlBounds::Text) + " bytes");
        return;
    }
    const XML_Index position = XML_GetCurrentByteIndex(_parser.get());
    buffer.events.push_back({EventKind::Start, count, offset, nameSize, static_cast<std::uint64_t>(position)});
    _textSizes[++_depth] = 0;
}

void XMLCALL XmlReaderBase::Impl::_OnEnd(void* ip_self, const XML_Char*)
{
    auto& self = *static_cast<Impl*>(ip_self);
    self._Guard([&self] {
        if (!self._stopReason.empty())
            return;
        self._buffers[self._filling].events.push_back({EventKind::End, 0, 0, 0, 0});
        --self._depth;
    });
}

void XMLCALL XmlReaderBase::Impl::_OnText(void* ip_self, const XML_Char* ip_text, int i_size)
{
    auto& self = *static_cast<Impl*>(ip_self);
    self._Guard([&] { self._AddText(ip_text, static_cast<std::size_t>(i_size)); });
}

void XmlReaderBase::Impl::_AddText(const char* ip_text, std::size_t i_size)
{
    if (!_stopReason.empty())
        return;
    _textSizes[_depth] += i_size;
    if (_textSizes[_depth] > XmlBounds::Text) {
        _Stop("an element has more than " + std::to_string(XmlBounds::Text) + " bytes of text");
        return;
    }
    Buffer& buffer = _buffers[_filling];
    if (!buffer.events.empty() && buffer.events.back().kind == EventKind::Text)
        buffer.events.back().size += i_size;
    else
        buffer.events.push_back({EventKind::Text, 0, buffer.bytes.size(), i_size, 0});
    buffer.bytes.append(ip_text, i_size);
}

void XMLCALL XmlReaderBase::Impl::_OnDoctype(void* ip_self, const XML_Char*, const XML_Char*, const XML_Char*, int)
{
    auto& self = *static_cast<Impl*>(ip_self);
    self._Guard([&self] { self._Stop("a DOCTYPE is not accepted"); });
}

void XmlReaderBase::Impl::_SetError(std::size_t i_line, std::string i_reason)
{
    _error = "Line " + std::to_string(i_line) + ": " + std::move(i_reason) + ".";
}

void XmlReaderBase::Impl::Fail(const std::string& i_reason)
{
    _SetError(_source.FindLine(_handlerPosition), i_reason);
    throw ReadingEnded();
}

/// Gives expat the next chunk. Sets the error when the document ends badly; events before that place stay to be read.
void XmlReaderBase::Impl::_Feed(Buffer& io_buffer)
{
    io_buffer.Clear();
    _filling = static_cast<std::size_t>(&io_buffer - _buffers.data());
    // Expat scans an incomplete tag anew with each chunk: chunks grow with it, so that the work stays proportional.
    const std::size_t wanted = std::max(SmallestChunk, _pending);
    void* bytes = XML_GetBuffer(_parser.get(), static_cast<int>(wanted));
    if (bytes == nullptr)
        throw std::bad_alloc();
    const std::size_t count = _source.Read(static_cast<char*>(bytes), wanted);
    if (const int failure = _source.GetFailure(); failure != 0) {
        _error = "The file cannot be read: " + std::generic_category().message(failure) + ".";
        _isComplete = true;
        return;
    }
    _fed += count;
    if (_fed > XmlBounds::Document) {
        _error = "The document is longer than " + std::to_string(XmlBounds::Document) + " bytes.";
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

/// Null at the end of what can be read.
Event* XmlReaderBase::Impl::_NextEvent()
{
    while (_buffers[_reading].next == _buffers[_reading].events.size()) {
        if (_isComplete)
            return nullptr;
        if (_handlerBuffer == &_buffers[_reading])
            _reading = 1 - _reading;
        _Feed(_buffers[_reading]);
    }
    return &_buffers[_reading].events[_buffers[_reading].next++];
}

XmlReaderBase::Impl::Element XmlReaderBase::Impl::_SkipElement()
{
    std::size_t open = 1;
    while (const Event* event = _NextEvent()) {
        if (event->kind == EventKind::Start)
            ++open;
        else if (event->kind == EventKind::End && --open == 0)
            return Element::Ended;
    }
    return Element::Broken;
}

XmlReaderBase::Impl::Element XmlReaderBase::Impl::_ReadText(std::string& o_text)
{
    while (const Event* event = _NextEvent()) {
        if (event->kind == EventKind::End)
            return Element::Ended;
        if (event->kind == EventKind::Text)
            o_text.append(_buffers[_reading].bytes, event->offset, event->size);
        else if (_SkipElement() == Element::Broken)
            break;
    }
    return Element::Broken;
}

bool XmlReaderBase::Impl::ReadValue(std::string& o_text)
{
    o_text.clear();
    if (_element != Element::Open)
        return false;
    _element = _ReadText(o_text);
    return _element == Element::Ended;
}

void XmlReaderBase::Impl::Dispatch(XmlReaderBase& i_reader)
{
    while (const Event* event = _NextEvent()) {
        if (event->kind == EventKind::Text)
            continue;
        if (event->kind == EventKind::End) {
            --_level;
            if (_wanted[_level].end)
                i_reader._End(_level);
            continue;
        }
        const char* name = _buffers[_reading].bytes.data() + event->offset;
        const std::string_view nameView(name, event->size);
        const XmlAttributes attributes(name + event->size + 1, event->attributeCount);
        _handlerPosition = event->position;
        _handlerBuffer = &_buffers[_reading];
        _element = Element::Open;
        const Wanted wanted = i_reader._Start(_level, nameView, attributes);
        _handlerBuffer = nullptr;
        const Element element = std::exchange(_element, Element::Ended);
        if (element == Element::Open && wanted.children)
            _wanted[_level++] = wanted;
        else if ((element == Element::Open ? _SkipElement() : element) == Element::Ended && wanted.end)
            i_reader._End(_level);
    }
}

XmlReaderBase::XmlReaderBase() = default;
XmlReaderBase::~XmlReaderBase() = default;

bool XmlReaderBase::_Run(std::unique_ptr<Impl> ip_impl)
{
    if (_impl)
        throw std::logic_error("a reader's handler must not make it read another document");
    struct Ender
    {
        std::unique_ptr<Impl>& impl;
        ~Ender() { impl.reset(); }
    };
    const Ender ender{_impl};
    _impl = std::move(ip_impl);
    try {
        _impl->Dispatch(*this);
    } catch (const ReadingEnded&) {
    }
    return _error.empty();
}

bool XmlReaderBase::Parse(const std::wstring& i_path)
{
    const std::string path = ToUtf8(i_path);
    _error.clear();
    std::error_code failure;
    // Opening a pipe would wait for its writer, maybe for ever.
    if (!std::filesystem::is_regular_file(path, failure)) {
        _error =
            "The file cannot be read: " + (failure ? failure.message() : std::string("it is no regular file")) + ".";
        return false;
    }
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        _error = "The file cannot be read: " + std::generic_category().message(errno) + ".";
        return false;
    }
    return _Run(std::make_unique<Impl>(Source(std::move(file)), _error));
}

bool XmlReaderBase::ParseText(std::string_view i_document)
{
    _error.clear();
    return _Run(std::make_unique<Impl>(Source(i_document), _error));
}

bool XmlReaderBase::ReadValue(std::string& o_text)
{
    o_text.clear();
    return _impl && _impl->ReadValue(o_text);
}

void XmlReaderBase::Fail(const std::string& i_reason)
{
    if (!_impl)
        throw std::logic_error("only a handler can fail");
    _impl->Fail(i_reason);
}

} // namespace TavSDK
