#include "client/interface/ScopedTempDir.h"
#include "hosting/jobs/JobsClient.h"
#include "support/Test.h"
#include "support/Texts.h"

#include <httplib.h>

#include <sys/socket.h>

namespace {

using namespace Hosting;
using TestSupport::Replaced;
using Kind = JobsError::Kind;

/// Answers every request with what the test says, as no manager would.
class Impostor
{
public:
    Impostor()
    {
        _server.set_address_family(AF_UNIX);
        const auto answer = [this](const httplib::Request&, httplib::Response& o_response) {
            o_response.status = status;
            o_response.set_content(body, "application/problem+json");
        };
        _server.Get(".*", answer);
        _server.Post(".*", answer);
        _server.bind_to_port(GetPath(), 80);
        _thread = std::thread([this] { _server.listen_after_bind(); });
        // It cannot be stopped before it runs.
        while (!_server.is_running())
            std::this_thread::yield();
    }
    ~Impostor()
    {
        _server.stop();
        _thread.join();
    }
    std::string GetPath() const { return (_folder.GetAbsoluteDir() / "socket").native(); }

    std::atomic<int> status = 200;
    std::string body;

private:
    const MachineService::ScopedTempDir _folder;
    httplib::Server _server;
    std::thread _thread;
};

std::pair<Kind, std::string> Fail(const std::function<void()>& i_call)
{
    try {
        i_call();
    } catch (const JobsError& failure) {
        return {failure.GetKind(), failure.what()};
    }
    ADD_FAILURE() << "nothing failed";
    return {};
}

TEST(JobsFailuresTest, EveryRefusalIsOfAKindAndSaysTheManagersSentence)
{
    Impostor impostor;
    const JobsClient client("unix:" + impostor.GetPath());
    const auto call = [&] {
        client.Act("7", Jobs::Action::Hold);
    };
    const struct
    {
        int status;
        Kind kind;
    } rows[] = {
        {400, Kind::BadInput}, {401, Kind::Forbidden}, {403, Kind::Forbidden}, {404, Kind::NotFound},
        {409, Kind::Conflict}, {412, Kind::Conflict},  {413, Kind::BadInput},  {422, Kind::BadInput},
        {429, Kind::Server},   {500, Kind::Server},    {503, Kind::Server},    {302, Kind::Server},
    };
    for (const auto& row : rows) {
        impostor.status = row.status;
        impostor.body = R"({"detail": "A sentence of the manager."})";
        EXPECT_EQ(Fail(call), std::pair(row.kind, std::string("A sentence of the manager."))) << row.status;
        impostor.body = "<html>gateway</html>";
        const auto [kind, sentence] = Fail(call);
        EXPECT_EQ(kind, row.kind);
        EXPECT_THAT(sentence, AllOf(HasSubstr(std::to_string(row.status)), HasSubstr(impostor.GetPath())));
    }
}

TEST(JobsFailuresTest, WhatIsNoAnswerOfAManagerIsSaidToBeNone)
{
    Impostor impostor;
    const JobsClient client("unix:" + impostor.GetPath());
    const std::string job =
        R"("id":"a","number":1,"name":"n","owner":"o","state":"pending","reasons":[],"detail":"",)"
        R"("phase":"waiting","machine":"","machineId":null,"target":{},"priority":50,"copies":1,)"
        R"("copiesDone":0,"percent":0,"stage":"","created":"2026-01-01T00:00:00.000Z",)"
        R"("changed":"2026-01-01T00:00:00.000Z","version":1,"needs":{},"estimates":{},"settings":{},)"
        R"("machineFile":null,"hasPicture":false,"draft":false,"actions":[],"platform":)";
    const std::string file = R"({"name":"f","size":1,"sha256":")" + std::string(64, 'a') + R"("})";
    impostor.body = "{" + job + file + R"(,"new":{"member":1}})";
    EXPECT_EQ(client.GetJob("1").platform.size, 1u);
    const auto good = impostor.body;
    for (const auto& body :
         {std::string(), std::string("no JSON"), std::string("[]"), std::string("{}"), "{" + job + "null}",
          Replaced(good, "\"size\":1", "\"size\":-1"), Replaced(good, "aaaa", "AAAA"), Replaced(good, "aaaa", ""),
          Replaced(good, "\"number\":1", "\"number\":1e300"), Replaced(good, "\"number\":1", "\"number\":1.5"),
          Replaced(good, "2026-01-01T", "yesterday"), Replaced(good, "[]", "[1]"), Replaced(good, "\"o\"", "null")}) {
        impostor.body = body;
        EXPECT_EQ(Fail([&] { client.GetJob("1"); }).first, Kind::Server) << body;
    }
    impostor.body.assign(65 << 20, ' ');
    EXPECT_EQ(Fail([&] { client.GetJob("1"); }).first, Kind::Server);
}

TEST(JobsFailuresTest, AsksNowAndThenWhereTooManyListen)
{
    Impostor impostor;
    impostor.status = 503;
    impostor.body = R"({"detail": "As many listen as may."})";
    const JobsClient client("unix:" + impostor.GetPath());
    int asked = 0;
    const auto take = [&](const Jobs::Change& i_change) {
        EXPECT_EQ(i_change.kind, Jobs::Change::Kind::All);
        return ++asked < 2;
    };
    EXPECT_TRUE(client.Listen(take, std::chrono::seconds(20)));
}

TEST(JobsFailuresTest, AnAddressIsOneOfTwoForms)
{
    for (const char* const address :
         {"", "unix:", "unix:relative", "http://127.0.0.1:80", "https://", "https://host:0", "https://host:99999",
          "https://host:8x", "https://user@host", "https://host/path", "/run/socket"})
        EXPECT_EQ(Fail([&] { JobsClient client(address); }).first, Kind::BadInput) << address;
    for (const char* const address : {"unix:/run/socket", "https://host", "https://host:8443/", "https://[::1]:8443"})
        JobsClient client(address);
    EXPECT_EQ(Fail([] { JobsClient("unix:/nowhere/at/all").GetMachines(); }).first, Kind::NotReached);
    EXPECT_EQ(Fail([] { JobsClient("https://127.0.0.1:1").GetMachines(); }).first, Kind::NotReached);
}

} // namespace
