#include "tavsdk/XmlWriter.h"
#include "support/Files.h"
#include "tavsdk/Utf8.h"
#include "tavsdk/XmlReader.h"

#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using TavSDK::XmlAttributes;
using TavSDK::XmlWriter;

class EchoReader : public TavSDK::XmlReader<EchoReader>
{
public:
    EchoReader()
        : XmlReader(&EchoReader::_Read)
    {}

    std::string attribute;
    std::string text;

private:
    Answer _Read(std::string_view, const XmlAttributes& i_attributes)
    {
        attribute = i_attributes.Get("a");
        ReadValue(text);
        return Taken();
    }
};

TEST(XmlWriter, TextsArriveAsTheyWere)
{
    const std::string large(300000, '&');
    for (const std::string& text : {std::string(), std::string("<&>\"']]> \t\r\n  x "),
                                    std::string("\u202e\u05d0 \U0001F600 \u0085\u2028\x7f"), large}) {
        XmlWriter writer;
        writer.OpenText();
        writer.WriteStartTag("e");
        writer.WriteAttribute("a", text);
        writer.WriteCharacterData(text);
        writer.WriteEndTag("e");
        writer.Close();
        EchoReader reader;
        ASSERT_TRUE(reader.ParseText(writer.TakeText())) << reader.GetError();
        EXPECT_EQ(reader.attribute, text);
        EXPECT_EQ(reader.text, text);
    }
}

TEST(XmlWriter, WritesAFileOverAnother)
{
    const std::string path = testing::TempDir() + "xmlwriter \u05d0 " + std::to_string(getpid());
    TestSupport::WriteFile(path, std::string(1000, 'x'));
    XmlWriter writer;
    ASSERT_TRUE(writer.Open(TavSDK::FromUtf8(path)->c_str()));
    writer.WriteStartTag("PlatformCreationParameters");
    writer.WriteAttribute("xmlns", "https://www.vexlor.example/x");
    writer.WriteStartTag("ParameterValue");
    writer.WriteAttribute("id", "B");
    writer.WriteCharacterData("");
    writer.WriteEndTag("ParameterValue");
    writer.WriteEndTag("PlatformCreationParameters");
    writer.Close();
    EXPECT_EQ(TestSupport::ReadFile(path), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                           "<PlatformCreationParameters xmlns=\"https://www.vexlor.example/x\">"
                                           "<ParameterValue id=\"B\"></ParameterValue></PlatformCreationParameters>\n");
    std::filesystem::remove(path);
    EXPECT_FALSE(writer.Open(L"/nonexistent/x.xml"));
}

TEST(XmlWriter, RefusesWhatWouldBeNoDocument)
{
    const std::function<void(XmlWriter&)> rows[] = {
        [](XmlWriter& io_writer) { io_writer.WriteCharacterData(std::string_view("\0", 1)); },
        [](XmlWriter& io_writer) { io_writer.WriteCharacterData("\x1f"); },
        [](XmlWriter& io_writer) { io_writer.WriteCharacterData("\xff"); },
        [](XmlWriter& io_writer) { io_writer.WriteAttribute("a", "\uffff"); },
        [](XmlWriter& io_writer) { io_writer.WriteAttribute("a b", ""); },
        [](XmlWriter& io_writer) {
            io_writer.WriteAttribute("a", "");
            io_writer.WriteAttribute("a", "");
        },
        [](XmlWriter& io_writer) {
            io_writer.WriteCharacterData("x");
            io_writer.WriteAttribute("a", "");
        },
        [](XmlWriter& io_writer) { io_writer.WriteStartTag("-a"); },
        [](XmlWriter& io_writer) { io_writer.WriteStartTag("a<"); },
        [](XmlWriter& io_writer) { io_writer.WriteStartTag("\xff"); },
        [](XmlWriter& io_writer) { io_writer.WriteEndTag("f"); },
        [](XmlWriter& io_writer) { io_writer.Close(); },
        [](XmlWriter& io_writer) {
            io_writer.WriteEndTag("e");
            io_writer.WriteStartTag("e");
        },
        [](XmlWriter& io_writer) {
            io_writer.WriteEndTag("e");
            io_writer.Close();
            io_writer.WriteStartTag("e");
        },
    };
    for (const auto& row : rows) {
        XmlWriter writer;
        writer.OpenText();
        writer.WriteStartTag("e");
        EXPECT_THROW(row(writer), std::runtime_error) << "row " << &row - rows;
    }
}

} // namespace
