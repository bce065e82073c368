#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/printers/IPrinterLink.h"
#include "services/machinemanager/printers/PrinterHttpFixture.h"

namespace MachineService::MachineManager::Testing {

namespace {

class PrinterDescriptionTest : public HttpPrinterWorld
{
protected:
    /// What is refused, or nothing.
    static std::string GetRefusal(const std::string& i_json)
    {
        try {
            EXPECT_TRUE(MakePrinterLink(i_json));
        } catch (const ManagerError& failure) {
            EXPECT_EQ(failure.GetKind(), ManagerError::Kind::BadInput);
            EXPECT_THAT(failure.what(), MatchesRegex("The description of the printer cannot be used: .+\\."));
            return failure.what();
        }
        return {};
    }
};

TEST_F(PrinterDescriptionTest, TheExamplesOfTheDocumentsAreTaken)
{
    auto text = TestSupport::ReadFile(std::filesystem::path(MACHINESERVICE_DOCS) / "printers.md");
    TestSupport::WriteFile(folder / "mill.key", "secret");
    TestSupport::WriteFile(folder / "authority.pem", "");
    int count = 0;
    const std::string fence = "```json\n";
    for (auto at = text.find(fence); at != std::string::npos; at = text.find(fence, at)) {
        at += fence.size();
        auto example = text.substr(at, text.find("```", at) - at);
        const std::string placeholder = "/srv/printers";
        for (auto place = example.find(placeholder); place != std::string::npos; place = example.find(placeholder))
            example.replace(place, placeholder.size(), folder.native());
        EXPECT_EQ(GetRefusal(example), "") << example;
        ++count;
    }
    EXPECT_EQ(count, 3);
}

TEST_F(PrinterDescriptionTest, AFaultIsToldWithItsField)
{
    EXPECT_EQ(GetRefusal(Describe()), "");
    EXPECT_THAT(GetRefusal("{"), HasSubstr("not one JSON object"));
    EXPECT_THAT(GetRefusal("[]"), HasSubstr("not one JSON object"));
    EXPECT_THAT(GetRefusal("{}"), HasSubstr("'kind' is 'folder' or 'http'."));
    EXPECT_THAT(GetRefusal(R"({"kind":"ftp"})"), HasSubstr("'kind' is 'folder' or 'http'."));

    const std::string key = R"({"file":")" + (folder / "key").native() + R"("})";
    const struct
    {
        std::string what;
        std::string by;
        const char* words;
    } rows[] = {
        {R"("kind")", R"("colour":1,"kind")", "the field 'colour' is unknown; there are 'kind', 'address', "},
        {R"("percentPointer")", R"("percent")", "'state.percent'"},
        {R"("confirmed":{)", R"("confirmed":{"value":1,)", "'start.confirmed.value'"},
        {R"("as":"body",)", R"("as":"body","body":"x",)", "'upload.body'"},
        {"http://127.0.0.1:", "127.0.0.1:", "'address'"},
        {"http://127.0.0.1:", "http://user@127.0.0.1:", "'address'"},
        {"http://127.0.0.1:", "http://::1:", "'address'"},
        {"http://127.0.0.1:", "http://a b:", "'address'"},
        {"http://127.0.0.1:", "http://127.0.0.1:9", "'address'"},
        {std::to_string(server.GetPort()) + '"', std::to_string(server.GetPort()) + "/x\"", "'address'"},
        {R"("headers")", R"("authorityFile":"/x","headers")", "'authorityFile' is for https"},
        {"X-Site", "X Site", "'headers.X Site'"},
        {"X-Site", "host", "'headers.host'"},
        {"hall 2", "hall\\r\\nX: 2", "'headers.X-Site'"},
        {"hall 2", "h\xc3\xa4ll", "'headers.X-Site'"},
        {key, R"({"file":"key"})", "'headers.X-Api-Key.file'"},
        {key, R"({"file":"/nowhere/key"})", "/nowhere/key"},
        {key, R"({"path":"/nowhere/key"})", "headers.X-Api-Key.path"},
    };
    for (const auto& row : rows)
        EXPECT_THAT(GetRefusal(TestSupport::Replaced(Describe(), row.what, row.by)), HasSubstr(row.words)) << row.by;
}

TEST_F(PrinterDescriptionTest, AFaultOfAStepIsToldWithItsField)
{
    const struct
    {
        const char* what;
        const char* by;
        const char* words;
    } rows[] = {
        {"PUT", "GET", "'upload.method'"},
        {"/files/{name}", "files/{name}", "'upload.path'"},
        {"/files/{name}", "/files/ {name}", "'upload.path'"},
        {"/files/{name}", "/files/{title}", "'upload.path' has a brace"},
        {"/files/{name}", "/files/{name", "'upload.path' has a brace"},
        {"/files/{name}", "/files/name}", "'upload.path' has a brace"},
        {R"("as":"body",)", "", "'upload.as'"},
        {R"("as":"body",)", R"("as":{"form":"a\"b"},)", "'upload.as.form'"},
        {"X-Sum", "content-length", "'upload.hashHeader'"},
        {R"("keys":["{key}"])", R"("keys":["{}"])", "'start.body' has a brace"},
        {R"("start":{)", R"("start":{"method":"TRACE",)", "'start.method'"},
        {R"("start":{)", R"("start":{"method":"GET",)", "'start.body' goes with no GET"},
        {R"({"status":201})", "{}", "'start.confirmed.pointer'"},
        {R"({"status":201})", R"({"pointer":"/a"})", "'start.confirmed.value'"},
        {R"({"status":201})", R"({"status":201.5})", "'start.confirmed.status'"},
        {R"({"status":201})", R"({"status":404})", "'start.confirmed.status'"},
        {"/a~1b/0/state", "state", "'state.pointer'"},
        {"/a~1b/0/state", "/a~2b", "'state.pointer'"},
        {R"("jobPointer":"/job")", R"("jobPointer":"/job~")", "'state.jobPointer'"},
        {R"(["paused"])", R"("paused")", "'state.values.stopped'"},
        {R"(["paused"])", R"([["paused"]])", "'state.values.stopped'"},
        {R"(["paused"])", R"(["done"])", "'done', which was told before"},
        {R"("stopped":)", R"("waiting":)", "'state.values.waiting'"},
        {R"(["printing","heating"])", "[]", "'state.values.printing'"},
        {R"("cancel":{"path":"/jobs/{key}/cancel"})", R"("cancel":"/stop")", "'cancel' is an object"},
    };
    for (const auto& row : rows)
        EXPECT_THAT(GetRefusal(TestSupport::Replaced(Describe(), row.what, row.by)), HasSubstr(row.words)) << row.by;
}

TEST_F(PrinterDescriptionTest, AFaultOfAFolderIsToldWithItsField)
{
    const std::string path = R"({"kind":"folder","path":")" + folder.native() + '"';
    EXPECT_EQ(GetRefusal(path + R"(,"confirmedAfter":604800})"), "");
    for (const char* const seconds : {"0", "604801", "1.5", "\"9\"", "null"})
        EXPECT_THAT(GetRefusal(path + R"(,"confirmedAfter":)" + seconds + '}'), HasSubstr("'confirmedAfter'"));
    EXPECT_THAT(GetRefusal(path + R"(,"after":1})"), HasSubstr("'after'"));
    for (const char* const name : {"relative", "", "/nowhere/at/all", "/dev/null"})
        EXPECT_THAT(GetRefusal(R"({"kind":"folder","path":")" + std::string(name) + "\"}"), HasSubstr("'path'"));
}

} // namespace

} // namespace MachineService::MachineManager::Testing
