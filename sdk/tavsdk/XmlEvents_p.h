#pragma once

#include "tavsdk/InputFile.h"
#include "tavsdk/XmlReader.h"

#include <expat.h>

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace TavSDK {

/// Where the bytes come from: a file, a text in memory, or a stream.
class XmlSource
{
public:
    explicit XmlSource(std::string_view i_text)
        : _text(i_text)
    {}
    explicit XmlSource(InputFile i_file)
        : _file(std::move(i_file))
    {}
    XmlSource(XmlReaderBase::Stream i_stream, std::uint64_t i_largest_size)
        : _stream(std::move(i_stream))
        , _largestSize(i_largest_size)
    {}

    /// Number of bytes; fewer than asked for only at the end, or when the file fails.
    /// \throws what the stream throws.
    std::size_t Read(char* op_bytes, std::size_t i_count);
    /// Why the file failed, if it did.
    const std::string& GetFailure() const { return _failure; }
    std::uint64_t GetLargestSize() const { return _largestSize; }
    /// Line, counted from 1, that the byte stands in; 0 when that cannot be told of a stream. Moves the position: for
    /// when reading has ended.
    std::size_t FindLine(std::uint64_t i_position);

private:
    std::optional<InputFile> _file;
    XmlReaderBase::Stream _stream;
    std::string_view _text;
    std::size_t _position = 0;
    std::uint64_t _largestSize = XmlBounds::Document;
    std::string _failure;
};

struct XmlEvent
{
    enum class Kind : std::uint8_t
    {
        Start,
        Text,
        End,
    };

    std::uint64_t position;       ///< of a start tag in the document
    std::uint32_t offset;         ///< into the buffer's bytes: of a name with its attributes, or of text
    std::uint32_t size;           ///< of the name or text
    std::uint32_t attributes;     ///< of a start tag: the first one's place in the buffer's sizes
    std::uint16_t attributeCount; ///< of a start tag
    Kind kind;
};

/// The events of a document, one after the other, read in chunks.
///
/// Expat's callbacks only write events into a buffer; they are handed out when expat has returned, because an exception
/// must not pass through its C functions. There are two buffers: while somebody still uses texts of one, Next() may
/// have to fill the other.
class XmlEvents
{
public:
    /// \param io_error gets the first reason why reading failed.
    XmlEvents(XmlSource i_source, std::string& io_error);

    /// Null at the end of what can be read.
    const XmlEvent* Next()
    {
        while (_buffers[_reading].next == _buffers[_reading].events.size()) {
            if (_isComplete)
                return nullptr;
            if (_kept == &_buffers[_reading])
                _reading = 1 - _reading;
            _Feed(_buffers[_reading]);
        }
        return &_buffers[_reading].events[_buffers[_reading].next++];
    }

    // Of the event that Next() gave last; valid until its next call.
    std::string_view GetText(const XmlEvent& i_event) const
    {
        return std::string_view(_buffers[_reading].bytes).substr(i_event.offset, i_event.size);
    }
    XmlAttributes GetAttributes(const XmlEvent& i_event) const
    {
        const Buffer& buffer = _buffers[_reading];
        return {buffer.bytes.data() + i_event.offset + i_event.size, buffer.sizes.data() + i_event.attributes,
                i_event.attributeCount};
    }

    /// From here on the last event's text and attributes stay valid.
    void Keep() { _kept = &_buffers[_reading]; }
    void Release() { _kept = nullptr; }

    /// Sets the error of a place in the document; there is nothing to read afterwards.
    void Fail(std::uint64_t i_position, const std::string& i_reason);

private:
    /// The events of one chunk, flat.
    struct Buffer
    {
        std::string bytes;
        std::vector<XmlEvent> events;
        std::vector<XmlAttributes::Sizes> sizes;
        std::size_t next = 0;

        void Clear()
        {
            bytes.clear();
            events.clear();
            sizes.clear();
            next = 0;
        }
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

    void _Feed(Buffer& io_buffer);
    void _SetError(std::size_t i_line, const std::string& i_reason);

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> _parser;
    XmlSource _source;
    std::string& _error;

    std::array<Buffer, 2> _buffers;
    std::size_t _reading = 0;      ///< the buffer that events are taken from
    std::size_t _filling = 0;      ///< the buffer that expat's callbacks write into
    const Buffer* _kept = nullptr; ///< whose texts somebody still uses
    std::uint64_t _fed = 0;        ///< bytes given to expat
    std::size_t _pending = 0;      ///< bytes of them that belong to a tag or comment not yet complete
    bool _isComplete = false;      ///< the document has ended, well or not
    std::size_t _depth = 0;        ///< in the callbacks
    std::array<std::size_t, XmlBounds::Depth + 1> _textSizes = {};
    std::string _stopReason;       ///< why a callback stopped expat
    std::exception_ptr _exception; ///< that a callback must not let out
};

} // namespace TavSDK
