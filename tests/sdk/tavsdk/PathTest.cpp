#include "support/Files.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/RuntimeFolder.h"
#include "tavsdk/Text.h"

#include <gmock/gmock.h>

#include <clocale>
#include <cstdlib>
#include <locale>
#include <optional>

namespace {

using testing::HasSubstr;

TEST(Path, IsUtf8InEveryLocale)
{
    const std::filesystem::path path = "/t\u00e4\u05d0/\U0001F600 x";
    for (const char* name : {"C", "C.UTF-8", "POSIX"}) {
        SCOPED_TRACE(name);
        ASSERT_NE(std::setlocale(LC_ALL, name), nullptr);
        const std::locale before = std::locale::global(std::locale(name));
        EXPECT_EQ(TavSDK::PathToWide(path), L"/t\u00e4\u05d0/\U0001F600 x");
        EXPECT_EQ(TavSDK::PathFromWide(TavSDK::PathToWide(path)).native(), path.native());
        EXPECT_EQ(TavSDK::PathFromUtf8(TavSDK::PathToUtf8(path)).native(), path.native());
        std::locale::global(before);
    }
    std::setlocale(LC_ALL, "");
}

TEST(RuntimeFolder, IsThatOfTheSessionOrOneOfTheUserAlone)
{
    const char* const told = std::getenv("XDG_RUNTIME_DIR");
    const auto before = told ? std::optional<std::string>(told) : std::nullopt;
    setenv("XDG_RUNTIME_DIR", "/session", 1);
    EXPECT_EQ(TavSDK::GetRuntimeFolder(), "/session");
    setenv("XDG_RUNTIME_DIR", "relative", 1);
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(TavSDK::GetRuntimeFolder()).permissions(), perms::owner_all);
    if (before)
        setenv("XDG_RUNTIME_DIR", before->c_str(), 1);
    else
        unsetenv("XDG_RUNTIME_DIR");
}

TEST(Path, OtherBytesAreRefusedInASentenceThatIsUtf8)
{
    const std::filesystem::path path = "/tmp/caf\xe9/x";
    EXPECT_EQ(TavSDK::ShowPath(path), "/tmp/caf\ufffd/x");
    for (const auto& convert : {+[](const std::filesystem::path& i_path) { TavSDK::PathToUtf8(i_path); },
                                +[](const std::filesystem::path& i_path) { TavSDK::PathToWide(i_path); },
                                +[](const std::filesystem::path& i_path) {
                                    TavSDK::PathFromUtf8(i_path.native());
                                }}) {
        try {
            convert(path);
            ADD_FAILURE();
        } catch (const TavSDK::FileError& error) {
            EXPECT_THAT(error.what(), HasSubstr("'/tmp/caf\ufffd/x' is not UTF-8"));
        }
    }
    EXPECT_THROW(TavSDK::PathFromUtf8(std::string("a\0b", 3)), TavSDK::FileError);
    EXPECT_THROW(TavSDK::PathFromWide(L"half \xD83D"), TavSDK::FileError);
}

TEST(Path, TheUsersFoldersAreThoseOfTheEnvironmentAndAbsolute)
{
    using TavSDK::UserFolder;
    const struct
    {
        const char* home;
        const char* variable;
        std::string folder; ///< empty for a sentence
    } rows[] = {
        {"/home/jörg", "", "/home/jörg/.cache"},
        {"/home/x", "/cäche", "/cäche"},
        {"/home/x", "cache", "/home/x/.cache"},
        {"", "", ""},
        {"/home/x", "/caf\xe9", ""},
    };
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.variable);
        setenv("HOME", row.home, 1);
        setenv("XDG_CACHE_HOME", row.variable, 1);
        try {
            EXPECT_EQ(TavSDK::GetUserFolder(UserFolder::Cache).native(), row.folder);
        } catch (const TavSDK::FileError& error) {
            EXPECT_EQ(row.folder, "") << error.what();
        }
    }
    unsetenv("XDG_CACHE_HOME");
    setenv("HOME", home.c_str(), 1);
}

TEST(Text, NumbersReadBackTheSame)
{
    const struct
    {
        double number;
        std::string text;
    } rows[] = {{0, "0"},
                {-0.0, "-0"},
                {0.1, "0.1"},
                {100000, "100000"},
                {-1e14, "-100000000000000"},
                {1e15, "1e+15"},
                {1.5e-4, "0.00015"},
                {1e-5, "1e-05"},
                {1.0 / 3, "0.3333333333333333"}};
    for (const auto& row : rows) {
        EXPECT_EQ(TavSDK::NumberToText(row.number), row.text);
        EXPECT_EQ(TavSDK::ParseNumber(row.text), row.number);
    }
    for (const double number : {1e308, -5e-324, 1.7976931348623157e308, 123456789012345.67, 2.2250738585072014e-308})
        EXPECT_EQ(TavSDK::ParseNumber(TavSDK::NumberToText(number)), number);
    for (const char* text : {"", " 1", "1 ", "1,5", "nan", "inf", "1e999", "+1", "0x1"})
        EXPECT_EQ(TavSDK::ParseNumber(text), std::nullopt) << text;
}

TEST(Text, AQuoteIsCutBetweenCharacters)
{
    EXPECT_EQ(TavSDK::Quote("x\n\xff"), "'x?\ufffd'");
    EXPECT_EQ(TavSDK::Quote("a\u00e9b", 4), "'a\u00e9b'");
    EXPECT_EQ(TavSDK::Quote("a\u00e9b", 3), "'a\u00e9\u2026'");
    EXPECT_EQ(TavSDK::Quote("a\u00e9b", 2), "'a\u2026'");
}

} // namespace
