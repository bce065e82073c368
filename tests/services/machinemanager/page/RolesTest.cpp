#include "machinemanager/page/Routes.h"
#include "services/machinemanager/page/PageFixture.h"

namespace MachineService::MachineManager::Testing {

namespace {

class RolesTest : public PageFixture
{
protected:
    RolesTest()
    {
        Start();
        Submit(9, "bracket", {"sue", Role::Submit});
        Submit(10, "hinge", {"olga", Role::Operate});
    }

    static std::string MakePath(const Route& i_route, std::uint8_t i_job)
    {
        std::string path = i_route.path;
        if (const auto place = path.find("{id}"); place != std::string::npos)
            path.replace(place, 4, to_string(MakeId(path.find("/machines/") != std::string::npos ? 1 : i_job)));
        return path;
    }
    httplib::Result Ask(const Route& i_route, const std::string& i_path, const httplib::Headers& i_headers,
                        const std::string& i_body, const char* ip_type) const
    {
        auto client = Connect();
        const std::string method = i_route.method;
        if (method == "GET") {
            // Streams have no end: the first bytes tell enough.
            return client.Get(i_path, i_headers, [](const char*, std::size_t) { return false; });
        }
        if (method == "POST")
            return client.Post(i_path, i_headers, i_body, ip_type);
        return method == "PUT" ? client.Put(i_path, i_headers, i_body, ip_type)
                               : client.Patch(i_path, i_headers, i_body, ip_type);
    }
    /// The status alone, also of an answer that was not read to its end.
    int AskStatus(const Route& i_route, const std::string& i_path, httplib::Headers i_headers,
                  const std::string& i_body, const char* ip_type) const
    {
        if (std::string(i_route.method) != "GET")
            return Ask(i_route, i_path, i_headers, i_body, ip_type)->status;
        int status = 0;
        Connect().Get(
            i_path, i_headers,
            [&](const httplib::Response& i_response) {
                status = i_response.status;
                return false;
            },
            [](const char*, std::size_t) { return false; });
        return status;
    }
    /// Everything that anybody could have changed.
    std::string Describe() const
    {
        const Actor all{"test", Role::Operate};
        std::string text;
        for (const auto& job : desk->List(all, {})) {
            text += to_string(job.id) + ' ' + std::to_string(job.version) + ' ' +
                    std::to_string(desk->GetHistory(all, job.id).size()) + '\n';
        }
        for (const auto& machine : desk->GetMachines(all))
            text += machine.entry.name + (machine.entry.isPaused ? " paused " : " ") + machine.entry.loaded.material +
                    machine.entry.printer + '\n';
        return text;
    }
};

const std::vector<std::pair<Role, std::string>> People = {
    {Role::None, ""}, {Role::See, "sam"}, {Role::Submit, "sue"}, {Role::Operate, "olga"}};

} // namespace

TEST_F(RolesTest, NobodyWithoutTheRightIsAnsweredOrChangesAnything)
{
    const auto before = Describe();
    for (const auto& route : GetRoutes()) {
        for (const auto& [role, name] : People) {
            if (role >= route.role)
                continue;
            httplib::Headers headers;
            const bool isPage = route.door == Door::Page;
            std::string body = "{}";
            if (role != Role::None && isPage) {
                headers = SignIn({name, role});
                body = "token=" + FindFormToken(headers) + "&phase=waiting&priority=3&material=PLA";
            } else if (role != Role::None) {
                headers.emplace("Authorization", "Bearer token of " + name);
            }
            const auto status = AskStatus(route, MakePath(route, 9), headers, body,
                                          isPage ? "application/x-www-form-urlencoded" : "application/json");
            EXPECT_EQ(role == Role::None ? 401 : 403, status) << route.method << ' ' << route.path << " as " << name;
        }
    }
    EXPECT_EQ(before, Describe());
}

TEST_F(RolesTest, WhoeverHasTheRightIsLetThrough)
{
    for (const auto& route : GetRoutes()) {
        for (const auto& [role, name] : People) {
            if (role < route.role || role == Role::None || route.door == Door::Page)
                continue;
            const auto status = AskStatus(route, MakePath(route, role == Role::Submit ? 9 : 10),
                                          {{"Authorization", "Bearer token of " + name}}, "{}", "application/json");
            EXPECT_TRUE(status != 401 && status != 403 && status < 500)
                << route.method << ' ' << route.path << " as " << name << ": " << status;
        }
    }
}

TEST_F(RolesTest, WhoSubmitsDoesNothingWithTheJobsOfOthers)
{
    const auto before = Describe();
    for (const auto& route : GetRoutes()) {
        const std::string path = route.path;
        if (route.role != Role::Submit || route.door == Door::Page || path == "/api/v1/jobs" ||
            path.ends_with("/copy")) // what one may see, one may print oneself
            continue;
        const std::string body = path.ends_with("move") ? R"({"target":{"machine":")" + to_string(MakeId(2)) + "\"}}"
                                 : path.ends_with("priority") ? R"({"priority":3})"
                                 : path.ends_with("place")    ? R"({"before":null})"
                                                              : "";
        EXPECT_EQ(403, AskStatus(route, MakePath(route, 10), {{"Authorization", "Bearer token of sue"}}, body,
                                 path.ends_with("/platform") ? "application/octet-stream" : "application/json"))
            << route.method << ' ' << path;
    }
    EXPECT_EQ(before, Describe());
}

