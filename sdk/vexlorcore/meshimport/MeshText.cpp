#include "vexlorcore/meshimport/MeshText.h"

#include "tavsdk/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

namespace VexlorCore {

namespace {

constexpr std::string_view Spaces = " \t\v\f";
constexpr std::string_view WordEnds = " \t\v\f\r\n";
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

} // namespace

char ToLower(char i_character)
{
    return i_character >= 'A' && i_character <= 'Z' ? static_cast<char>(i_character - 'A' + 'a') : i_character;
}

bool IsSameWord(std::string_view i_word, std::string_view i_lower_case)
{
    return i_word.size() == i_lower_case.size() && BeginsWithWord(i_word, i_lower_case);
}

bool BeginsWithWord(std::string_view i_text, std::string_view i_lower_case)
{
    return i_text.size() >= i_lower_case.size() &&
           std::equal(i_lower_case.begin(), i_lower_case.end(), i_text.begin(),
                      [](char i_lower, char i_any) { return i_lower == ToLower(i_any); });
}

std::optional<double> ParseCoordinate(std::string_view i_word)
{
    // No number that a tool writes is longer.
    std::array<char, 64> copy;
    if (i_word.starts_with('+'))
        i_word.remove_prefix(1);
    if (i_word.size() > copy.size())
        return std::nullopt;
    if (const auto comma = i_word.find(','); comma != i_word.npos) {
        std::copy(i_word.begin(), i_word.end(), copy.begin());
        copy.at(comma) = '.';
        i_word = {copy.data(), i_word.size()};
    }
    double number = 0;
    const auto [end, error] = std::from_chars(i_word.data(), i_word.data() + i_word.size(), number);
    if (error != std::errc() || end != i_word.data() + i_word.size() || !std::isfinite(number))
        return std::nullopt;
    return number;
}

std::string ShowWord(std::string_view i_word)
{
    constexpr std::size_t longest = 40;
    return TavSDK::Quote(i_word, longest);
}

std::string_view SkipByteOrderMark(std::string_view i_text)
{
    return i_text.substr(i_text.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0);
}

bool IsBinary(std::string_view i_bytes)
{
    constexpr std::size_t looked = 4096;
    const auto begin = i_bytes.substr(0, looked);
    return begin.find('\0') != begin.npos;
}

void WordScanner::_SkipSpaces()
{
    _text.remove_prefix(std::min(_text.find_first_not_of(Spaces), _text.size()));
}

bool WordScanner::_SkipLineEnd()
{
    if (_text.empty() || (_text.front() != '\n' && _text.front() != '\r'))
        return false;
    _text.remove_prefix(_text.starts_with("\r\n") ? 2 : 1);
    ++_line;
    return true;
}

std::string_view WordScanner::_TakeWord()
{
    const auto word = _text.substr(0, _text.find_first_of(WordEnds));
    _text.remove_prefix(word.size());
    return word;
}

std::string_view WordScanner::Next()
{
    do
        _SkipSpaces();
    while (_SkipLineEnd());
    return _TakeWord();
}

std::string_view WordScanner::NextOfLine()
{
    _SkipSpaces();
    return _TakeWord();
}

std::string_view WordScanner::TakeRestOfLine()
{
    _SkipSpaces();
    auto rest = _text.substr(0, _text.find_first_of("\r\n"));
    _text.remove_prefix(rest.size());
    return rest.substr(0, rest.find_last_not_of(Spaces) + 1);
}

void WordScanner::Fail(const std::string& i_reason) const
{
    throw std::runtime_error("line " + std::to_string(_line) + ": " + i_reason);
}

double WordScanner::NextCoordinate()
{
    const auto word = Next();
    const auto number = ParseCoordinate(word);
    if (!number)
        Fail(word.empty() ? std::string("a coordinate is missing") : ShowWord(word) + " is not a number");
    return *number;
}

} // namespace VexlorCore
