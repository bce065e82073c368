#include "machinemanager/page/views/Template.h"

#include "machinemanager/page/views/Assets.h"
#include "machinemanager/page/views/Texts.h"
#include "tavsdk/Utf8.h"

#include <stdexcept>

namespace MachineService::MachineManager {

namespace {

/// The values that hold at a place, the innermost last.
using Scopes = std::vector<const Values*>;

[[noreturn]] void Fail(std::string_view i_template, const std::string& i_fault)
{
    throw std::logic_error("The template '" + std::string(i_template) + "' is wrong: " + i_fault);
}

const std::string* FindText(const Scopes& i_scopes, std::string_view i_name)
{
    for (auto scope = i_scopes.rbegin(); scope != i_scopes.rend(); ++scope) {
        if (const auto* const text = (*scope)->FindText(i_name))
            return text;
    }
    return nullptr;
}

const std::vector<Values>* FindList(const Scopes& i_scopes, std::string_view i_name)
{
    for (auto scope = i_scopes.rbegin(); scope != i_scopes.rend(); ++scope) {
        if (const auto* const list = (*scope)->FindList(i_name))
            return list;
    }
    return nullptr;
}

class Filler
{
public:
    Filler(std::string_view i_name, std::string_view i_language, std::string& io_out)
        : _name(i_name)
        , _language(i_language)
        , _out(io_out)
    {}

    void Fill(std::string_view i_text, Scopes& io_scopes)
    {
        while (true) {
            const auto begin = i_text.find("{{");
            _out += i_text.substr(0, begin);
            if (begin == std::string_view::npos)
                return;
            const auto end = i_text.find("}}", begin);
            if (end == std::string_view::npos)
                Fail(_name, "a tag has no end");
            const auto tag = i_text.substr(begin + 2, end - begin - 2);
            i_text.remove_prefix(end + 2);
            if (tag.starts_with('#') || tag.starts_with('^'))
                i_text.remove_prefix(_FillSection(tag, i_text, io_scopes));
            else
                _FillTag(tag, io_scopes);
        }
    }

private:
    void _FillTag(std::string_view i_tag, Scopes& io_scopes)
    {
        if (i_tag.starts_with("t ")) {
            _out += EscapeHtml(Translate(i_tag.substr(2), _language));
        } else if (i_tag.starts_with('>')) {
            Filler(i_tag.substr(1), _language, _out).Fill(GetAsset(std::string(i_tag.substr(1)) + ".html"), io_scopes);
        } else if (const auto* const text = FindText(io_scopes, i_tag)) {
            _out += EscapeHtml(*text);
        } else {
            Fail(_name, "nobody set '" + std::string(i_tag) + '\'');
        }
    }

    /// \return how many bytes the section has, with its end.
    std::size_t _FillSection(std::string_view i_tag, std::string_view i_text, Scopes& io_scopes)
    {
        const auto name = i_tag.substr(1);
        const auto end = "{{/" + std::string(name) + "}}";
        const auto size = i_text.find(end);
        if (size == std::string_view::npos)
            Fail(_name, "the section '" + std::string(name) + "' has no end");
        const auto content = i_text.substr(0, size);
        const auto* const list = FindList(io_scopes, name);
        const auto* const text = FindText(io_scopes, name);
        const bool isThere = list ? !list->empty() : text && !text->empty();
        if (i_tag.front() == '^') {
            if (!isThere)
                Fill(content, io_scopes);
        } else if (isThere && list) {
            for (const auto& item : *list) {
                io_scopes.push_back(&item);
                Fill(content, io_scopes);
                io_scopes.pop_back();
            }
        } else if (isThere) {
            Fill(content, io_scopes);
        }
        return size + end.size();
    }

    const std::string_view _name;
    const std::string_view _language;
    std::string& _out;
};

} // namespace

Values& Values::Set(const std::string& i_name, std::string i_text)
{
    _texts[i_name] = std::move(i_text);
    return *this;
}

Values& Values::Add(const std::string& i_list, Values i_item)
{
    _lists[i_list].push_back(std::move(i_item));
    return *this;
}

const std::string* Values::FindText(std::string_view i_name) const
{
    const auto found = _texts.find(i_name);
    return found == _texts.end() ? nullptr : &found->second;
}

const std::vector<Values>* Values::FindList(std::string_view i_name) const
{
    const auto found = _lists.find(i_name);
    return found == _lists.end() ? nullptr : &found->second;
}

std::string FillTemplate(std::string_view i_name, const Values& i_values, std::string_view i_language)
{
    std::string page;
    Scopes scopes = {&i_values};
    Filler(i_name, i_language, page).Fill(GetAsset(std::string(i_name) + ".html"), scopes);
    return page;
}

std::string EscapeHtml(std::string_view i_text)
{
    std::string html;
    for (const char character : TavSDK::ReplaceInvalid(i_text)) {
        const auto byte = static_cast<unsigned char>(character);
        switch (character) {
        case '&':
            html += "&amp;";
            break;
        case '<':
            html += "&lt;";
            break;
        case '>':
            html += "&gt;";
            break;
        case '"':
            html += "&quot;";
            break;
        case '\'':
            html += "&#39;";
            break;
        default:
            // Control characters have no place in HTML.
            if ((byte < 0x20 && byte != '\n' && byte != '\t') || byte == 0x7f)
                html += "\xEF\xBF\xBD";
            else
                html += character;
        }
    }
    return html;
}

} // namespace MachineService::MachineManager