TEST_F(RolesTest, WhoseRoleChangesHasItInTheBrowserToo)
{
    page->Stop();
    std::optional<Role> role = Role::Operate;
    auto changing = options;
    changing.confirm = [&role](const Actor& i_actor) {
        return role ? std::optional(Actor{i_actor.name, *role}) : std::nullopt;
    };
    page = std::make_unique<ManagerPage>(*desk, changing);
    page->Start();
    const auto cookie = SignIn({"olga", Role::Operate});
    const auto pause = [&] {
        return Connect()
            .Post("/machines/" + to_string(MakeId(1)) + "/actions/pause", cookie, "token=" + FindFormToken(cookie),
                  "application/x-www-form-urlencoded")
            ->status;
    };
    EXPECT_EQ(303, pause());
    role = Role::See;
    EXPECT_EQ(200, Connect().Get("/jobs", cookie)->status);
    EXPECT_EQ(403, pause());
    role.reset();
    EXPECT_EQ(401, Connect().Get("/jobs", cookie)->status);
}

TEST_F(RolesTest, WhatTakesMachineFilesIsToldToOperatorsOnly)
{
    desk->SetPrinter({"olga", Role::Operate}, MakeId(1),
                     R"({"kind":"folder","path":")" + folder.GetAbsoluteDir().string() + "\"}");
    EXPECT_THAT(Connect("sue").Get("/api/v1/machines")->body, Not(HasSubstr("\"kind\"")));
    EXPECT_THAT(Connect("olga").Get("/api/v1/machines")->body, HasSubstr("\"kind\":\"folder\""));
}

TEST_F(RolesTest, ThePageIsNotOnTheSocketAndTheSocketIsForItsUserAlone)
{
    EXPECT_EQ(404, ConnectLocally().Get("/jobs")->status);
    EXPECT_EQ(0700, static_cast<int>(std::filesystem::status(options.socket.parent_path()).permissions()));
    EXPECT_EQ(0600, static_cast<int>(std::filesystem::status(options.socket).permissions()));
    EXPECT_THAT(ConnectLocally().Get("/api/v1/information")->body, HasSubstr("\"role\":\"operate\""));
    EXPECT_THAT([&] { ManagerPage(*desk, options).Start(); },
                ThrowsMessage<std::runtime_error>(HasSubstr("another program answers there")));
    page->Stop();
    EXPECT_FALSE(std::filesystem::exists(options.socket));
    std::filesystem::permissions(options.socket.parent_path(), std::filesystem::perms(0750));
    EXPECT_THAT([&] { page->Start(); }, ThrowsMessage<std::runtime_error>(HasSubstr("chmod 700")));
}

TEST_F(RolesTest, BeyondThisComputerItIsOfferedWithTlsAddressAndTokensOnly)
{
    page->Stop();
    auto open = options;
    open.host = "0.0.0.0";
    const auto start = [&] {
        ManagerPage(*desk, open).Start();
    };
    EXPECT_THAT(start, ThrowsMessage<std::runtime_error>(HasSubstr("only with a certificate")));
    open.certificate = open.key = folder.GetAbsoluteDir() / "none.pem";
    open.publicAddress = "http://shop.example";
    EXPECT_THAT(start, ThrowsMessage<std::runtime_error>(HasSubstr("none.pem")));
}

} // namespace MachineService::MachineManager::Testing
