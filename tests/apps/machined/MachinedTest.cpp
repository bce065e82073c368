#include "client/interface/ScopedTempDir.h"
#include "machined/Settings.h"
#include "machined/TokenStore.h"
#include "machinemanager/page/Sessions.h"
#include "services/server/WireClient.h"
#include "support/Files.h"
#include "support/ServedProgram.h"

#include <QString>

#include <httplib.h>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace TestSupport;
using MachineService::MachineManager::Role;

/// A daemon with folders of its own, so that it neither sees the user's printers nor is seen.
class MachinedTest : public ::testing::Test
{
protected:
    std::string PathOf(const char* ip_name) const { return (folder.GetAbsoluteDir() / ip_name).string(); }

    std::unique_ptr<ServedProgram> Start(const QStringList& i_arguments)
    {
        const auto text = [this](const char* ip_name) {
            return QString::fromStdString(PathOf(ip_name));
        };
        return std::make_unique<ServedProgram>(
            QStringLiteral(MACHINED), i_arguments,
            std::vector<std::pair<QString, QString>>{{QStringLiteral("XDG_RUNTIME_DIR"), text("run")},
                                                     {QStringLiteral("XDG_CONFIG_HOME"), text("config")},
                                                     {QStringLiteral("XDG_DATA_HOME"), text("data")},
                                                     {QStringLiteral("XDG_CACHE_HOME"), text("cache")},
                                                     {QStringLiteral("NOTIFY_SOCKET"), text("notify")}});
    }
    /// Exit code and what it said of an error.
    std::pair<int, std::string> Run(const QStringList& i_arguments)
    {
        const auto program = Start(i_arguments);
        const int code = program->WaitForEnd();
        return {code, program->GetErrors()};
    }
    static std::string GetFirstMachine(WireClient& io_client)
    {
        for (const auto& event : io_client.ReadSnapshot()) {
            if (event.snapshot().machines_size() > 0)
                return event.snapshot().machines(0).name();
        }
        return {};
    }

