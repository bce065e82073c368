#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include <cstddef>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace MachineService::BuildProcessor {

/// A profile is damaged. what(): UTF-8, names the file, the field and what it must be, in one sentence.
class ProfileError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Range of a number; both ends belong to it.
struct Range
{
    double min;
    double max;
};

/// Typed access to the fields of one JSON object from outside.
///
/// Read every field, then call Finish(): it refuses the fields that nobody asked for, so that a mistyped name is found.
/// Names in messages are full paths ("materials[2].density").
class JsonFields
{
public:
    JsonFields(const QJsonObject& i_object, std::string i_file, std::string i_path = {});

    bool Has(const char* ip_name) const;
    /// 1 to i_max_length characters, no control characters except line breaks where i_lines allows them.
    std::string Text(const char* ip_name, std::size_t i_max_length, bool i_lines = false);
    std::string Text(const char* ip_name, std::size_t i_max_length, const std::string& i_default, bool i_lines = false);
    double Number(const char* ip_name, Range i_range);
    double Number(const char* ip_name, Range i_range, double i_default);
    bool Boolean(const char* ip_name, bool i_default);
    /// Index of the text in the list.
    std::size_t Choice(const char* ip_name, std::span<const char* const> i_choices,
                       std::optional<std::size_t> i_default = {});
    std::size_t Choice(const char* ip_name, std::initializer_list<const char*> i_choices,
                       std::optional<std::size_t> i_default = {})
    {
        return Choice(ip_name, std::span(i_choices.begin(), i_choices.size()), i_default);
    }
    JsonFields Object(const char* ip_name);
    /// Calls i_read with each item's value and path.
    void Array(const char* ip_name, Range i_count,
               const std::function<void(const QJsonValue&, const std::string&)>& i_read);
    /// All fields of the object, each a text, number or boolean, as texts.
    void Each(const std::function<void(const std::string& i_name, const std::string& i_value)>& i_read);

    JsonFields ItemObject(const QJsonValue& i_value, const std::string& i_path) const;
    double ItemNumber(const QJsonValue& i_value, const std::string& i_path, Range i_range) const;

    /// \throws ProfileError for a field that was not read.
    void Finish() const;
    [[noreturn]] void Refuse(const std::string& i_name, const std::string& i_requirement) const;

private:
    QJsonValue _Take(const char* ip_name);
    [[noreturn]] void _RefusePath(const std::string& i_path, const std::string& i_requirement) const;
    std::string _PathOf(std::string_view i_name) const;

    const QJsonObject _object;
    const std::string _file;
    const std::string _path;
    std::set<std::string> _read;
};

} // namespace MachineService::BuildProcessor
