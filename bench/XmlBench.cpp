#include "Comparison.h"

#include "tavsdk/XmlReader.h"

#include <expat.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace Bench {

namespace {

struct Record
{
    std::string id;
    std::string name;
    std::string text;
};

/// Records as a machine's answers have them: attributes and text.
std::string MakeDocument()
{
    std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Records>\n";
    for (int number = 0; number < 20'000; ++number) {
        const std::string text = std::to_string(number);
        document += "  <Record id=\"record-" + text + "\" name=\"A name with \xC3\xA4 &amp; more " + text +
                    "\"><Comment>Some text of record " + text + "</Comment></Record>\n";
    }
    return document + "</Records>\n";
}

class RecordsReader final : public TavSDK::XmlReader<RecordsReader>
{
public:
    explicit RecordsReader(std::vector<Record>& o_records)
        : XmlReader(&RecordsReader::_ReadRoot)
        , _records(o_records)
    {}

private:
    Answer _ReadRoot(std::string_view i_name, const TavSDK::XmlAttributes&)
    {
        return i_name == "Records" ? Taken(&RecordsReader::_ReadRecord) : NotTaken();
    }
    Answer _ReadRecord(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes)
    {
        if (i_name != "Record")
            return NotTaken();
        Record& record = _records.emplace_back();
        record.id = i_attributes.Get("id");
        record.name = i_attributes.Get("name");
        return Taken(&RecordsReader::_ReadComment);
    }
    Answer _ReadComment(std::string_view i_name, const TavSDK::XmlAttributes&)
    {
        if (i_name != "Comment")
            return NotTaken();
        ReadValue(_records.back().text);
        return Taken();
    }

    std::vector<Record>& _records;
};

/// The same records with nothing but expat.
struct BareState
{
    std::vector<Record> records;
    bool isInComment = false;
};

void BareStart(void* iop_state, const XML_Char* ip_name, const XML_Char** ip_attributes)
{
    auto& state = *static_cast<BareState*>(iop_state);
    if (std::strcmp(ip_name, "Record") == 0) {
        Record& record = state.records.emplace_back();
        for (; *ip_attributes; ip_attributes += 2) {
            if (std::strcmp(ip_attributes[0], "id") == 0)
                record.id = ip_attributes[1];
            else if (std::strcmp(ip_attributes[0], "name") == 0)
                record.name = ip_attributes[1];
        }
    }
    state.isInComment = std::strcmp(ip_name, "Comment") == 0;
}

void BareEnd(void* iop_state, const XML_Char*)
{
    static_cast<BareState*>(iop_state)->isInComment = false;
}

void BareText(void* iop_state, const XML_Char* ip_text, int i_length)
{
    auto& state = *static_cast<BareState*>(iop_state);
    if (state.isInComment)
        state.records.back().text.append(ip_text, static_cast<std::size_t>(i_length));
}

void ReadWithExpat(const std::string& i_document)
{
    BareState state;
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetUserData(parser, &state);
    XML_SetElementHandler(parser, BareStart, BareEnd);
    XML_SetCharacterDataHandler(parser, BareText);
    XML_Parse(parser, i_document.data(), static_cast<int>(i_document.size()), XML_TRUE);
    XML_ParserFree(parser);
    benchmark::DoNotOptimize(state.records.data());
}

} // namespace

void AddXmlBenchmarks()
{
    const std::string document = MakeDocument();
    // 0.6 of the speed is 1 / 0.6 of the time.
    Compare(
        "XML read", 1 / 0.6,
        [document] {
            std::vector<Record> records;
            if (!RecordsReader(records).ParseText(document) || records.size() != 20'000)
                std::abort();
        },
        [document] { ReadWithExpat(document); });
}

} // namespace Bench
