#include "tavsdk/XmlReader.h"
#include "support/Files.h"
#include "support/Texts.h"
#include "tavsdk/Utf8.h"

#include <stdexcept>
#include <vector>

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using TavSDK::XmlAttributes;
using testing::ElementsAre;
using testing::HasSubstr;
using TestSupport::Repeat;

/// Logs what it takes of <Root><Text/><Group><Item/></Group><Leaf/></Root>.
class LoggingReader : public TavSDK::XmlReader<LoggingReader>
{
public:
    LoggingReader()
        : XmlReader(&LoggingReader::_ReadRoot)
    {}

    std::vector<std::string> log;

private:
    Answer _ReadRoot(std::string_view i_name, const XmlAttributes&)
    {
        return i_name == "Root" ? Taken(&LoggingReader::_ReadContent) : NotTaken();
    }
    Answer _ReadContent(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        if (i_name == "Text") {
            std::string text;
            const bool isRead = ReadValue(text);
            std::string second = "x";
            EXPECT_FALSE(ReadValue(second));
            EXPECT_EQ(second, "");
            // The name and attributes must have survived the reading of further chunks.
            if (isRead)
                log.push_back(std::string(i_name) + "(" + std::string(i_attributes.Get("id")) + ")=" + text);
            return Taken(&LoggingReader::_ReadItem, &LoggingReader::_EndText);
        }
        if (i_name == "Leaf") {
            log.emplace_back("Leaf");
            return Taken();
        }
        if (i_name == "Throw")
            throw std::out_of_range("thrown by a handler");
        if (i_name == "Fail")
            Fail("this element is not wanted");
        if (i_name == "Again")
            ParseText("<Root/>");
        return i_name == "Group" ? Taken(&LoggingReader::_ReadItem, &LoggingReader::_EndGroup) : NotTaken();
    }
    Answer _ReadItem(std::string_view i_name, const XmlAttributes& i_attributes)
    {
        log.push_back(std::string(i_name) + ":" + std::string(i_attributes.Get("name")));
        return Taken();
    }
    void _EndText() { log.emplace_back("/Text"); }
    void _EndGroup() { log.emplace_back("/Group"); }
};

TEST(XmlReader, HandlersGetWhatTheyAskForAndNothingElse)
{
    LoggingReader reader;
    ASSERT_TRUE(reader.ParseText("<?xml version='1.0' encoding='UTF-8'?>\n<!-- c --><Root a='1'>\n"
                                 "<Unknown><Leaf/><Text>no</Text></Unknown><Leaf>t<Group/><Leaf/></Leaf>"
                                 "<Text id='&lt;1&gt;' Id='2'>a&amp;<b>skip<c/>ped</b>\n<![CDATA[<c>]]>\u05d0</Text>"
                                 "<p:Leaf/><leaf/><Group>t<Item name='x'><Item name='deep'/></Item>"
                                 "<Item/></Group><Text/></Root>"))
        << reader.GetError();
    EXPECT_THAT(reader.log, ElementsAre("Leaf", "Text(<1>)=a&\n<c>\u05d0", "/Text", "Item:x", "Item:", "/Group",
                                        "Text()=", "/Text"));
    reader.log.clear();
    EXPECT_TRUE(reader.ParseText("<Other><Leaf/></Other>"));
    EXPECT_TRUE(reader.log.empty());
}

TEST(XmlReader, ReadsTheSameWhereverAChunkEnds)
{
    constexpr std::size_t chunk = 65536;
    const std::string head = "<Root><!--";
    const std::string text = Repeat("0123456789", 20000);
    for (std::size_t padding = chunk - 60; padding <= chunk + 5; ++padding) {
        LoggingReader reader;
        ASSERT_TRUE(reader.ParseText(head + std::string(padding - head.size(), '.') + "--><Text id='&#x5d0;1'>" + text +
                                     "<Skip a='1'>" + text + "</Skip>&amp;</Text><Leaf/></Root>"));
        ASSERT_THAT(reader.log, ElementsAre("Text(\u05d0"
                                            "1)=" +
                                                text + "&",
                                            "/Text", "Leaf"))
            << padding;
    }
    // Attributes that fill chunks of their own.
    LoggingReader reader;
    const std::string value = Repeat("v", std::size_t{1} << 20U);
    ASSERT_TRUE(reader.ParseText("<Root><Text id='" + value + "'>" + text + "</Text></Root>"));
    EXPECT_EQ(reader.log.front(), "Text(" + value + ")=" + text);
}

