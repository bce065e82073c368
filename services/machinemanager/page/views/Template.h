#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace MachineService::MachineManager {

/// What a template is filled with.
class Values
{
public:
    Values& Set(const std::string& i_name, std::string i_text);
    Values& Set(const std::string& i_name, const char* ip_text) { return Set(i_name, std::string(ip_text)); }
    Values& Set(const std::string& i_name, bool i_is) { return Set(i_name, std::string(i_is ? "1" : "")); }
    /// An item of a list.
    Values& Add(const std::string& i_list, Values i_item);

    /// nullptr when there is none.
    const std::string* FindText(std::string_view i_name) const;
    const std::vector<Values>* FindList(std::string_view i_name) const;

private:
    std::map<std::string, std::string, std::less<>> _texts;
    std::map<std::string, std::vector<Values>, std::less<>> _lists;
};

/// Fills a template of the assets:
///
///     {{name}}               a value, escaped; there is no other way for a value into a page
///     {{t Some words}}       these words in the language of the page (Texts.h)
///     {{#name}}…{{/name}}    for each item of a list, with its values before those around; or once when a value is
///                            not empty
///     {{^name}}…{{/name}}    when there is none
///     {{>name}}              another template
///
/// Thread: any.
/// Errors: std::logic_error for a template that is wrong, or a value that nobody set; tests fill all of them.
std::string FillTemplate(std::string_view i_name, const Values& i_values, std::string_view i_language);

/// Text as it stands in HTML, also in the value of an attribute in quotation marks.
std::string EscapeHtml(std::string_view i_text);

} // namespace MachineService::MachineManager
