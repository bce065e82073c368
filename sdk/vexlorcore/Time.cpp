#include "vexlorcore/Time.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>

namespace VexlorCore {

namespace {

using Days = std::chrono::sys_days;

constexpr long long FirstSecond = std::chrono::seconds(Days{std::chrono::year{1} / 1 / 1}.time_since_epoch()).count();
constexpr long long EndSecond = std::chrono::seconds(Days{std::chrono::year{10000} / 1 / 1}.time_since_epoch()).count();

/// Takes the text apart from front to back.
class Scanner
{
public:
    explicit Scanner(const std::wstring& i_text)
        : _text(i_text)
    {}

    bool IsAtEnd() const { return _position == _text.size(); }

    bool Take(wchar_t i_character)
    {
        if (IsAtEnd() || _text[_position] != i_character)
            return false;
        ++_position;
        return true;
    }

    void Expect(wchar_t i_character)
    {
        if (!Take(i_character))
            Fail();
    }

    int Number(int i_digits, int i_min, int i_max)
    {
        int value = 0;
        for (int i = 0; i < i_digits; ++i)
            value = value * 10 + _Digit();
        if (value < i_min || value > i_max)
            Fail();
        return value;
    }

    void SkipDigits()
    {
        _Digit();
        while (!IsAtEnd() && _IsDigit())
            ++_position;
    }

    [[noreturn]] static void Fail() { throw std::invalid_argument("The text is not an ISO-8601 time."); }

private:
    bool _IsDigit() const { return _text[_position] >= L'0' && _text[_position] <= L'9'; }
    int _Digit()
    {
        if (IsAtEnd() || !_IsDigit())
            Fail();
        return static_cast<int>(_text[_position++] - L'0');
    }

    const std::wstring& _text;
    std::size_t _position = 0;
};

} // namespace

std::wstring GetUtcTimeAsIso8601WString(long long i_seconds)
{
    if (i_seconds < FirstSecond || i_seconds >= EndSecond)
        throw std::out_of_range("The time is beyond the years 0001 to 9999.");
    const std::chrono::sys_seconds time{std::chrono::seconds(i_seconds)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%04d-%02u-%02uT%02d:%02d:%02dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()));
    return text;
}

long long GetUtcTimeFromIso8601String(const std::wstring& i_text)
{
    Scanner scanner(i_text);
    const int year = scanner.Number(4, 1, 9999);
    scanner.Expect(L'-');
    const int month = scanner.Number(2, 1, 12);
    scanner.Expect(L'-');
    const int day = scanner.Number(2, 1, 31);
    scanner.Expect(L'T');
    const int hour = scanner.Number(2, 0, 23);
    scanner.Expect(L':');
    const int minute = scanner.Number(2, 0, 59);
    scanner.Expect(L':');
    const int second = scanner.Number(2, 0, 59);
    if (scanner.Take(L'.'))
        scanner.SkipDigits();
    long long offset = 0;
    if (!scanner.Take(L'Z')) {
        const int sign = scanner.Take(L'-') ? -1 : 1;
        if (sign > 0)
            scanner.Expect(L'+');
        const int hours = scanner.Number(2, 0, 23);
        scanner.Expect(L':');
        offset = sign * (hours * 3600LL + scanner.Number(2, 0, 59) * 60LL);
    }
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                           std::chrono::day(static_cast<unsigned>(day))};
    if (!scanner.IsAtEnd() || !date.ok())
        Scanner::Fail();
    return std::chrono::seconds(Days(date).time_since_epoch()).count() + hour * 3600LL + minute * 60LL + second -
           offset;
}

} // namespace VexlorCore