    /// Of the addresses that the tests listen at.
    void MakeCertificate() const
    {
        QProcess openssl;
        openssl.setWorkingDirectory(QString::fromStdString(folder.GetAbsoluteDir().string()));
        openssl.start(QStringLiteral("openssl"),
                      QStringLiteral("req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -addext "
                                     "subjectAltName=IP:127.0.0.1 -keyout key.pem -out certificate.pem")
                          .split(QLatin1Char(' ')));
        EXPECT_TRUE(openssl.waitForFinished(60'000));
    }
    QStringList GetTlsArguments() const
    {
        QStringList arguments;
        for (const auto& [option, name] :
             {std::pair("--certificate", "certificate.pem"), {"--key", "key.pem"}, {"--tokens", "tokens"}})
            arguments << QLatin1String(option) << QString::fromStdString(PathOf(name));
        return arguments;
    }

    MachinedTest()
    {
        mkdir(PathOf("run").c_str(), 0700);
        datagrams = socket(AF_UNIX, SOCK_DGRAM, 0);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        PathOf("notify").copy(address.sun_path, sizeof(address.sun_path) - 1);
        bind(datagrams, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        const timeval longest = {20, 0};
        setsockopt(datagrams, SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest);
    }
    ~MachinedTest() override { close(datagrams); }
    std::string ReadNotification() const
    {
        char text[100] = {};
        const auto count = recv(datagrams, text, sizeof text, 0);
        return {text, count > 0 ? static_cast<std::size_t>(count) : 0};
    }

    const MachineService::ScopedTempDir folder;
    int datagrams = -1;
};

TEST_F(MachinedTest, ServesThePrintersOnASocketUntilItIsStopped)
{
    const auto daemon = Start({QStringLiteral("--print-address")});
    const auto addresses = daemon->WaitUntilReady();
    ASSERT_THAT(addresses, ElementsAre("unix:" + PathOf("run/machineservice/machined.sock"))) << daemon->GetErrors();
    EXPECT_EQ(ReadNotification(), "READY=1");
    struct stat status = {};
    ASSERT_EQ(stat(PathOf("run/machineservice").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0700u);
    WireClient client(addresses.front());
    const auto first = GetFirstMachine(client);
    EXPECT_FALSE(first.empty());

    // A new printer is found, and nobody loses the connection.
    const auto context = client.MakeContext();
    const auto reader = client.Get().WatchCatalog(context.get(), {});
    client.ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.snapshot().is_last(); });
    auto profile = ReadFile(MACHINED_PROFILE);
    profile.replace(profile.find("\"id\": \"") + 7, 4, "aaaa");
    WriteFile(PathOf("config/machineservice/build-processors/profiles/mine.json"), profile);
    daemon->Signal(SIGHUP);
    const auto events =
        client.ReadUntil<pb::CatalogEvent>(*reader, [](const auto& i_event) { return i_event.has_added(); });
    ASSERT_FALSE(events.empty());
    EXPECT_TRUE(events.back().has_added());

    daemon->Signal(SIGTERM);
    EXPECT_EQ(daemon->WaitForEnd(), 0);
    EXPECT_EQ(ReadNotification(), "STOPPING=1");
    EXPECT_FALSE(std::filesystem::exists(PathOf("run/machineservice/machined.sock")));
    EXPECT_THAT(daemon->GetErrors(), HasSubstr("stopped"));
}

TEST_F(MachinedTest, LetsInByTlsWhoHasAToken)
{
    MakeCertificate();
    auto arguments = GetTlsArguments() << QStringLiteral("--socket") << QStringLiteral("none")
                                       << QStringLiteral("--listen") << QStringLiteral("127.0.0.1:0");
    // Nobody could come in.
    EXPECT_EQ(Run(arguments).first, 2);
    Machined::TokenStore tokens(PathOf("tokens"));
    const auto secret = tokens.Add("office");
    arguments.push_back(QStringLiteral("--print-address"));
    const auto daemon = Start(arguments);
    const auto addresses = daemon->WaitUntilReady();
    ASSERT_THAT(addresses, SizeIs(1)) << daemon->GetErrors();
    WireClient client(addresses.front().substr(6), grpc::SslCredentials({ReadFile(PathOf("certificate.pem")), "", ""}));
    EXPECT_EQ(GetFirstMachine(client), "");
    EXPECT_EQ(client.status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
    client.token = secret;
    EXPECT_NE(GetFirstMachine(client), "");
    // Who only looks at the page has nothing to do here.
    tokens.SetRole("office", Role::See);
    EXPECT_EQ(GetFirstMachine(client), "");
    tokens.SetRole("office", Role::Operate);
    EXPECT_NE(GetFirstMachine(client), "");
    // Revoked, it counts no more.
    tokens.Revoke("office");
    EXPECT_EQ(GetFirstMachine(client), "");
    WireClient bare(addresses.front().substr(6));
    pb::RefreshReply reply;
    grpc::ClientContext hurried;
    hurried.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(2));
    EXPECT_FALSE(bare.Get().Refresh(&hurried, {}, &reply).ok());
}

TEST_F(MachinedTest, ATokensRoleSaysWhatMayBeDoneAtTheManager)
{
    MakeCertificate();
    const auto daemon =
        Start(GetTlsArguments() << QStringLiteral("--manager") << QStringLiteral("only") << QStringLiteral("--page")
                                << QStringLiteral("127.0.0.2:0") << QStringLiteral("--print-address"));
    ASSERT_THAT(daemon->WaitUntilReady(), SizeIs(1)) << daemon->GetErrors();
    const auto said = daemon->GetErrors();
    const std::string before = "the page of jobs is at https://127.0.0.2:";
    ASSERT_THAT(said, HasSubstr(before));
    const int port = std::stoi(said.substr(said.find(before) + before.size()));
    Machined::TokenStore tokens(PathOf("tokens"));
    const auto ask = [&](const std::string& i_secret) {
        httplib::SSLClient client("127.0.0.2", port);
        client.enable_server_certificate_verification(false);
        client.set_bearer_token_auth(i_secret);
        return std::vector<int>{client.Get("/api/v1/jobs")->status,
                                client.Post("/api/v1/jobs", "{}", "application/json")->status,
                                client.Post("/api/v1/backups", "", "application/json")->status};
    };
    EXPECT_THAT(ask("nobody"), ElementsAre(401, 401, 401));
    EXPECT_THAT(ask(tokens.Add("sam", Role::See)), ElementsAre(200, 403, 403));
    EXPECT_THAT(ask(tokens.Add("sue")), ElementsAre(200, 422, 403));
    const auto secret = tokens.Add("olga", Role::Operate);
    EXPECT_THAT(ask(secret), ElementsAre(200, 422, 201));
    tokens.SetRole("olga", Role::See);
    EXPECT_THAT(ask(secret), ElementsAre(200, 403, 403)) << "at once";
}

TEST_F(MachinedTest, KeepsTokensAsHashes)
{
    Machined::TokenStore tokens(PathOf("folder/tokens"));
    EXPECT_TRUE(tokens.GetTokens().empty());
    const auto first = tokens.Add("a");
    const auto second = tokens.Add("b");
    EXPECT_NE(first, second);
    EXPECT_EQ(first.size(), 64u);
    EXPECT_THAT(ReadFile(PathOf("folder/tokens")), Not(HasSubstr(first)));
    const auto find = [&](const std::string& i_secret) {
        const auto actor = tokens.Find(i_secret);
        return actor ? actor->name + ' ' + MachineService::MachineManager::GetName(actor->role) : std::string();
    };
    EXPECT_EQ(find(first), "a submit");
    const auto third = tokens.Rotate("a");
    EXPECT_EQ(find(first), "");
    EXPECT_EQ(find(third), "a submit");
    tokens.SetRole("a", Role::See);
    EXPECT_EQ(find(tokens.Rotate("a")), "a see") << "another secret is the same right";
    EXPECT_THROW(tokens.SetRole("c", Role::See), std::runtime_error);
    EXPECT_THROW(tokens.Add("fd"), std::runtime_error) << "the wire calls this computer's hosts so";
    EXPECT_EQ(find(""), "");
    EXPECT_THROW(tokens.Add("a"), std::runtime_error);
    EXPECT_THROW(tokens.Add("a b"), std::runtime_error);
    EXPECT_THROW(tokens.Revoke("c"), std::runtime_error);
    // Of the time before tokens had roles.
    WriteFile(PathOf("folder/tokens"), "old " + std::string(64, '0') + '\n');
    EXPECT_EQ(tokens.FindByName("old")->role, Role::Operate);
    for (const auto& line : {std::string("a nonsense"), "a " + std::string(64, '0') + " king"}) {
        WriteFile(PathOf("folder/tokens"), line + '\n');
        EXPECT_THROW(tokens.Find(first), std::runtime_error);
    }
}

TEST_F(MachinedTest, SaysWhatIsWrongWithItsSettings)
{
    WriteFile(PathOf("good.conf"), "# comment\n\nsocket = none\n drain-seconds=7\nlisten = 0.0.0.0:1\nkey = k\n"
                                   "certificate = c\n");
    const auto settings = Machined::ReadSettings({"--key", "other", "--config", PathOf("good.conf")});
    EXPECT_EQ(settings.socket, "");
    EXPECT_EQ(settings.drain, std::chrono::seconds(7));
    EXPECT_EQ(settings.key, "other");
    // Of a folder that an administrator has, the file counts as soon as it is there.
    const auto folderOption = std::vector<std::string>{"--config-folder", PathOf("etc"), "--socket", "/s"};
    const auto without = Machined::ReadSettings(folderOption);
    EXPECT_EQ(without.configuration, "");
    EXPECT_EQ(Machined::GetTokenFile(without), PathOf("etc/tokens"));
    WriteFile(PathOf("etc/machined.conf"), "runs = 3\nsocket = /other\ntokens = /tokens\n");
    const auto with = Machined::ReadSettings(folderOption);
    EXPECT_EQ(with.configuration, PathOf("etc/machined.conf"));
    EXPECT_EQ(with.runsOfOneClient, 3);
    EXPECT_EQ(with.socket, "/s");
    EXPECT_EQ(Machined::GetTokenFile(with), "/tokens");
    EXPECT_EQ(Machined::ReadSettings({"--config-folder", PathOf("etc"), "--config", PathOf("good.conf")}).socket, "");
    WriteFile(PathOf("bad/machined.conf"), "runs = many");
    WriteFile(PathOf("folder.conf/machined.conf/file"), "");
    WriteFile(PathOf("name.conf"), "colour = red");
    WriteFile(PathOf("line.conf"), "\nsocket");
    const struct
    {
        std::vector<std::string> arguments;
        std::string found;
    } rows[] = {
        {{"--config", PathOf("name.conf")}, "'colour' in line 1 of"},
        {{"--config", PathOf("line.conf")}, "line 2 of"},
        {{"--config", PathOf("none.conf")}, "cannot be read"},
        {{"--config-folder", PathOf("bad")}, "'runs' in line 1 of '" + PathOf("bad/machined.conf")},
        {{"--config-folder", PathOf("folder.conf")}, "cannot be read"},
        {{"--colour", "red"}, "'--colour' is not known"},
        {{"--runs"}, "needs a value"},
        {{"--runs", "0"}, "no whole number from 1 to 1000"},
        {{"--listen", "0.0.0.0:1"}, "no way without TLS"},
    };
    for (const auto& row : rows) {
        try {
            Machined::ReadSettings(row.arguments);
            ADD_FAILURE() << row.found;
        } catch (const Machined::WrongUsage& wrong) {
            EXPECT_THAT(wrong.what(), HasSubstr(row.found));
        }
    }
    EXPECT_EQ(Run({QStringLiteral("--check-config")}).first, 0);
    for (const auto& [name, code] : {std::pair("etc", 0), {"bad", 2}, {"nowhere", 0}})
        EXPECT_EQ(Run({QStringLiteral("--check-config"), QStringLiteral("--config-folder"),
                       QString::fromStdString(PathOf(name))})
                      .first,
                  code)
            << name;
    EXPECT_EQ(Run({QStringLiteral("--help")}).first, 0);
    EXPECT_EQ(Run({QStringLiteral("nonsense")}).first, 2);
    EXPECT_EQ(Run({QStringLiteral("--socket"), QStringLiteral("relative")}).first, 1);
}

TEST_F(MachinedTest, HasUnitsThatTheServiceManagerUnderstands)
{
    for (const char* kind : {"system", "user"}) {
        QProcess verify;
        verify.setProcessChannelMode(QProcess::MergedChannels);
        auto unit = ReadFile(std::string(MACHINED_UNITS "/") + kind + "/machined.service");
        ASSERT_THAT(unit, HasSubstr("/machined"));
        EXPECT_EQ(unit.find(" --config-folder /etc/machined ") != std::string::npos, kind == std::string("system"))
            << "which needs no file there to start";
        // It looks whether the program is there.
        const auto begin = unit.find("ExecStart=") + 10;
        unit.replace(begin, unit.find_first_of(" \n", begin) - begin, MACHINED);
        const auto file = std::string(kind) + "/machined.service";
        WriteFile(PathOf(file.c_str()), unit);
        verify.start(QStringLiteral("systemd-analyze"), {QStringLiteral("--man=no"), QStringLiteral("verify"),
                                                         QString::fromStdString(PathOf(file.c_str()))});
        if (!verify.waitForStarted())
            GTEST_SKIP() << "there is no systemd-analyze";
        ASSERT_TRUE(verify.waitForFinished(60'000));
        EXPECT_EQ(verify.exitCode(), 0) << verify.readAll().toStdString();
    }
}

} // namespace
