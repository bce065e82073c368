#include "machinemanager/printers/OrderTemplate.h"

#include "tavsdk/Path.h"
#include "tavsdk/PercentEncoding.h"
#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <algorithm>
#include <array>
#include <functional>
#include <optional>
#include <utility>

namespace MachineService::MachineManager {

namespace {

using Tell = std::function<std::string(const PrintOrder&)>;

struct Place
{
    std::string_view name;
    bool tellsOrder;
    Tell tell;
};

const std::array<Place, 4>& GetPlaces()
{
    static const std::array<Place, 4> places = {{
        {"name", true,
         [](const PrintOrder& i_order) {
             return i_order.GetFileName();
         }},
        {"key", true,
         [](const PrintOrder& i_order) {
             return i_order.GetKey();
         }},
        {"sha256", false,
         [](const PrintOrder& i_order) {
             return i_order.hash;
         }},
        {"size", false,
         [](const PrintOrder& i_order) {
             return std::to_string(GetFileSize(i_order));
         }},
    }};
    return places;
}

struct Fault
{
    std::string reason;
};

/// Calls one function for each character and the other for each place.
void Walk(std::string_view i_text, const std::function<void(char)>& i_onCharacter,
          const std::function<void(const Place&)>& i_onPlace)
{
    while (!i_text.empty()) {
        const char character = i_text.front();
        const bool isBrace = character == '{' || character == '}';
        if (!isBrace || (i_text.size() > 1 && i_text[1] == character)) {
            i_onCharacter(character);
            i_text.remove_prefix(isBrace ? 2 : 1);
            continue;
        }
        const auto end = i_text.find('}');
        const auto name = i_text.substr(1, end == std::string_view::npos ? end : end - 1);
        const auto& places = GetPlaces();
        const auto* const place =
            std::find_if(places.begin(), places.end(), [&](const Place& i_place) { return i_place.name == name; });
        if (character == '}' || end == std::string_view::npos || place == places.end())
            throw Fault{"has a brace that begins none of {name}, {key}, {sha256} and {size}; write a brace itself "
                        "twice."};
        i_onPlace(*place);
        i_text.remove_prefix(end + 1);
    }
}

std::string Fill(std::string_view i_text, const PrintOrder& i_order,
                 const std::function<std::string(std::string_view)>& i_encode)
{
    std::string text;
    Walk(
        i_text, [&](char i_character) { text += i_character; },
        [&](const Place& i_place) { text += i_encode(i_place.tell(i_order)); });
    return text;
}

/// The value with each of its texts changed; names of fields stay.
QJsonValue Map(const QJsonValue& i_value, const std::function<QJsonValue(const std::string&)>& i_change)
{
    if (i_value.isString())
        return i_change(i_value.toString().toStdString());
    if (i_value.isArray()) {
        QJsonArray array;
        for (const auto& entry : i_value.toArray())
            array.append(Map(entry, i_change));
        return array;
    }
    if (i_value.isObject()) {
        const auto source = i_value.toObject();
        QJsonObject object;
        for (auto entry = source.begin(); entry != source.end(); ++entry)
            object.insert(entry.key(), Map(entry.value(), i_change));
        return object;
    }
    return i_value;
}

} // namespace

std::string FindTemplateFault(std::string_view i_text)
{
    try {
        Walk(
            i_text, [](char) {}, [](const Place&) {});
    } catch (const Fault& fault) {
        return fault.reason;
    }
    return {};
}

std::string FindTemplateFault(const QJsonValue& i_value)
{
    std::string found;
    Map(i_value, [&](const std::string& i_text) {
        if (found.empty())
            found = FindTemplateFault(i_text);
        return QJsonValue();
    });
    return found;
}

bool TellsOrder(std::string_view i_text)
{
    bool tells = false;
    Walk(
        i_text, [](char) {}, [&](const Place& i_place) { tells = tells || i_place.tellsOrder; });
    return tells;
}

bool TellsOrder(const QJsonValue& i_value)
{
    bool tells = false;
    Map(i_value, [&](const std::string& i_text) {
        tells = tells || TellsOrder(i_text);
        return QJsonValue();
    });
    return tells;
}

std::string FillPercentEncoded(std::string_view i_text, const PrintOrder& i_order)
{
    return Fill(i_text, i_order, TavSDK::EncodePercent);
}

QJsonValue FillJson(const QJsonValue& i_value, const PrintOrder& i_order)
{
    return Map(i_value, [&](const std::string& i_text) {
        if (i_text == "{size}")
            return QJsonValue(static_cast<qint64>(GetFileSize(i_order)));
        const auto text = Fill(i_text, i_order, [](std::string_view i_put) { return std::string(i_put); });
        return QJsonValue(QString::fromStdString(text));
    });
}

std::uint64_t GetFileSize(const PrintOrder& i_order)
{
    std::error_code failure;
    const auto size = std::filesystem::file_size(i_order.file, failure);
    if (failure)
        throw PrinterRefusal("The machine file " + TavSDK::Quote(TavSDK::ShowPath(i_order.file)) +
                             " cannot be looked at: " + failure.message() + "; build the job again.");
    return size;
}

} // namespace MachineService::MachineManager
