#include "machinemanager/page/EventStreams.h"
#include "machinemanager/page/http/HttpHead.h"
#include "services/machinemanager/page/PageFixture.h"
#include "services/machinemanager/page/RawClient.h"

namespace MachineService::MachineManager::Testing {

namespace {

using namespace std::chrono_literals;

class BoundsTest : public PageFixture
{
protected:
    BoundsTest() { Start(); }
    std::string MakeHead(const std::string& i_line, const std::string& i_headers = {}) const
    {
        return i_line + " HTTP/1.1\r\nHost: " + GetHost() + "\r\nAuthorization: Bearer token of olga\r\n" + i_headers +
               "\r\n";
    }
    RawClient Connect() const { return RawClient(GetPort()); }
};

} // namespace

TEST(HeadTest, WhatTwoReadersCouldUnderstandDifferentlyIsRefused)
{
    const std::string line = "GET /jobs HTTP/1.1\r\n";
    const std::vector<std::tuple<std::string, int>> rows = {
        {line + "Host: a\r\n\r\n", 0},
        {line + "host: a\r\nContent-Length: 0\r\n\r\n", 0},
        {"POST / HTTP/1.1\r\nContent-Length: 5\r\n\r\n", 0},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: Chunked\r\n\r\n", 0},
        {"POST / HTTP/1.1\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\nContent-Length: 5\r\nContent-Length: 6\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\nContent-Length: +5\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n", 400},
        {"POST / HTTP/1.1\r\nTransfer-Encoding: gzip, chunked\r\n\r\n", 501},
        {"POST / HTTP/1.1\r\nContent-Encoding: gzip\r\n\r\n", 415},
        {"POST / HTTP/1.1\r\nContent-Type: multipart/form-data\r\n\r\n", 415},
        {line + "Content-Length: 5\r\n\r\n", 400},
        {line + "Host: a\r\nHost: b\r\n\r\n", 400},
        {line + "Bad Name: a\r\n\r\n", 400},
        {line + " folded: a\r\n\r\n", 400},
        {line + "Name: a\x01\r\n\r\n", 400},
        {line + "X-Range: bytes=0-1\r\n\r\n", 400},
        {line + "Expect: miracles\r\n\r\n", 417},
        {"GET http://other/ HTTP/1.1\r\n\r\n", 400},
        {"GET * HTTP/1.1\r\n\r\n", 400},
        {"GET /a b HTTP/1.1\r\n\r\n", 400},
        {"GET / HTTP/2.0\r\n\r\n", 505},
        {"GET /" + std::string(2'100, 'a') + " HTTP/1.1\r\n\r\n", 414},
        {"no request\r\n\r\n", 400},
        {"", 400},
    };
    for (const auto& [head, status] : rows)
        EXPECT_EQ(status, CheckHead(head).status) << head.substr(0, 200);
    std::string many = line;
    for (int count = 0; count < 65; ++count)
        many += "X-" + std::to_string(count) + ": 1\r\n";
    EXPECT_EQ(431, CheckHead(many + "\r\n").status);
    const auto ranges = CheckHead(line + "Range: bytes=" + std::string(200, '1') + "\r\nAccept-Encoding: br\r\n\r\n");
    EXPECT_EQ(line + "\r\n", ranges.head) << "what only costs is left out";
}

TEST_F(BoundsTest, BodiesAreCountedAlsoWhenTheyHaveNoEnd)
{
    auto endless = Connect();
    ASSERT_TRUE(endless.Send(MakeHead("POST /api/v1/machines/1/actions/pause",
                                      "Content-Type: application/json\r\nTransfer-Encoding: chunked\r\n")));
    const std::string chunk = "1000\r\n" + std::string(0x1000, ' ') + "\r\n";
    int count = 0;
    while (count < 10'000 && endless.Send(chunk))
        ++count;
    EXPECT_LT(count, 10'000) << "it was cut off";
    auto bounded = Connect();
    std::string body;
    for (int piece = 0; piece < 17; ++piece)
        body += chunk;
    bounded.Send(MakeHead("POST /api/v1/machines/1/actions/pause", "Transfer-Encoding: chunked\r\n") + body);
    EXPECT_THAT(bounded.ReadUntil("\r\n\r\n"), AllOf(StartsWith("HTTP/1.1 413 "), HasSubstr("Connection: close")));
}

TEST_F(BoundsTest, WhoSendsWhatIsRefusedHearsWhy)
{
    auto client = PageFixture::Connect("olga");
    for (const std::size_t size : {1'000, 4 << 20, 16 << 20}) {
        const auto answer =
            client.Patch("/api/v1/jobs/99/platform", std::string(size, 'x'), "application/octet-stream");
        ASSERT_TRUE(answer) << size;
        EXPECT_EQ(404, answer->status);
        EXPECT_THAT(answer->body, HasSubstr("There is no job"));
    }
}

TEST_F(BoundsTest, HeadsAreBoundedAndASecondRequestIsNotHiddenInABody)
{
    auto longHead = Connect();
    longHead.Send("GET /" + std::string(LongestHead, 'a'));
    EXPECT_THAT(longHead.ReadAll(), StartsWith("HTTP/1.1 431 "));
    // The body is not read where nobody asked for it, and is no request then.
    auto hidden = Connect();
    const std::string inner = MakeHead("POST /api/v1/jobs/1/actions/cancel");
    hidden.Send(MakeHead("POST /api/v1/nothing", "Content-Length: " + std::to_string(inner.size()) + "\r\n") + inner);
    const auto answers = hidden.ReadAll();
    EXPECT_THAT(answers, StartsWith("HTTP/1.1 404 "));
    EXPECT_EQ(std::string::npos, answers.find("HTTP/1.1", 10)) << answers;
    // Two requests at once are two answers.
    auto two = Connect();
    two.Send(MakeHead("GET /api/v1/machines") + MakeHead("GET /health", "Connection: close\r\n"));
    const auto both = two.ReadAll();
    EXPECT_THAT(both, AllOf(HasSubstr("\"machines\""), HasSubstr("\"ok\"")));
}

TEST_F(BoundsTest, ConnectionsAreBoundedAndGoOnWhenOthersLeave)
{
    std::vector<RawClient> idle;
    std::string refusal;
    for (int count = 0; count < 200 && refusal.empty(); ++count) {
        idle.push_back(Connect());
        idle.back().Send(MakeHead("GET /health"));
        const auto answer = idle.back().ReadUntil("\r\n\r\n");
        if (!answer.starts_with("HTTP/1.1 200"))
            refusal = answer;
    }
    EXPECT_THAT(refusal, AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("Retry-After:")));
    EXPECT_EQ(96u, idle.size() - 1);
    idle.clear();
    // Their threads end as soon as they see it.
    const auto until = std::chrono::steady_clock::now() + 30s;
    std::string answer;
    while (!answer.starts_with("HTTP/1.1 200") && std::chrono::steady_clock::now() < until) {
        auto client = Connect();
        client.Send(MakeHead("GET /health"));
        answer = client.ReadUntil("\r\n\r\n");
    }
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
}

TEST_F(BoundsTest, SoManyListenAndTheNextIsTurnedAway)
{
    std::vector<RawClient> readers;
    for (int count = 0; count < EventStreams::MostReaders; ++count) {
        readers.push_back(Connect());
        readers.back().Send(MakeHead("GET /api/v1/events"));
        EXPECT_THAT(readers.back().ReadUntil("event: all\ndata: {}\n\n"), HasSubstr("text/event-stream"));
    }
    auto late = Connect();
    late.Send(MakeHead("GET /api/v1/events"));
    EXPECT_THAT(late.ReadUntil("}"), AllOf(StartsWith("HTTP/1.1 503 "), HasSubstr("Retry-After:")));

    const auto job = Submit(9, "bracket");
    for (auto& reader : readers)
        EXPECT_THAT(reader.ReadUntil(to_string(job.id)), HasSubstr("event: job"));
    desk->SetPaused({"olga", Role::Operate}, MakeId(1), true, {});
    EXPECT_THAT(readers.front().ReadUntil("event: machine\n"), HasSubstr("event: machine\n"));

    readers.pop_back(); // its place is free at once, and not with the next comment
    const auto until = std::chrono::steady_clock::now() + 10s;
    std::string answer;
    while (!answer.starts_with("HTTP/1.1 200") && std::chrono::steady_clock::now() < until) {
        auto next = Connect();
        next.Send(MakeHead("GET /api/v1/events"));
        answer = next.ReadUntil("\r\n\r\n");
    }
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200"));
}

TEST_F(BoundsTest, ItStopsWithinASecondWhateverItsClientsDo)
{
    std::vector<RawClient> clients;
    for (const auto& begin : {MakeHead("GET /api/v1/events"), MakeHead("GET /health"), std::string("GET /jobs HT"),
                              std::string(), MakeHead("POST /api/v1/jobs", "Content-Length: 100\r\n") + "{\"id\":"}) {
        clients.push_back(Connect());
        clients.back().Send(begin);
    }
    EXPECT_THAT(clients[0].ReadUntil("event: all"), HasSubstr("event: all"));
    clients[1].ReadUntil("\r\n\r\n");
    const auto begin = std::chrono::steady_clock::now();
    page->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 1s);
    EXPECT_EQ(0, page->GetConnections());
    page->Start();
    auto again = Connect();
    again.Send(MakeHead("GET /health"));
    EXPECT_THAT(again.ReadUntil("\r\n\r\n"), StartsWith("HTTP/1.1 200"));
}

TEST_F(BoundsTest, WhatCameBeforeAnUploadBrokeIsKept)
{
    const auto bytes = MakePlatformBytes();
    httplib::Client announcing("127.0.0.1", GetPort());
    announcing.set_bearer_token_auth("token of olga");
    ASSERT_EQ(201, announcing.Post("/api/v1/jobs", Write(MakeAnnouncement(9, bytes)), "application/json")->status);
    const auto path = "/api/v1/jobs/" + to_string(MakeId(9)) + "/platform";
    {
        auto broken = Connect();
        broken.Send(MakeHead("PATCH " + path, "Content-Length: " + std::to_string(bytes.size()) + "\r\n") +
                    bytes.substr(0, 100));
    }
    const auto until = std::chrono::steady_clock::now() + 30s;
    std::string received;
    while (received != "100" && std::chrono::steady_clock::now() < until)
        received = announcing.Head(path)->get_header_value("Upload-Offset");
    EXPECT_EQ("100", received);
}

} // namespace MachineService::MachineManager::Testing
