#include "machinemanager/page/Sessions.h"
#include "services/machinemanager/page/PageFixture.h"

namespace MachineService::MachineManager::Testing {

namespace {

const Actor Olga{"olga", Role::Operate};

class SecurityTest : public PageFixture
{
protected:
    SecurityTest()
    {
        Start();
        Submit(9, "bracket");
    }
    const std::string hold = "/jobs/" + to_string(MakeId(9)) + "/actions/hold";
    const char* const form = "application/x-www-form-urlencoded";
    JobPhase GetPhase() const { return desk->Get(Olga, MakeId(9)).phase; }
};

httplib::Headers With(httplib::Headers i_headers, const std::string& i_name, const std::string& i_value)
{
    i_headers.erase(i_name);
    i_headers.emplace(i_name, i_value);
    return i_headers;
}

} // namespace

TEST_F(SecurityTest, AnAddressLetsOneBrowserInOnceAndTheCookieIsNotForScriptsAndOtherPages)
{
    const auto address = page->MakeJobAddress(MakeId(9), Olga);
    EXPECT_EQ("http", address.scheme);
    EXPECT_EQ(GetHost(), address.host);
    const auto target = address.path + '?' + address.query;
    const auto first = Connect().Get(target);
    EXPECT_EQ(303, first->status);
    EXPECT_EQ(address.path, first->get_header_value("Location")) << "the code does not stay in the history";
    EXPECT_THAT(
        first->get_header_value("Set-Cookie"),
        MatchesRegex("session-[0-9a-f]{8}=[A-Za-z0-9_-]{43}; Path=/; HttpOnly; SameSite=Strict; Max-Age=2592000"));
    const auto second = Connect().Get(target);
    EXPECT_EQ(401, second->status);
    EXPECT_FALSE(second->has_header("Set-Cookie"));
    EXPECT_THAT(second->body, HasSubstr("has been used already"));

    const auto cookie = SignIn(Olga);
    EXPECT_EQ(200, Connect().Get("/jobs", cookie)->status);
    EXPECT_EQ(303, Connect().Get(target, cookie)->status) << "whoever is in already need not care";
    const auto token = FindFormToken(cookie);
    const auto out = Connect().Post("/sign-out", cookie, "token=" + token, form);
    EXPECT_THAT(out->get_header_value("Set-Cookie"), HasSubstr("Max-Age=0"));
    EXPECT_EQ(401, Connect().Get("/jobs", cookie)->status);
}

TEST_F(SecurityTest, CodesAndSessionsEndWithTheirTimeAndSessionsOutliveTheProgram)
{
    const auto file = folder.GetAbsoluteDir() / "sessions.json";
    Time now{std::chrono::hours(1'000'000)};
    const auto clock = [&] {
        return now;
    };
    std::string secret;
    {
        Sessions sessions(file, clock);
        const auto late = sessions.MakeCode(Olga);
        now += std::chrono::minutes(61);
        EXPECT_EQ("", sessions.Exchange(late));
        const auto code = sessions.MakeCode(Olga);
        now += std::chrono::minutes(59);
        secret = sessions.Exchange(code);
        EXPECT_EQ("", sessions.Exchange(code));
        for (int month = 0; month < 3; ++month) {
            now += std::chrono::hours(24 * 29);
            EXPECT_TRUE(sessions.Find(secret)) << "it is used";
        }
    }
    EXPECT_THAT(TestSupport::ReadFile(file), Not(HasSubstr(secret)));
    EXPECT_EQ(0600, static_cast<int>(std::filesystem::status(file).permissions()));
    {
        Sessions sessions(file, clock);
        const auto actor = sessions.Find(secret);
        ASSERT_TRUE(actor);
        EXPECT_EQ(std::pair(Olga.name, Olga.role), std::pair(actor->name, actor->role));
        EXPECT_FALSE(sessions.Find(secret + 'x'));
        now += std::chrono::hours(24 * 31);
        EXPECT_FALSE(sessions.Find(secret));
    }
    TestSupport::WriteFile(file, "[{\"hash\":7},[],{\"role\":\"king\"}");
    EXPECT_FALSE(Sessions(file, clock).Find(secret));
}

TEST_F(SecurityTest, AFormOfAnotherPageChangesNothing)
{
    const auto cookie = SignIn(Olga);
    const auto token = FindFormToken(cookie);
    const auto body = "phase=waiting&token=" + token;
    const std::vector<std::pair<httplib::Headers, std::string>> attempts = {
        {cookie, "phase=waiting"},
        {cookie, "phase=waiting&token="},
        {cookie, "phase=waiting&token=" + std::string(64, '0')},
        {cookie, "phase=waiting&token=" + FindFormToken(SignIn(Olga))}, // of another session
        {With(cookie, "Origin", "http://evil.example"), body},
        {With(cookie, "Origin", "null"), body},
        {With(cookie, "Origin", "https://" + GetHost()), body},
        {With(cookie, "Sec-Fetch-Site", "cross-site"), body},
        {With(cookie, "Sec-Fetch-Site", "same-site"), body},
    };
    for (const auto& [headers, text] : attempts)
        EXPECT_EQ(403, Connect().Post(hold, headers, text, form)->status) << text;
    // The interface takes the cookie as well, and asks for the same.
    EXPECT_EQ(403, Connect().Post("/api/v1" + hold, cookie, "", "application/json")->status);
    EXPECT_EQ(JobPhase::Waiting, GetPhase());

    const auto own = With(With(cookie, "Origin", page->GetAddress()), "Sec-Fetch-Site", "same-origin");
    EXPECT_EQ(303, Connect().Post(hold, own, body, form)->status);
    EXPECT_EQ(JobPhase::Held, GetPhase());
    EXPECT_EQ(412, Connect().Post(hold, own, body, form)->status) << "the page shows another phase";
    EXPECT_EQ(200,
              Connect()
                  .Post("/api/v1/jobs/1/actions/release", With(cookie, "X-Page-Token", token), "", "application/json")
                  ->status);
    const auto history = desk->GetHistory(Olga, MakeId(9));
    EXPECT_EQ("olga", history.back().actor) << "who did what is kept";
}

TEST_F(SecurityTest, ANameOfAnotherHostThatPointsHereIsRefused)
{
    const auto cookie = SignIn(Olga);
    for (const auto& host : {std::string("evil.example"), "evil.example:" + std::to_string(GetPort()),
                             std::string("127.0.0.1"), std::string("127.0.0.1:1"), GetHost() + ".evil.example"})
        EXPECT_EQ(421, Connect().Get("/jobs", With(cookie, "Host", host))->status) << host;
    EXPECT_EQ(200, Connect().Get("/jobs", With(cookie, "Host", "LocalHost:" + std::to_string(GetPort())))->status);
    EXPECT_EQ(403, Connect().Get("/api/v1/jobs", With(cookie, "Origin", "http://evil.example"))->status);
    // As browsers have it for forms of a page without a referrer.
    const auto sandboxed = With(cookie, "Origin", "null");
    EXPECT_EQ(403, Connect().Get("/jobs", With(sandboxed, "Sec-Fetch-Site", "cross-site"))->status);
    EXPECT_EQ(200, Connect().Get("/jobs", With(sandboxed, "Sec-Fetch-Site", "same-origin"))->status);
}

TEST_F(SecurityTest, ATokenSignsInWhereThereAreTokens)
{
    const auto hint = Connect().Get("/jobs");
    EXPECT_EQ(401, hint->status);
    EXPECT_THAT(hint->body,
                AllOf(HasSubstr("Open the job list from your application"), HasSubstr("action=\"/sign-in\"")));
    EXPECT_EQ(401, Connect().Post("/sign-in", httplib::Headers{}, "secret=guess", form)->status);
    const auto in = Connect().Post("/sign-in", httplib::Headers{}, "secret=token+of+sam&back=//evil.example/", form);
    EXPECT_EQ(303, in->status);
    EXPECT_EQ("/jobs", in->get_header_value("Location"));
    const auto cookie = in->get_header_value("Set-Cookie");
    EXPECT_EQ(200, Connect().Get("/jobs", {{"Cookie", cookie.substr(0, cookie.find(';'))}})->status);
    EXPECT_EQ(401, Connect().Get("/api/v1/jobs", {{"Authorization", "Bearer guess"}, {"Cookie", cookie}})->status);
    EXPECT_EQ(403,
              Connect().Post("/sign-in", {{"Origin", "http://evil.example"}}, "secret=token+of+sam", form)->status);
}

TEST_F(SecurityTest, EveryAnswerTellsTheBrowserWhatItMayDo)
{
    const auto cookie = SignIn(Olga);
    for (const char* path :
         {"/jobs", "/nothing", "/assets/page.js", "/api/v1/jobs", "/api/v1/nothing", "/jobs/1/files/platform"}) {
        const auto answer = Connect().Get(path, cookie);
        const auto policy = answer->get_header_value("Content-Security-Policy");
        EXPECT_THAT(policy,
                    AllOf(StartsWith("default-src 'none'; script-src 'self';"), HasSubstr("frame-ancestors 'none'"),
                          HasSubstr("form-action 'self'"), Not(HasSubstr("unsafe"))))
            << path;
        EXPECT_EQ("nosniff", answer->get_header_value("X-Content-Type-Options")) << path;
        EXPECT_EQ("no-referrer", answer->get_header_value("Referrer-Policy")) << path;
        EXPECT_EQ("no-store", answer->get_header_value("Cache-Control")) << path;
    }
}

TEST_F(SecurityTest, HostileNamesStayText)
{
    const std::string hostile = "\"><script>alert(1)</script>\xE2\x80\xAE'&<img src=x onerror=alert(1)>{{name}}";
    auto job = Submit(20, hostile, {"<i>eve</i>", Role::Submit});
    desk->SetLoaded(Olga, MakeId(1), {"<u>PLA</u>", 0.4, "\"'><s>"});
    desk->SetPaused(Olga, MakeId(1), true, "<b>broken</b>");
    const auto cookie = SignIn(Olga);
    const auto id = to_string(job.id);
    const auto machine = "/machines/" + to_string(MakeId(1));
    for (const auto& path :
         std::vector<std::string>{std::string("/jobs"), "/jobs?text=%22%3E%3Cscript%3E&owner=%3Ci%3E&order=%3Cb%3E",
                                  "/jobs/" + id, "/jobs/" + id + "/confirm/cancel", std::string("/machines"), machine,
                                  "/machines/" + to_string(MakeId(2)), std::string("/%3Cscript%3E"),
                                  std::string("/jobs/%3Cscript%3E"), std::string("/jobs?state=%3Cscript%3E")}) {
        const auto body = Connect().Get(path, cookie)->body;
        for (const char* markup : {"<script>", "<img src=x", "<i>", "<u>", "<s>", "<b>"})
            EXPECT_THAT(body, Not(HasSubstr(markup))) << path;
    }
    const auto download = Connect().Get("/jobs/" + id + "/files/platform", cookie);
    EXPECT_THAT(download->get_header_value("Content-Disposition"),
                MatchesRegex("attachment; filename=\"[A-Za-z0-9._ -]+\"; filename\\*=UTF-8''[A-Za-z0-9%._~-]+"));
    EXPECT_EQ("application/octet-stream", download->get_header_value("Content-Type"));
}

} // namespace MachineService::MachineManager::Testing
