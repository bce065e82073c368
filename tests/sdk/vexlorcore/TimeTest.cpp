#include "vexlorcore/Time.h"
#include "support/Test.h"

namespace {

using namespace VexlorCore;

TEST(TimeTest, WritesAndReadsIso8601)
{
    const std::pair<long long, const wchar_t*> rows[] = {
        {0, L"1970-01-01T00:00:00Z"},
        {951'827'696, L"2000-02-29T12:34:56Z"},
        {-62'135'596'800, L"0001-01-01T00:00:00Z"},
        {253'402'300'799, L"9999-12-31T23:59:59Z"},
    };
    for (const auto& [seconds, text] : rows) {
        EXPECT_EQ(GetUtcTimeAsIso8601WString(seconds), text);
        EXPECT_EQ(GetUtcTimeFromIso8601String(text), seconds);
    }
    EXPECT_EQ(GetUtcTimeFromIso8601String(L"2000-02-29T14:34:56.789+02:00"), 951'827'696);
    EXPECT_EQ(GetUtcTimeFromIso8601String(L"2000-02-29T10:04:56-02:30"), 951'827'696);
    EXPECT_THROW(GetUtcTimeAsIso8601WString(253'402'300'800), std::out_of_range);
    for (const auto* text :
         {L"", L"2000-02-30T00:00:00Z", L"2000-02-29T24:00:00Z", L"2000-02-29T12:34:56", L"2000-02-29T12:34:56Zx",
          L"2000-02-29T12:34:56.Z", L"2000-2-29T12:34:56Z", L"0000-01-01T00:00:00Z"})
        EXPECT_THROW(GetUtcTimeFromIso8601String(text), std::invalid_argument) << std::wstring(text).size();
}

} // namespace