TEST(XmlReader, RefusesDocumentsThatBreakRulesOrBounds)
{
    const std::size_t eightMegabytes = std::size_t{8} << 20U;
    std::string attributes;
    for (int index = 0; index < 257; ++index)
        attributes += " a" + std::to_string(index) + "=''";
    const struct
    {
        std::string document;
        std::string error;
    } rows[] = {
        {"", "no element found"},
        {"<Root>", "no element found"},
        {"<Root>\n\n<Leaf></Root>", "Line 3: mismatched tag."},
        {"<Root><Text>\n\nab", "Line 3: no element found."},
        {"<Root/><Root/>", "junk after document element"},
        {"<Root>\xff</Root>", "not well-formed"},
        {"<Root>\xed\xa0\x80</Root>", "not well-formed"},
        {"<Root>&undefined;</Root>", "undefined entity"},
        {"<!DOCTYPE Root><Root/>", "Line 1: a DOCTYPE is not accepted."},
        {"<!DOCTYPE r [<!ENTITY a 'aa'><!ENTITY b '&a;&a;'>]><r>&b;</r>", "a DOCTYPE is not accepted"},
        {Repeat("<a>", 65) + Repeat("</a>", 65), "deeper than 64"},
        {Repeat("<a>\n", 100000), "Line 65: elements are nested deeper than 64"},
        {"<Root" + attributes + "/>", "more than 256 attributes"},
        {"<Root><Text>" + std::string(eightMegabytes + 1, 'x') + "</Text></Root>", "bytes of text"},
        {"<Root><Text>" + Repeat("x<b/>", eightMegabytes + 1) + "</Text></Root>", "bytes of text"},
        {"<Root a='" + std::string(eightMegabytes, 'x') + "'/>", "longer than 8388608 bytes"},
        {"<Root><!--" + std::string(3 * eightMegabytes, 'x') + "--></Root>", "longer than 8388608 bytes"},
        {"<Root>" + Repeat("<Leaf>" + std::string(1U << 20U, ' ') + "</Leaf>", 64) + "</Root>", "67108864 bytes"},
    };
    for (const auto& row : rows) {
        LoggingReader reader;
        EXPECT_FALSE(reader.ParseText(row.document)) << row.error;
        EXPECT_THAT(reader.GetError(), HasSubstr(row.error));
    }
    LoggingReader reader;
    EXPECT_TRUE(reader.ParseText(Repeat("<a>", 64) + Repeat("</a>", 64))) << reader.GetError();
    EXPECT_TRUE(reader.ParseText("<Root><Text>" + std::string(eightMegabytes, 'x') + "</Text></Root>"));
}

TEST(XmlReader, KeepsWhatCameBeforeTheFault)
{
    LoggingReader reader;
    EXPECT_FALSE(reader.ParseText("<Root><Leaf/><Group><Item name='1'/></Leaf></Root>"));
    EXPECT_THAT(reader.log, ElementsAre("Leaf", "Item:1"));
    reader.log.clear();
    // The handler asks for a text that never ends.
    EXPECT_FALSE(reader.ParseText("<Root><Text>abc</Root>"));
    EXPECT_TRUE(reader.log.empty());
}

TEST(XmlReader, ExceptionsOfHandlersArriveAndTheReaderStaysUsable)
{
    LoggingReader reader;
    EXPECT_THROW(reader.ParseText("<Root><Leaf/><Throw/><Leaf/></Root>"), std::out_of_range);
    EXPECT_THROW(reader.ParseText("<Root><Text>" + Repeat("text", 100000) + "</Text><Throw/></Root>"),
                 std::out_of_range);
    EXPECT_THROW(reader.ParseText("<Root><Again/></Root>"), std::logic_error);
    reader.log.clear();
    EXPECT_TRUE(reader.ParseText("<Root><Leaf/></Root>"));
    EXPECT_THAT(reader.log, ElementsAre("Leaf"));
}

