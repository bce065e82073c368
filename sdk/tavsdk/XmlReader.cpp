#include "tavsdk/XmlReader.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/XmlEvents_p.h"

#include <stdexcept>
#include <utility>

namespace TavSDK {

namespace {

/// Thrown inside Parse() only, from where reading ends to where the result is made.
struct ReadingEnded
{};

} // namespace

std::optional<std::string_view> XmlAttributes::Find(std::string_view i_name) const
{
    const char* text = _texts;
    for (std::size_t index = 0; index < _count; ++index) {
        const Sizes& sizes = _sizes[index];
        const char* const value = text + sizes.name;
        if (std::string_view(text, sizes.name) == i_name)
            return std::string_view(value, sizes.value);
        text = value + sizes.value;
    }
    return std::nullopt;
}

class XmlReaderBase::Impl
{
public:
    Impl(XmlSource i_source, std::string& io_error)
        : _events(std::move(i_source), io_error)
    {}

    void Dispatch(XmlReaderBase& i_reader);
    bool ReadValue(std::string& o_text);
    bool TakeStrayContent() { return std::exchange(_hasStrayContent, false); }
    [[noreturn]] void Fail(const std::string& i_reason);

private:
    enum class Element
    {
        Open,   ///< its handler runs, its content is still to come
        Ended,  ///< it was read to its end
        Broken, ///< the document broke off before its end
    };

    Element _SkipElement();
    Element _ReadText(std::string& o_text);

    XmlEvents _events;
    std::size_t _level = 0;
    std::array<Wanted, XmlBounds::Depth> _wanted = {};
    std::uint64_t _handlerPosition = 0; ///< of the element whose handler runs
    Element _element = Element::Ended;  ///< the element whose handler runs
    bool _hasStrayContent = false;
};

void XmlReaderBase::Impl::Fail(const std::string& i_reason)
{
    _events.Fail(_handlerPosition, i_reason);
    throw ReadingEnded();
}

XmlReaderBase::Impl::Element XmlReaderBase::Impl::_SkipElement()
{
    std::size_t open = 1;
    while (const XmlEvent* event = _events.Next()) {
        if (event->kind == XmlEvent::Kind::Start)
            ++open;
        else if (event->kind == XmlEvent::Kind::End && --open == 0)
            return Element::Ended;
    }
    return Element::Broken;
}

XmlReaderBase::Impl::Element XmlReaderBase::Impl::_ReadText(std::string& o_text)
{
    while (const XmlEvent* event = _events.Next()) {
        if (event->kind == XmlEvent::Kind::End)
            return Element::Ended;
        if (event->kind == XmlEvent::Kind::Text)
            o_text.append(_events.GetText(*event));
        else {
            _hasStrayContent = true;
            if (_SkipElement() == Element::Broken)
                break;
        }
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
    while (const XmlEvent* event = _events.Next()) {
        if (event->kind == XmlEvent::Kind::Text) {
            if (_events.GetText(*event).find_first_not_of(" \t\r\n") != std::string_view::npos)
                _hasStrayContent = true;
            continue;
        }
        if (event->kind == XmlEvent::Kind::End) {
            --_level;
            if (_wanted[_level].end)
                i_reader._End(_level);
            continue;
        }
        _handlerPosition = event->position;
        _element = Element::Open;
        _events.Keep();
        const Wanted wanted = i_reader._Start(_level, _events.GetText(*event), _events.GetAttributes(*event));
        _events.Release();
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
    _error.clear();
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

template <class Source>
bool XmlReaderBase::_ParseSource(const Source& i_make)
{
    std::unique_ptr<Impl> impl;
    try {
        impl = std::make_unique<Impl>(XmlSource(InputFile(i_make())), _error);
    } catch (const FileError& failure) {
        _error = std::string("The file cannot be read: ") + failure.what() + ".";
        return false;
    }
    return _Run(std::move(impl));
}

bool XmlReaderBase::Parse(const std::wstring& i_path)
{
    return _ParseSource([&i_path] { return PathFromWide(i_path); });
}

bool XmlReaderBase::ParseFile(const std::filesystem::path& i_path)
{
    return _ParseSource([&i_path] { return i_path; });
}

bool XmlReaderBase::ParseStream(const Stream& i_stream, std::uint64_t i_largest_size)
{
    return _Run(std::make_unique<Impl>(XmlSource(i_stream, i_largest_size), _error));
}

bool XmlReaderBase::ParseText(std::string_view i_document)
{
    return _Run(std::make_unique<Impl>(XmlSource(i_document), _error));
}

bool XmlReaderBase::ReadValue(std::string& o_text)
{
    o_text.clear();
    return _impl && _impl->ReadValue(o_text);
}

bool XmlReaderBase::TakeStrayContent()
{
    return _impl && _impl->TakeStrayContent();
}

void XmlReaderBase::Fail(const std::string& i_reason)
{
    if (!_impl)
        throw std::logic_error("only a handler can fail");
    _impl->Fail(i_reason);
}

} // namespace TavSDK
