#include "machinelayer/ConfigurationNamespaces.h"

#include "tavsdk/XmlReader.h"

#include <algorithm>

namespace MachineLayer {

namespace {

constexpr std::string_view Base = "https://www.vexlor.example";
constexpr std::size_t VersionSize = std::string_view("2022/09").size();

} // namespace

std::string MakeNamespace(std::string_view i_path)
{
    return std::string(Base).append(i_path);
}

std::string_view GetVersion(std::string_view i_path)
{
    return i_path.substr(i_path.size() - VersionSize);
}

std::string_view FindOtherVersion(std::string_view i_namespace, std::string_view i_path)
{
    const std::string expected = MakeNamespace(i_path);
    const std::string_view family = std::string_view(expected).substr(0, expected.size() - VersionSize);
    if (i_namespace == expected || i_namespace.size() != expected.size() || !i_namespace.starts_with(family))
        return {};
    // A year, a slash and a month, in digits that every reader takes for such.
    const std::string_view version = GetVersion(i_namespace);
    constexpr std::string_view form = "dddd/dd";
    const bool isVersion = std::equal(form.begin(), form.end(), version.begin(), [](char i_form, char i_byte) {
        return i_form == 'd' ? i_byte >= '0' && i_byte <= '9' : i_byte == i_form;
    });
    return isVersion ? version : std::string_view();
}

void XmlNamespaces::EnterElement(const TavSDK::XmlAttributes& i_attributes)
{
    constexpr std::string_view declaration = "xmlns";
    _elements.push_back(_declarations.size());
    i_attributes.ForEach([&](std::string_view i_name, std::string_view i_value) {
        if (i_name == declaration)
            _declarations.emplace_back(std::string(), i_value);
        else if (i_name.starts_with(declaration) && i_name[declaration.size()] == ':')
            _declarations.emplace_back(i_name.substr(declaration.size() + 1), i_value);
    });
}

void XmlNamespaces::LeaveElement()
{
    _declarations.resize(_elements.back());
    _elements.pop_back();
}

XmlNamespaces::Name XmlNamespaces::Resolve(std::string_view i_tag) const
{
    const std::size_t colon = i_tag.find(':');
    const std::string_view prefix = colon == std::string_view::npos ? std::string_view() : i_tag.substr(0, colon);
    const auto found = std::find_if(_declarations.rbegin(), _declarations.rend(),
                                    [&](const auto& i_declaration) { return i_declaration.first == prefix; });
    const bool isDeclared = found != _declarations.rend();
    return {isDeclared ? std::string_view(found->second) : std::string_view(),
            colon == std::string_view::npos ? i_tag : i_tag.substr(colon + 1), isDeclared || prefix.empty()};
}

XmlNamespaces::Name XmlNamespaces::ResolveAttribute(std::string_view i_name) const
{
    return i_name.find(':') == std::string_view::npos ? Name{{}, i_name} : Resolve(i_name);
}

} // namespace MachineLayer
