#include "machinemanager/printers/Description.h"

#include "machinemanager/jobs/ManagerError.h"
#include "tavsdk/Text.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

#include <algorithm>
#include <cmath>
#include <utility>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t LongestShown = 80;

std::string List(std::initializer_list<const char*> i_names)
{
    std::string text;
    std::size_t left = i_names.size();
    for (const char* const name : i_names) {
        text.append(1, '\'').append(name).append(1, '\'');
        --left;
        text += left == 0 ? "" : left == 1 ? " and " : ", ";
    }
    return text;
}

} // namespace

Description::Description(QJsonObject i_object, std::string i_place)
    : _object(std::move(i_object))
    , _place(std::move(i_place))
{}

Description Description::Parse(const std::string& i_json)
{
    const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(i_json));
    if (!document.isObject())
        Refuse("it is not one JSON object.");
    return Description(document.object());
}

void Description::AllowOnly(std::initializer_list<const char*> i_names) const
{
    for (const QString& name : _object.keys()) {
        const auto isName = [&](const char* ip_name) {
            return name == QLatin1String(ip_name);
        };
        if (std::none_of(i_names.begin(), i_names.end(), isName))
            Refuse("the field " + TavSDK::Quote(_GetFullName(name.toStdString()), LongestShown) +
                   " is unknown; there are " + List(i_names) + '.');
    }
}

bool Description::Has(const char* ip_name) const
{
    return _object.contains(QLatin1String(ip_name));
}

QJsonValue Description::GetValue(const char* ip_name) const
{
    return _object.value(QLatin1String(ip_name));
}

Description Description::GetDescription(const char* ip_name) const
{
    if (!GetValue(ip_name).isObject())
        Refuse(ip_name, "is an object.");
    return Description(GetValue(ip_name).toObject(), _GetFullName(ip_name));
}

std::string Description::GetText(const char* ip_name) const
{
    const auto text = GetValue(ip_name).toString().toStdString();
    const bool isClean = std::none_of(text.begin(), text.end(), [](char i_byte) {
        return static_cast<unsigned char>(i_byte) < ' ' || i_byte == '\x7f';
    });
    if (text.empty() || !isClean)
        Refuse(ip_name, "is a text on one line.");
    return text;
}

std::string Description::FindText(const char* ip_name) const
{
    return Has(ip_name) ? GetText(ip_name) : std::string();
}

int Description::GetNumber(const char* ip_name, int i_smallest, int i_largest) const
{
    const double number = GetValue(ip_name).toDouble(std::nan(""));
    if (!(number >= i_smallest && number <= i_largest && number == std::floor(number)))
        Refuse(ip_name,
               "is a whole number from " + std::to_string(i_smallest) + " to " + std::to_string(i_largest) + '.');
    return static_cast<int>(number);
}

void Description::Refuse(const std::string& i_name, const std::string& i_reason) const
{
    Refuse(TavSDK::Quote(_GetFullName(i_name), LongestShown) + ' ' + i_reason);
}

void Description::Refuse(const std::string& i_reason)
{
    throw ManagerError(ManagerError::Kind::BadInput, "The description of the printer cannot be used: " + i_reason);
}

std::string Description::_GetFullName(const std::string& i_name) const
{
    return _place.empty() ? i_name : _place + '.' + i_name;
}

} // namespace MachineService::MachineManager
