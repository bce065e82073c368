#include "platform/PlainText.h"
#include "support/Test.h"

#include "client/interface/CommunicationException.h"
#include "platform/FailureText.h"

#include <new>

namespace {

using namespace MachineService;

TEST(PlainText, ShowsWordsAndNothingElse)
{
    const std::pair<QString, QString> rows[] = {
        {QStringLiteral("The nozzle is hot.\nWait."), QStringLiteral("The nozzle is hot.\nWait.")},
        {QStringLiteral("<b>Hot</b> nozzle<br/><img src='file:///etc/passwd'>"), QStringLiteral("Hot nozzle")},
        {QStringLiteral("<<b>i>x"), QStringLiteral("x")},
        {QStringLiteral("<!DOCTYPE html><html><!-- a > b -->x</html>"), QStringLiteral("x")},
        {QStringLiteral("Choose <none> where 3 < 5 and 7 > 6."),
         QStringLiteral("Choose <none> where 3 < 5 and 7 > 6.")},
        {QStringLiteral("a\x1b[31m\tb\r\n\u2028c"), QStringLiteral("a[31m b\n\nc")},
        {QStringLiteral("\u202egpj.exe\u200b"), QStringLiteral("gpj.exe")},
        {QString::fromUtf8("PK\xFF\xFE\xFD rest"), QStringLiteral("PK\uFFFD rest")},
        {QString(), QString()},
    };
    for (const auto& [text, shown] : rows)
        EXPECT_EQ(shown.toStdString(), ToPlainText(text).toStdString());
}

TEST(PlainText, IsBounded)
{
    EXPECT_EQ(MaxMessageLength, ToPlainText(QString(5'000'000, QLatin1Char('x'))).size());
    EXPECT_TRUE(ToPlainText(QString(5'000'000, QLatin1Char('x'))).endsWith(QChar(0x2026)));
    EXPECT_LE(ToPlainText(QString(5'000'000, QLatin1Char('<')) + QStringLiteral("<b>")).size(), MaxMessageLength);
    // Not within a character of two halves.
    EXPECT_EQ(QStringLiteral("\u2026"), ToPlainText(QStringLiteral("\U0001F600\U0001F600"), 2));
}

TEST(FailureText, NamesNoTechnicalTerms)
{
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[] { std::filesystem::create_directory("/proc/none"); },
         "'/proc/none' cannot be read or written: No such file or directory."},
        {[] {
             auto answer = std::promise<int>().get_future();
             answer.get();
         },
         "The service of the machine ended without an answer."},
        {[] { throw std::bad_alloc(); }, "There is not enough memory."},
        {[] { throw std::runtime_error("<b>own</b> text"); }, "own text"},
        {[] { throw std::runtime_error(" "); }, "The command failed for an unknown reason."},
        {[] { throw CommunicationException(ErrorCode::None, "own\x07 text"); }, "own text"},
    };
    for (const auto& [fail, text] : rows) {
        try {
            fail();
            FAIL() << text;
        } catch (...) {
            EXPECT_EQ(text, DescribeCurrentException().toStdString());
        }
    }
}

} // namespace
