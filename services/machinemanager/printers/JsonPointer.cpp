#include "machinemanager/printers/JsonPointer.h"

#include "tavsdk/Text.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

std::optional<std::string> Unescape(std::string_view i_token)
{
    std::string text;
    for (std::size_t at = 0; at < i_token.size(); ++at) {
        if (i_token[at] != '~') {
            text += i_token[at];
            continue;
        }
        ++at;
        if (at == i_token.size() || (i_token[at] != '0' && i_token[at] != '1'))
            return std::nullopt;
        text += i_token[at] == '0' ? '~' : '/';
    }
    return text;
}

/// Negative when it is none.
int ReadIndex(const std::string& i_token)
{
    constexpr std::size_t mostDigits = 9;
    const bool isNumber = !i_token.empty() && i_token.size() <= mostDigits &&
                          std::all_of(i_token.begin(), i_token.end(),
                                      [](char i_character) { return i_character >= '0' && i_character <= '9'; }) &&
                          (i_token.size() == 1 || i_token.front() != '0');
    return isNumber ? std::stoi(i_token) : -1;
}

} // namespace

std::optional<JsonPointer> JsonPointer::Parse(std::string_view i_text)
{
    JsonPointer pointer;
    while (!i_text.empty()) {
        if (i_text.front() != '/')
            return std::nullopt;
        i_text.remove_prefix(1);
        const auto end = std::min(i_text.find('/'), i_text.size());
        auto token = Unescape(i_text.substr(0, end));
        if (!token)
            return std::nullopt;
        pointer._tokens.push_back(std::move(*token));
        i_text.remove_prefix(end);
    }
    return pointer;
}

QJsonValue JsonPointer::Find(QJsonValue i_document) const
{
    for (const std::string& token : _tokens) {
        if (i_document.isObject())
            i_document = i_document.toObject().value(QString::fromStdString(token));
        else if (i_document.isArray())
            i_document = i_document.toArray().at(ReadIndex(token));
        else
            return QJsonValue(QJsonValue::Undefined);
    }
    return i_document;
}

std::optional<std::string> ShowScalar(const QJsonValue& i_value)
{
    switch (i_value.type()) {
    case QJsonValue::String:
        return i_value.toString().toStdString();
    case QJsonValue::Bool:
        return i_value.toBool() ? "true" : "false";
    case QJsonValue::Double:
        return TavSDK::NumberToText(i_value.toDouble());
    default:
        return std::nullopt;
    }
}

} // namespace MachineService::MachineManager
