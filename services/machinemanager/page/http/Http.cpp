#include "machinemanager/page/http/Http.h"

#include "tavsdk/PercentEncoding.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <ctime>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t MostFields = 100;

char ToLower(char i_character)
{
    return i_character >= 'A' && i_character <= 'Z' ? static_cast<char>(i_character - 'A' + 'a') : i_character;
}

bool IsUnreserved(char i_character)
{
    return (i_character >= '0' && i_character <= '9') || (ToLower(i_character) >= 'a' && ToLower(i_character) <= 'z') ||
           std::string_view("-._~").find(i_character) != std::string_view::npos;
}

std::optional<std::uint64_t> ReadCount(std::string_view i_text)
{
    std::uint64_t count = 0;
    const auto [end, error] = std::from_chars(i_text.data(), i_text.data() + i_text.size(), count);
    if (i_text.empty() || error != std::errc() || end != i_text.data() + i_text.size())
        return std::nullopt;
    return count;
}

std::string DecodeForm(std::string_view i_text)
{
    std::string text;
    for (std::size_t place = 0; place < i_text.size(); ++place) {
        if (i_text[place] == '+') {
            text += ' ';
        } else if (i_text[place] == '%') {
            unsigned value = 0;
            const auto digits = i_text.substr(place + 1, 2);
            const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16).ptr;
            if (digits.size() != 2 || end != digits.data() + 2)
                throw HttpError(400,
                                "The fields of the request are damaged: a percent sign stands without two digits.");
            text += static_cast<char>(value);
            place += 2;
        } else {
            text += i_text[place];
        }
    }
    if (!TavSDK::IsUtf8(text))
        throw HttpError(400, "The fields of the request are not UTF-8.");
    return text;
}

} // namespace

bool HeaderLess::operator()(std::string_view i_left, std::string_view i_right) const
{
    return std::lexicographical_compare(i_left.begin(), i_left.end(), i_right.begin(), i_right.end(),
                                        [](char i_a, char i_b) { return ToLower(i_a) < ToLower(i_b); });
}

std::string HttpRequest::GetHeader(std::string_view i_name) const
{
    const auto found = headers.find(i_name);
    return found == headers.end() ? std::string() : found->second;
}

std::string HttpRequest::GetQuery(std::string_view i_name) const
{
    const auto found = query.find(i_name);
    return found == query.end() ? std::string() : found->second;
}

std::string HttpRequest::ReadBody(std::uint64_t i_longest) const
{
    std::string body;
    readBody(i_longest, [&](std::string_view i_piece) { body += i_piece; });
    return body;
}

HttpResponse& HttpResponse::Set(std::string i_name, std::string i_value)
{
    headers.emplace_back(std::move(i_name), std::move(i_value));
    return *this;
}

std::optional<ByteRange> ParseRange(std::string_view i_header, std::uint64_t i_size)
{
    // A server may answer with the whole file to whatever it does not want to understand (RFC 9110, 14.2).
    constexpr std::string_view Unit = "bytes=";
    const auto dash = i_header.find('-');
    if (!i_header.starts_with(Unit) || dash == std::string_view::npos)
        return std::nullopt;
    const auto first = ReadCount(i_header.substr(Unit.size(), dash - Unit.size()));
    const auto last = ReadCount(i_header.substr(dash + 1));
    const bool isSuffix = dash == Unit.size();
    const bool isOpen = dash + 1 == i_header.size();
    if ((!first && !isSuffix) || (!last && !isOpen) || (isSuffix && isOpen) || (first && last && *last < *first))
        return std::nullopt;
    if (isSuffix ? *last == 0 || i_size == 0 : *first >= i_size)
        throw HttpError(416, "The file is shorter than the range that was asked for.");
    if (isSuffix)
        return ByteRange{i_size - std::min(*last, i_size), std::min(*last, i_size)};
    const auto end = last ? std::min(*last, i_size - 1) : i_size - 1;
    return ByteRange{*first, end - *first + 1};
}

PieceRange ParsePieceRange(std::string_view i_header)
{
    constexpr std::string_view Unit = "bytes ";
    const auto dash = i_header.find('-');
    const auto slash = i_header.find('/');
    if (i_header.starts_with(Unit) && dash != std::string_view::npos && slash != std::string_view::npos &&
        dash < slash) {
        const auto first = ReadCount(i_header.substr(Unit.size(), dash - Unit.size()));
        const auto last = ReadCount(i_header.substr(dash + 1, slash - dash - 1));
        const auto whole = ReadCount(i_header.substr(slash + 1));
        if (first && last && whole && *first <= *last && *last < *whole)
            return {*first, *last - *first + 1, *whole};
    }
    throw HttpError(400, "Content-Range must be 'bytes FIRST-LAST/SIZE', and is " + TavSDK::Quote(i_header, 80) + '.');
}

std::uint64_t ParseCount(std::string_view i_text, const char* ip_name)
{
    const auto count = ReadCount(i_text);
    if (!count)
        throw HttpError(400,
                        std::string(ip_name) + " must be a whole number, and is " + TavSDK::Quote(i_text, 80) + '.');
    return *count;
}

HttpFields ParseForm(std::string_view i_text)
{
    HttpFields fields;
    while (!i_text.empty()) {
        const auto field = i_text.substr(0, i_text.find('&'));
        i_text.remove_prefix(std::min(field.size() + 1, i_text.size()));
        if (field.empty())
            continue;
        if (fields.size() == MostFields)
            throw HttpError(400, "The request has too many fields.");
        const auto equals = field.find('=');
        const auto value = equals == std::string_view::npos ? std::string_view() : field.substr(equals + 1);
        fields.emplace(DecodeForm(field.substr(0, equals)), DecodeForm(value));
    }
    return fields;
}

std::string FindCookie(std::string_view i_header, std::string_view i_name)
{
    while (!i_header.empty()) {
        auto pair = i_header.substr(0, i_header.find(';'));
        i_header.remove_prefix(std::min(pair.size() + 1, i_header.size()));
        pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
        if (pair.size() > i_name.size() && pair.starts_with(i_name) && pair[i_name.size()] == '=')
            return std::string(pair.substr(i_name.size() + 1));
    }
    return {};
}

std::string MakeDisposition(std::string_view i_name)
{
    const auto name = TavSDK::ReplaceInvalid(i_name);
    std::string plain;
    for (const char character : name)
        plain += IsUnreserved(character) || character == ' ' ? character : '_';
    return "attachment; filename=\"" + plain + "\"; filename*=UTF-8''" + TavSDK::EncodePercent(name);
}

std::string FormatTime(Time i_time)
{
    const auto milliseconds = i_time.time_since_epoch().count();
    auto seconds = milliseconds / 1000;
    auto rest = milliseconds % 1000;
    if (rest < 0) {
        rest += 1000;
        --seconds;
    }
    const auto time = static_cast<std::time_t>(seconds);
    std::tm parts = {};
    ::gmtime_r(&time, &parts);
    std::array<char, 80> text = {};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ", parts.tm_year + 1900,
                  parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, static_cast<int>(rest));
    return text.data();
}

} // namespace MachineService::MachineManager
