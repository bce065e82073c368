#include "buildprocessor/base/JsonFields.h"

#include "tavsdk/Text.h"

#include <QJsonValue>
#include <QString>

#include <algorithm>
#include <cmath>

namespace MachineService::BuildProcessor {

namespace {

/// Ends of ranges may have been worked out, and be off in the last digits.
std::string Rounded(double i_value)
{
    return QString::number(i_value, 'g', 12).toStdString();
}

bool IsCleanText(const QString& i_text, bool i_lines)
{
    return std::all_of(i_text.cbegin(), i_text.cend(), [&](QChar i_character) {
        return i_character.category() != QChar::Other_Control || (i_lines && i_character == QLatin1Char('\n'));
    });
}

} // namespace

JsonFields::JsonFields(const QJsonObject& i_object, std::string i_file, std::string i_path)
    : _object(i_object)
    , _file(std::move(i_file))
    , _path(std::move(i_path))
{}

bool JsonFields::Has(const char* ip_name) const
{
    return _object.contains(QLatin1String(ip_name));
}

std::string JsonFields::Text(const char* ip_name, std::size_t i_max_length, bool i_lines)
{
    const QJsonValue value = _Take(ip_name);
    const QString text = value.toString();
    if (!value.isString() || text.trimmed().isEmpty() || std::size_t(text.size()) > i_max_length ||
        !IsCleanText(text, i_lines))
        Refuse(ip_name,
               "must be a text of 1 to " + std::to_string(i_max_length) + " characters without control characters");
    return text.toStdString();
}

std::string JsonFields::Text(const char* ip_name, std::size_t i_max_length, const std::string& i_default, bool i_lines)
{
    return Has(ip_name) ? Text(ip_name, i_max_length, i_lines) : i_default;
}

double JsonFields::Number(const char* ip_name, Range i_range)
{
    const QJsonValue value = _Take(ip_name);
    return ItemNumber(value, _PathOf(ip_name), i_range);
}

double JsonFields::Number(const char* ip_name, Range i_range, double i_default)
{
    return Has(ip_name) ? Number(ip_name, i_range) : i_default;
}

bool JsonFields::Boolean(const char* ip_name, bool i_default)
{
    if (!Has(ip_name))
        return i_default;
    const QJsonValue value = _Take(ip_name);
    if (!value.isBool())
        Refuse(ip_name, "must be true or false");
    return value.toBool();
}

std::size_t JsonFields::Choice(const char* ip_name, std::span<const char* const> i_choices,
                               std::optional<std::size_t> i_default)
{
    if (i_default && !Has(ip_name))
        return *i_default;
    const QJsonValue value = _Take(ip_name);
    std::string names;
    std::size_t index = 0;
    for (const char* choice : i_choices) {
        if (value.isString() && value.toString() == QLatin1String(choice))
            return index;
        names += (index++ ? ", \"" : "\"") + std::string(choice) + '"';
    }
    Refuse(ip_name, "must be one of " + names);
}

JsonFields JsonFields::Object(const char* ip_name)
{
    return ItemObject(_Take(ip_name), _PathOf(ip_name));
}

void JsonFields::Array(const char* ip_name, Range i_count,
                       const std::function<void(const QJsonValue&, const std::string&)>& i_read)
{
    const QJsonValue value = _Take(ip_name);
    const QJsonArray items = value.toArray();
    if (!value.isArray() || items.size() < i_count.min || items.size() > i_count.max)
        Refuse(ip_name, "must be a list of " + TavSDK::NumberToText(i_count.min) + " to " +
                            TavSDK::NumberToText(i_count.max) + " items");
    for (int index = 0; index < items.size(); ++index)
        i_read(items.at(index), _PathOf(ip_name) + '[' + std::to_string(index) + ']');
}

void JsonFields::Each(const std::function<void(const std::string&, const std::string&)>& i_read)
{
    for (const QString& key : _object.keys()) {
        const std::string name = key.toStdString();
        const QJsonValue value = _Take(name.c_str());
        QString text;
        if (value.isBool())
            text = QLatin1String(value.toBool() ? "1" : "0");
        else if (value.isDouble())
            text = QString::fromStdString(TavSDK::NumberToText(value.toDouble()));
        else if (value.isString() && value.toString().size() <= 10'000 && IsCleanText(value.toString(), true))
            text = value.toString();
        else
            Refuse(name,
                   "must be a text of at most 10000 characters without control characters, a number, true or false");
        i_read(name, text.toStdString());
    }
}

JsonFields JsonFields::ItemObject(const QJsonValue& i_value, const std::string& i_path) const
{
    if (!i_value.isObject())
        _RefusePath(i_path, "must be an object");
    return JsonFields(i_value.toObject(), _file, i_path);
}

double JsonFields::ItemNumber(const QJsonValue& i_value, const std::string& i_path, Range i_range) const
{
    const double number = i_value.toDouble();
    if (!i_value.isDouble() || !std::isfinite(number) || number < i_range.min || number > i_range.max)
        _RefusePath(i_path, "must be a number from " + Rounded(i_range.min) + " to " + Rounded(i_range.max));
    return number;
}

void JsonFields::Finish() const
{
    for (const QString& key : _object.keys()) {
        if (!_read.contains(key.toStdString()))
            Refuse(key.left(100).toStdString(), "is not known");
    }
}

void JsonFields::Refuse(const std::string& i_name, const std::string& i_requirement) const
{
    _RefusePath(_PathOf(i_name), i_requirement);
}

void JsonFields::_RefusePath(const std::string& i_path, const std::string& i_requirement) const
{
    // The name of an unknown field is the file's own words.
    const std::string quoted = TavSDK::Quote(i_path, 200);
    throw ProfileError(_file + ": field " + quoted.substr(1, quoted.size() - 2) + ' ' + i_requirement);
}

QJsonValue JsonFields::_Take(const char* ip_name)
{
    const QJsonValue value = _object.value(QString::fromUtf8(ip_name));
    if (value.isUndefined())
        Refuse(ip_name, "is missing");
    _read.insert(ip_name);
    return value;
}

std::string JsonFields::_PathOf(std::string_view i_name) const
{
    return _path.empty() ? std::string(i_name) : _path + '.' + std::string(i_name);
}

} // namespace MachineService::BuildProcessor
