#pragma once

#include "tavsdk_export.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace TavSDK {

/// What a document may ask of its reader; one that asks for more is refused.
namespace XmlBounds {
inline constexpr unsigned Depth = 64;                      ///< nested elements
inline constexpr int Attributes = 256;                     ///< of one element
inline constexpr std::size_t Text = std::size_t{8} << 20U; ///< bytes of one element's text, and of one tag or comment
inline constexpr std::size_t Document = std::size_t{64} << 20U; ///< bytes, unless ParseStream() is told otherwise
} // namespace XmlBounds

/// Attributes of the element that a handler is called for. Valid until the handler returns.
class TAVSDK_EXPORT XmlAttributes
{
public:
    struct Sizes
    {
        std::uint32_t name;
        std::uint32_t value;
    };
    /// \param ip_texts i_count pairs of name and value, one directly behind the other.
    XmlAttributes(const char* ip_texts, const Sizes* ip_sizes, std::size_t i_count)
        : _texts(ip_texts)
        , _sizes(ip_sizes)
        , _count(i_count)
    {}

    std::size_t GetCount() const { return _count; }
    /// Value of the first attribute of exactly that name, UTF-8; empty when there is none.
    std::optional<std::string_view> Find(std::string_view i_name) const;
    /// The same, with an empty text when there is none.
    std::string_view Get(std::string_view i_name) const { return Find(i_name).value_or(std::string_view()); }
    /// In the order of the document. i_function(name, value)
    template <class Function>
    void ForEach(const Function& i_function) const
    {
        const char* text = _texts;
        for (const Sizes* sizes = _sizes; sizes != _sizes + _count; ++sizes) {
            const std::string_view name(text, sizes->name);
            const std::string_view value(text + sizes->name, sizes->value);
            i_function(name, value);
            text += name.size() + value.size();
        }
    }

private:
    const char* _texts;
    const Sizes* _sizes;
    std::size_t _count;
};

/// The part of XmlReader that is the same for all readers.
class TAVSDK_EXPORT XmlReaderBase
{
public:
    XmlReaderBase(const XmlReaderBase&) = delete;
    XmlReaderBase& operator=(const XmlReaderBase&) = delete;

    /// Gives the next bytes; fewer than asked for only at the end.
    using Stream = std::function<std::size_t(char* op_bytes, std::size_t i_count)>;

    /// Reads a file from its beginning.
    /// \return false when the file cannot be read, is not well-formed, has a DOCTYPE, exceeds XmlBounds or a handler
    ///         called Fail(); GetError() then says why. What the handlers did until then stays done.
    /// \throws what a handler throws; std::logic_error when called by a handler of this reader.
    bool Parse(const std::wstring& i_path);
    bool ParseFile(const std::filesystem::path& i_path);
    /// The same for a document in memory.
    bool ParseText(std::string_view i_document);
    /// The same for a document that comes in pieces, for example unpacked, and may be longer than XmlBounds::Document.
    /// The reason names a line only where the document is not well-formed.
    /// \throws what the stream throws.
    bool ParseStream(const Stream& i_stream, std::uint64_t i_largest_size);
    /// One sentence in UTF-8 with the line number, for example "Line 12: mismatched tag."; empty after success.
    const std::string& GetError() const { return _error; }

protected:
    struct Wanted
    {
        bool children = false;
        bool end = false;
    };

    XmlReaderBase();
    virtual ~XmlReaderBase();

    /// Inside a tag handler: reads on to the element's end and gives its text; elements in it are skipped with theirs.
    /// \return false when the document breaks off or breaks a rule before that, or the text was already read; the
    ///         handler then just returns.
    bool ReadValue(std::string& o_text);
    /// Whether text beside elements, or elements inside a value, were skipped since the last call.
    bool TakeStrayContent();
    /// Inside a handler: ends reading; Parse() returns false with the line of the handler's element and this reason.
    [[noreturn]] void Fail(const std::string& i_reason);

private:
    virtual Wanted _Start(std::size_t i_level, std::string_view i_name, const XmlAttributes& i_attributes) = 0;
    virtual void _End(std::size_t i_level) = 0;

    class Impl;
    template <class Source>
    bool _ParseSource(const Source& i_make);
    bool _Run(std::unique_ptr<Impl> ip_impl);

    std::unique_ptr<Impl> _impl; ///< of the reading that is going on, if any
    std::string _error;
};

/// Event-driven (SAX) reader of XML: a table of tag handlers, one per nesting level.
///
/// \code
/// class NamesReader : public TavSDK::XmlReader<NamesReader>
/// {
/// public:
///     explicit NamesReader(std::vector<std::string>& io_names) : XmlReader(&NamesReader::_ReadRoot), _names(io_names)
///     {}
///
/// private:
///     Answer _ReadRoot(std::string_view i_name, const TavSDK::XmlAttributes&)
///     {
///         return i_name == "Names" ? Taken(&NamesReader::_ReadName) : NotTaken();
///     }
///     Answer _ReadName(std::string_view i_name, const TavSDK::XmlAttributes&)
///     {
///         if (i_name != "Name")
///             return NotTaken();
///         ReadValue(_names.emplace_back());
///         return Taken();
///     }
/// };
/// \endcode
///
/// An element that is not taken, or is taken without a handler for its children, is skipped with its content. Names
/// are compared as written: prefixes and namespace declarations mean nothing. Handlers run on the caller's stack, so
/// they may throw.
///
/// Thread: any; one reader on one thread at a time.
template <class T>
class XmlReader : public XmlReaderBase
{
protected:
    struct Answer;
    using Handler = Answer (T::*)(std::string_view i_name, const XmlAttributes& i_attributes);
    using EndHandler = void (T::*)();

    /// Whether a handler takes the element, who receives its children, and who hears of its end.
    struct Answer
    {
        bool isTaken = false;
        Handler children = nullptr;
        EndHandler end = nullptr;
    };

    static Answer NotTaken() { return {}; }
    static Answer Taken(Handler i_children = nullptr, EndHandler i_end = nullptr) { return {true, i_children, i_end}; }

    explicit XmlReader(Handler i_root) { _handlers[0] = i_root; }
    ~XmlReader() override = default;

private:
    Wanted _Start(std::size_t i_level, std::string_view i_name, const XmlAttributes& i_attributes) final
    {
        Answer answer = (static_cast<T*>(this)->*_handlers[i_level])(i_name, i_attributes);
        if (!answer.isTaken)
            return {};
        _handlers[i_level + 1] = answer.children;
        _ends[i_level] = answer.end;
        return {answer.children != nullptr, answer.end != nullptr};
    }

    void _End(std::size_t i_level) final { (static_cast<T*>(this)->*_ends[i_level])(); }

    std::array<Handler, XmlBounds::Depth + 1> _handlers = {};
    std::array<EndHandler, XmlBounds::Depth> _ends = {};
};

} // namespace TavSDK
