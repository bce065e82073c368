#include "machinemanager/page/http/HttpServer.h"

#include "services/machinemanager/page/PageFixture.h"
#include "services/machinemanager/page/RawClient.h"

#include <QProcess>

namespace MachineService::MachineManager::Testing {

namespace {

using namespace std::chrono_literals;

/// A server that is soon at the end of its patience.
class HttpServerTest : public ::testing::Test
{
protected:
    HttpServerTest()
    {
        ServerOptions options;
        options.patience = {200ms, 200ms, 200ms, 1'000'000, 200ms};
        server = std::make_unique<HttpServer>(std::move(options), [](const HttpRequest& i_request) {
            HttpResponse response;
            response.type = "text/plain";
            // More than the system's buffers of a connection hold.
            response.body = i_request.path == "/large" ? std::string(64 << 20, 'x') : i_request.ReadBody(1 << 30);
            if (i_request.path == "/fault")
                throw std::runtime_error("secret of the inside");
            return response;
        });
        server->Start();
    }
    RawClient Connect() const { return RawClient(server->GetPort()); }
    bool WaitUntilNobodyIsThere() const
    {
        const auto until = std::chrono::steady_clock::now() + 30s;
        while (server->GetConnections() > 0 && std::chrono::steady_clock::now() < until)
            std::this_thread::yield();
        return server->GetConnections() == 0;
    }

    std::unique_ptr<HttpServer> server;
};

} // namespace

TEST_F(HttpServerTest, WhoeverIsTooSlowIsCutOff)
{
    auto silent = Connect();
    EXPECT_EQ("", silent.ReadAll()) << "no request";
    auto half = Connect();
    half.Send("GET / HTTP/1.1\r\n");
    EXPECT_EQ("", half.ReadAll()) << "half a head";
    auto idle = Connect();
    idle.Send("GET / HTTP/1.1\r\n\r\n");
    EXPECT_THAT(idle.ReadAll(), StartsWith("HTTP/1.1 200 OK")) << "no second request";
    auto sending = Connect();
    sending.Send("POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\n12345");
    EXPECT_THAT(sending.ReadAll(), StartsWith("HTTP/1.1 400 ")) << "half a body";
    // Always a little, and never enough.
    auto trickling = Connect();
    trickling.Send("POST / HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n");
    int count = 0;
    for (; count < 1'000'000 && trickling.Send("x"); ++count)
        std::this_thread::sleep_for(1ms);
    EXPECT_LT(count, 1'000'000);
    auto reading = Connect();
    reading.Send("GET /large HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(WaitUntilNobodyIsThere()) << "who takes nothing of a large answer holds nobody up";
}

TEST_F(HttpServerTest, AFaultInsideIsToldWithoutItsWords)
{
    auto client = Connect();
    client.Send("GET /fault HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.ReadAll(),
                AllOf(StartsWith("HTTP/1.1 500 "), HasSubstr("problem+json"), Not(HasSubstr("secret"))));
}

/// With a certificate that says it is of this computer.
class HttpsTest : public PageFixture
{
protected:
    HttpsTest()
    {
        options.certificate = folder.GetAbsoluteDir() / "certificate.pem";
        options.key = folder.GetAbsoluteDir() / "key.pem";
        options.publicAddress = "https://shop.example";
        QProcess openssl;
        openssl.start(QStringLiteral("openssl"),
                      {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("ec"),
                       QStringLiteral("-pkeyopt"), QStringLiteral("ec_paramgen_curve:prime256v1"),
                       QStringLiteral("-nodes"), QStringLiteral("-subj"), QStringLiteral("/CN=shop.example"),
                       QStringLiteral("-keyout"), QString::fromStdString(options.key.string()), QStringLiteral("-out"),
                       QString::fromStdString(options.certificate.string())});
        EXPECT_TRUE(openssl.waitForFinished(60'000) && openssl.exitCode() == 0);
        // The address is the public one; the port is still chosen by the system.
        options.host = "127.0.0.1";
    }
};

TEST_F(HttpsTest, WithACertificateEverythingIsEncryptedAndGoesByThePublicAddress)
{
    Start();
    const auto metrics = ConnectLocally().Get("/health");
    ASSERT_EQ(200, metrics->status);
    EXPECT_EQ("https://shop.example", page->GetAddress());
    const auto address = page->MakeJobAddress({}, {"olga", Role::Operate});
    EXPECT_EQ(std::pair(std::string("https"), std::string("shop.example")), std::pair(address.scheme, address.host));
    httplib::SSLClient client("127.0.0.1", page->GetPort());
    client.enable_server_certificate_verification(false);
    const httplib::Headers host = {{"Host", "shop.example"}};
    EXPECT_EQ(401, client.Get("/jobs", host)->status);
    const auto in = client.Get(address.path + '?' + address.query, host);
    EXPECT_THAT(in->get_header_value("Set-Cookie"), HasSubstr("; Secure"));
    const auto cookie = in->get_header_value("Set-Cookie");
    EXPECT_EQ(200,
              client.Get("/jobs", {{"Host", "shop.example"}, {"Cookie", cookie.substr(0, cookie.find(';'))}})->status);
    EXPECT_EQ(421, client.Get("/jobs", {{"Host", "other.example"}})->status);
    RawClient plain(page->GetPort());
    plain.Send("GET /jobs HTTP/1.1\r\nHost: shop.example\r\n\r\n");
    EXPECT_THAT(plain.ReadAll(), Not(HasSubstr("HTTP/1.1")));
}

} // namespace MachineService::MachineManager::Testing
