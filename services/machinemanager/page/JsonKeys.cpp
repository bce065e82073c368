#include "machinemanager/page/JsonKeys.h"

#include "machinemanager/page/http/Http.h"
#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostLevels = 32;

/// One past the quotation mark that ends a text; the end when nothing does.
std::size_t FindTextEnd(std::string_view i_text, std::size_t i_begin)
{
    for (auto place = i_begin + 1; place < i_text.size(); ++place) {
        if (i_text[place] == '\\')
            ++place;
        else if (i_text[place] == '"')
            return place + 1;
    }
    return i_text.size();
}

/// A name may be written in several ways.
std::string Decode(std::string_view i_quoted)
{
    if (i_quoted.find('\\') == std::string_view::npos)
        return std::string(i_quoted);
    const QByteArray array = QByteArray("[") + QByteArray(i_quoted.data(), static_cast<int>(i_quoted.size())) + ']';
    return '"' + QJsonDocument::fromJson(array).array().at(0).toString().toStdString() + '"';
}

} // namespace

void CheckJsonKeys(std::string_view i_text)
{
    std::vector<std::set<std::string>> names; // of the objects and arrays around
    for (std::size_t place = 0; place < i_text.size();) {
        const char character = i_text[place];
        if (character == '"') {
            const auto end = FindTextEnd(i_text, place);
            const auto next = i_text.find_first_not_of(" \t\r\n", end);
            const bool isName = next != std::string_view::npos && i_text[next] == ':' && !names.empty();
            const auto quoted = i_text.substr(place, end - place);
            if (isName && !names.back().insert(Decode(quoted)).second)
                throw HttpError(400, "The request must carry a JSON object, and names a field twice: " +
                                         TavSDK::Quote(quoted, 80) + '.');
            place = end;
            continue;
        }
        if (character == '{' || character == '[') {
            if (names.size() == MostLevels)
                throw HttpError(400, "The request must carry a JSON object of at most " + std::to_string(MostLevels) +
                                         " levels.");
            names.emplace_back();
        } else if ((character == '}' || character == ']') && !names.empty()) {
            names.pop_back();
        }
        ++place;
    }
}

} // namespace MachineService::MachineManager
