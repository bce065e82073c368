#pragma once

#include "client/interface/ScopedTempDir.h"
#include "machinemanager/JobDesk.h"
#include "machinemanager/dispatch/MachineBoard.h"
#include "machinemanager/page/ManagerPage.h"
#include "machinemanager/store/FileStore.h"
#include "machinemanager/store/JobStore.h"
#include "support/FakeMachineService.h"
#include "support/Files.h"
#include "support/Test.h"
#include "tavam/AMXFileWriter.h"
#include "tavam/Database.h"
#include "tavam/Platform.h"

#include <QCryptographicHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <boost/uuid/uuid_io.hpp>
#include <httplib.h>

namespace MachineService::MachineManager::Testing {

using TestSupport::MakeId;

inline QJsonObject ParseJson(const std::string& i_text)
{
    return QJsonDocument::fromJson(QByteArray::fromStdString(i_text)).object();
}

inline std::string GetText(const QJsonObject& i_object, const char* ip_name)
{
    return i_object.value(QLatin1String(ip_name)).toString().toStdString();
}

/// A manager's page over a real store, with machines that only stand there.
class PageFixture : public ::testing::Test
{
protected:
    PageFixture()
    {
        for (std::uint8_t number = 1; number <= 2; ++number) {
            auto data = TestSupport::MakeMachineData(number);
            data.name = number == 1 ? "Kestrel 350 Pro" : "Halcyon <b>D260</b>";
            data.modelId = "model-" + std::to_string(number);
            TestSupport::FakeBehaviour behaviour;
            CommandDescription build;
            build.type = CommandType::Build;
            build.id = MakeId(200);
            behaviour.commands = {build};
            behaviour.canRun = [](const auto&) {
                return TestSupport::MakeReady(true);
            };
            catalog.Set(TestSupport::MakeFakeMachine(data, std::move(behaviour)));
        }
        StoreOptions storeOptions;
        storeOptions.address = "sqlite:" + (folder.GetAbsoluteDir() / "store.sqlite").string();
        store = std::make_unique<JobStore>(std::move(storeOptions));
        files = std::make_unique<FileStore>(folder.GetAbsoluteDir() / "files");
        board = std::make_unique<MachineBoard>(*store, catalog);
        desk = std::make_unique<JobDesk>(*store, *files, *board);
        options.socket = folder.GetAbsoluteDir() / "socket" / "manager";
        options.admit = [](const std::string& i_token) -> std::optional<Actor> {
            for (const auto& actor :
                 {Actor{"sam", Role::See}, Actor{"sue", Role::Submit}, Actor{"olga", Role::Operate}}) {
                if (i_token == "token of " + actor.name)
                    return actor;
            }
            return std::nullopt;
        };
        options.log = [this](const std::string& i_line) {
            const std::lock_guard lock(logMutex);
            log.push_back(i_line);
        };
    }
    ~PageFixture() override { page.reset(); }

    void Start()
    {
        page = std::make_unique<ManagerPage>(*desk, options);
        page->Start();
    }
    std::string GetHost() const { return page->GetAddress().substr(page->GetAddress().find("://") + 3); }
    int GetPort() const { return std::stoi(GetHost().substr(GetHost().rfind(':') + 1)); }

    /// Over TCP, as whoever the token stands for.
    httplib::Client Connect(const std::string& i_name = {}) const
    {
        httplib::Client client("127.0.0.1", GetPort());
        if (!i_name.empty())
            client.set_bearer_token_auth("token of " + i_name);
        return client;
    }
    httplib::Client ConnectLocally() const
    {
        httplib::Client client(options.socket.string());
        client.set_address_family(AF_UNIX);
        return client;
    }
    /// A browser that was let in as somebody.
    httplib::Headers SignIn(const Actor& i_actor)
    {
        const auto address = page->MakeJobAddress({}, i_actor);
        const auto answer = Connect().Get(address.path + '?' + address.query);
        EXPECT_EQ(303, answer->status);
        const auto cookie = answer->get_header_value("Set-Cookie");
        return {{"Cookie", cookie.substr(0, cookie.find(';'))}};
    }
    /// The token of the forms of the pages that a browser gets.
    std::string FindFormToken(const httplib::Headers& i_cookie) const
    {
        const auto body = Connect().Get("/jobs", i_cookie)->body;
        const auto begin = body.find("name=\"token\" value=\"") + 20;
        return body.substr(begin, body.find('"', begin) - begin);
    }

    static std::string MakePlatformBytes()
    {
        static const std::string bytes = [] {
            const ScopedTempDir place;
            TavAM::Database database;
            database.AddPlatform(std::make_shared<TavAM::Platform>());
            TavAM::AMXFileWriter().WriteFile(place.GetAbsoluteDir() / "plate.TavAMX", database);
            return TestSupport::ReadFile(place.GetAbsoluteDir() / "plate.TavAMX");
        }();
        return bytes;
    }
    NewJob MakeJob(std::uint8_t i_number, const std::string& i_name) const
    {
        NewJob job;
        job.id = MakeId(i_number);
        job.name = i_name;
        job.target.machine = MakeId(1);
        job.platform = {i_name.substr(0, 20) + ".TavAMX", {}, 0};
        return job;
    }
    Job Submit(std::uint8_t i_number, const std::string& i_name, const Actor& i_actor = {"olga", Role::Operate})
    {
        const auto path = folder.GetAbsoluteDir() / "platform.TavAMX";
        TestSupport::WriteFile(path, MakePlatformBytes());
        return desk->Submit(i_actor, MakeJob(i_number, i_name), path);
    }
    /// What announces a job with some platform file.
    static QJsonObject MakeAnnouncement(std::uint8_t i_number, const std::string& i_bytes)
    {
        const auto hash =
            QCryptographicHash::hash(QByteArray::fromStdString(i_bytes), QCryptographicHash::Sha256).toHex();
        return {{QStringLiteral("id"), QString::fromStdString(to_string(MakeId(i_number)))},
                {QStringLiteral("name"), QStringLiteral("bracket")},
                {QStringLiteral("target"),
                 QJsonObject{{QStringLiteral("machine"), QString::fromStdString(to_string(MakeId(1)))}}},
                {QStringLiteral("platform"), QJsonObject{{QStringLiteral("name"), QStringLiteral("bracket.TavAMX")},
                                                         {QStringLiteral("size"), static_cast<qint64>(i_bytes.size())},
                                                         {QStringLiteral("sha256"), QString::fromLatin1(hash)}}}};
    }
    static std::string Write(const QJsonObject& i_object)
    {
        return QJsonDocument(i_object).toJson(QJsonDocument::Compact).toStdString();
    }

    ScopedTempDir folder;
    TestSupport::FakeMachinesCatalog catalog;
    std::unique_ptr<JobStore> store;
    std::unique_ptr<FileStore> files;
    std::unique_ptr<MachineBoard> board;
    std::unique_ptr<JobDesk> desk;
    ManagerPageOptions options;
    std::mutex logMutex; // guards log
    std::vector<std::string> log;
    std::unique_ptr<ManagerPage> page;
};

} // namespace MachineService::MachineManager::Testing