TEST(XmlReader, AStreamMayBeLongerThanADocumentAndIsStoppedAtItsOwnBound)
{
    std::string rest;
    const TavSDK::XmlReaderBase::Stream stream = [&rest](char* op_bytes, std::size_t i_count) {
        const std::size_t count = rest.copy(op_bytes, i_count);
        rest.erase(0, count);
        return count;
    };
    const struct
    {
        std::string document;
        std::size_t longest;
        std::string error;
    } rows[] = {{"<Root><Leaf/></Root>", 20, ""},
                {"<Root><Leaf/></Root>", 19, "The document is longer than 19 bytes."},
                {"<Root>\n<Leaf></Root>", 100, "Line 2: mismatched tag."},
                {"<Root>\n<Fail/></Root>", 100, "this element is not wanted."}};
    for (const auto& row : rows) {
        LoggingReader reader;
        rest = row.document;
        EXPECT_EQ(reader.ParseStream(stream, row.longest), row.error.empty());
        EXPECT_EQ(reader.GetError(), row.error);
    }
    LoggingReader reader;
    const auto fails = [](char*, std::size_t) -> std::size_t {
        throw std::domain_error("the stream's own");
    };
    EXPECT_THROW(reader.ParseStream(fails, 100), std::domain_error);
}

TEST(XmlReader, FilesAndMemoryGiveTheSame)
{
    const std::string document = "<Root>" + Repeat("\n<Leaf/>", 50000) + "\n<Fail/></Root>";
    const std::string path = testing::TempDir() + "xml \u05d0\u00e9 " + std::to_string(getpid());
    TestSupport::WriteFile(path, document);
    for (const bool isFile : {true, false}) {
        LoggingReader reader;
        EXPECT_FALSE(isFile ? reader.Parse(*TavSDK::FromUtf8(path)) : reader.ParseText(document));
        EXPECT_EQ(reader.GetError(), "Line 50002: this element is not wanted.");
        EXPECT_EQ(reader.log.size(), 50000U);
    }
    std::filesystem::remove(path);
}

TEST(XmlReader, SaysWhyAFileCannotBeRead)
{
    const std::string pipe = testing::TempDir() + "xmlpipe" + std::to_string(getpid());
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const std::pair<std::string, std::string> rows[] = {
        {"/nonexistent/x.xml", "No such file or directory"},
        {testing::TempDir(), "it is no regular file"},
        {pipe, "it is no regular file"},
    };
    LoggingReader reader;
    for (const auto& [path, reason] : rows) {
        EXPECT_FALSE(reader.Parse(*TavSDK::FromUtf8(path)));
        EXPECT_EQ(reader.GetError(), "The file cannot be read: " + reason + ".");
    }
    EXPECT_TRUE(reader.ParseText("<Root/>")) << "a reader may be used again";
    unlink(pipe.c_str());
}

TEST(Utf8, ConvertsBothWaysAndRefusesWhatIsNoText)
{
    const std::wstring text = L"a\u00e9\u05d0\uffff\U0001F600\U0010FFFF";
    EXPECT_EQ(TavSDK::FromUtf8(TavSDK::ToUtf8(text)), text);
    std::string appended = "x";
    TavSDK::AppendUtf8(L"ab", appended);
    TavSDK::AppendUtf8(L"\u00e9", appended);
    EXPECT_EQ(appended, "xab\u00e9");
    EXPECT_EQ(TavSDK::ToUtf8(std::wstring{static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0x110000)}),
              "\uFFFD\uFFFD");
    for (const char* bytes : {"\x80", "\xc0\x80", "\xc3", "\xe0\x80\x80", "\xed\xa0\x80", "\xf0\x80\x80\x80",
                              "\xf4\x90\x80\x80", "\xf8\x88\x80\x80\x80", "\xe2\x82", "\xc3(", "\xff"})
        EXPECT_FALSE(TavSDK::IsUtf8(bytes)) << testing::PrintToString(bytes);
}

} // namespace
