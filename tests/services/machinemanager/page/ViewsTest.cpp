#include "machinemanager/page/http/Http.h"
#include "machinemanager/page/views/Assets.h"
#include "machinemanager/page/views/Template.h"
#include "machinemanager/page/views/Texts.h"
#include "machinemanager/page/views/Words.h"
#include "services/machinemanager/page/PageFixture.h"

#include <regex>

namespace MachineService::MachineManager::Testing {

namespace {

const Actor Olga{"olga", Role::Operate};

class ViewsTest : public PageFixture
{
protected:
    ViewsTest() { Start(); }
    std::string Show(const std::string& i_path, const Actor& i_actor, const std::string& i_language = "en")
    {
        auto headers = SignIn(i_actor);
        headers.emplace("Accept-Language", i_language);
        const auto answer = Connect().Get(i_path, headers);
        EXPECT_EQ(200, answer->status) << i_path << '\n' << answer->body;
        return answer->body;
    }
};

} // namespace

TEST(TextsTest, EveryTextHasBothLanguagesAndIsUsed)
{
    std::string used;
    for (const auto& [name, content] : GetAssets())
        used += content;
    for (const auto& file : std::filesystem::directory_iterator(std::filesystem::path(PAGE_SOURCES) / "views")) {
        if (file.path().extension() == ".cpp" && file.path().filename() != "TextTable.cpp")
            used += std::regex_replace(TestSupport::ReadFile(file), std::regex("\"\\s*\\n\\s*\""), "");
    }
    used += TestSupport::ReadFile(std::filesystem::path(PAGE_SOURCES) / "Routes.cpp");
    std::set<std::string> known;
    for (const auto& text : GetTexts()) {
        const std::string english = text.english;
        const std::string german = text.german;
        EXPECT_TRUE(known.insert(english).second) << english;
        EXPECT_FALSE(german.empty() || german.ends_with(' ')) << english;
        EXPECT_EQ(english.ends_with('.'), german.ends_with('.')) << english;
        for (const char* place : {"%1", "%2"})
            EXPECT_EQ(english.find(place) == std::string::npos, german.find(place) == std::string::npos) << english;
        EXPECT_THAT(used, AnyOf(HasSubstr("{{t " + english + "}}"), HasSubstr('"' + english + '"')));
    }
    for (const auto& [name, content] : GetAssets()) {
        const std::string text(content);
        const std::regex tag("\\{\\{t ([^}]*)\\}\\}");
        for (std::sregex_iterator found(text.begin(), text.end(), tag), end; found != end; ++found)
            EXPECT_EQ(1u, known.count((*found)[1])) << name << ": " << (*found)[1];
    }
    for (const auto& row : GetJobPhases())
        EXPECT_EQ(1u, known.count(GetPhaseSentence(row.phase))) << row.name;
    for (const auto& row : GetJobTransitions())
        EXPECT_NE(GetName(row.event), DescribeEvent(GetName(row.event), "de")) << GetName(row.event);
}

TEST(TextsTest, TheLanguageIsTheBestOfThoseThatTheBrowserAsksFor)
{
    for (const auto& [accepted, language] :
         std::vector<std::pair<std::string, std::string>>{{"", "en"},
                                                          {"de", "de"},
                                                          {"de-AT,de;q=0.9,en;q=0.8", "de"},
                                                          {"fr, de;q=0.3, en;q=0.7", "en"},
                                                          {"en;q=0, de;q=0.1", "de"},
                                                          {"fr", "en"},
                                                          {";;;q=,,=", "en"}})
        EXPECT_EQ(language, ChooseLanguage(accepted)) << accepted;
}

TEST(TextsTest, WhatPeopleReadIsWrittenTheirWay)
{
    EXPECT_EQ("3.4 MB", DescribeSize(3'400'000, "en"));
    EXPECT_EQ("3,4 MB", DescribeSize(3'400'000, "de"));
    EXPECT_EQ("999 B", DescribeSize(999, "en"));
    EXPECT_EQ("18.4 EB", DescribeSize(18'400'000'000'000'000'000ULL, "en"));
    EXPECT_EQ("0,4", DescribeNumber(0.4, 2, "de"));
    EXPECT_EQ("5", DescribeNumber(4.999, 2, "en"));
    EXPECT_EQ("2 h 5 min", DescribeSpan(std::chrono::minutes(125), "en"));
    EXPECT_EQ("3 T", DescribeSpan(std::chrono::hours(73), "de"));
    EXPECT_EQ("unter 1 min", DescribeSpan(std::chrono::seconds(-5), "de"));
    EXPECT_EQ("1970-01-01T00:00:01.005Z", FormatTime(Time(std::chrono::milliseconds(1005))));
}

TEST(TemplateTest, ValuesAreEscapedAndWhatIsMissingIsNoticed)
{
    Values values;
    values.Set("stateClass", "\"x' <&>\x01\xff").Set("stateWord", "{{mark}}").Set("mark", "M0");
    const auto html = FillTemplate("state", values, "en");
    EXPECT_THAT(html, AllOf(HasSubstr("&quot;x&#39; &lt;&amp;&gt;\xEF\xBF\xBD\xEF\xBF\xBD"), HasSubstr(">{{mark}}<")));
    EXPECT_THROW(FillTemplate("state", Values(), "en"), std::logic_error);
    EXPECT_THROW(FillTemplate("nothing", Values(), "en"), std::logic_error);
}

TEST(HttpTextTest, RangesFormsAndNamesAreReadStrictly)
{
    const auto range = [](const char* ip_text, std::uint64_t i_size) {
        const auto found = ParseRange(ip_text, i_size);
        return found ? std::to_string(found->offset) + '+' + std::to_string(found->size) : std::string("whole");
    };
    EXPECT_EQ("2+3", range("bytes=2-4", 10));
    EXPECT_EQ("2+8", range("bytes=2-", 10));
    EXPECT_EQ("2+8", range("bytes=2-99", 10));
    EXPECT_EQ("7+3", range("bytes=-3", 10));
    EXPECT_EQ("0+10", range("bytes=-99", 10));
    for (const char* other : {"", "bytes=4-2", "bytes=-", "bytes=0-1,3-4", "lines=1-2", "bytes=a-b", "bytes=1--2"})
        EXPECT_EQ("whole", range(other, 10)) << other;
    for (const char* beyond : {"bytes=10-", "bytes=-0", "bytes=99-100"})
        EXPECT_THROW(ParseRange(beyond, 10), HttpError) << beyond;
    for (const char* wrong :
         {"", "bytes 0-1", "bytes 1-0/9", "bytes 0-9/9", "bytes */9", "bytes 0-18446744073709551616/9"})
        EXPECT_THROW(ParsePieceRange(wrong), HttpError) << wrong;
    EXPECT_EQ("a b&", ParseForm("x=1&&name=a+b%26&flag").find("name")->second);
    EXPECT_THROW(ParseForm("a=%f"), HttpError);
    EXPECT_THROW(ParseForm("a=%ff"), HttpError);
    std::string many;
    for (int count = 0; count < 101; ++count)
        many += "a=1&";
    EXPECT_THROW(ParseForm(many), HttpError);
    EXPECT_EQ("b", FindCookie("xa=a; a=b; a=c", "a"));
    EXPECT_EQ("", FindCookie("a", "a"));
    EXPECT_EQ("attachment; filename=\"a_b_.txt\"; filename*=UTF-8''a%22b%C3%A4.txt",
              MakeDisposition("a\"b\xC3\xA4.txt").replace(25, 2, "_"));
}

TEST_F(ViewsTest, JobsAreShownFilteredAndPaged)
{
    EXPECT_THAT(Show("/jobs", Olga), HasSubstr("There is no job yet"));
    for (std::uint8_t number = 10; number < 62; ++number)
        Submit(number, "plate " + std::to_string(number));
    const auto first = Show("/jobs", Olga);
    EXPECT_THAT(first, AllOf(HasSubstr("plate 61"), Not(HasSubstr("plate 11<")), HasSubstr("href=\"/jobs?after=3\""),
                             Not(HasSubstr("<progress"))));
    EXPECT_THAT(Show("/jobs?after=3", Olga),
                AllOf(HasSubstr("plate 11<"), HasSubstr("plate 10<"), Not(HasSubstr("plate 12<"))));
    EXPECT_THAT(Show("/jobs?text=plate%2061", Olga),
                AllOf(HasSubstr("value=\"plate 61\""), HasSubstr("plate 61<"), Not(HasSubstr("plate 60<"))));
    EXPECT_THAT(Show("/jobs?state=completed", Olga), HasSubstr("No job is like this"));
    EXPECT_THAT(Show("/jobs", Olga, "de-DE"),
                AllOf(HasSubstr("<html lang=\"de\">"), HasSubstr("Aufträge"), HasSubstr("Wartet")));
    auto fragment = SignIn(Olga);
    fragment.emplace("X-Fragment", "1");
    EXPECT_THAT(Connect().Get("/jobs", fragment)->body,
                AllOf(StartsWith("<div id=\"jobs\" data-live>"), Not(HasSubstr("<html"))));
}

TEST_F(ViewsTest, AJobShowsWhatItsReaderMayDo)
{
    const auto path = "/jobs/" + to_string(Submit(9, "bracket", {"sue", Role::Submit}).id);
    for (const auto& actor : {Olga, Actor{"sue", Role::Submit}})
        EXPECT_THAT(Show(path, actor), AllOf(HasSubstr("/actions/hold"), HasSubstr("/confirm/cancel"),
                                             HasSubstr("/actions/move"), Not(HasSubstr("/actions/start-again"))));
    for (const auto& actor : {Actor{"sam", Role::See}, Actor{"max", Role::Submit}})
        EXPECT_THAT(Show(path, actor), Not(HasSubstr("/actions/")));
    EXPECT_THAT(Show(path, Olga), AllOf(HasSubstr("Kestrel 350 Pro"), HasSubstr("/files/platform"),
                                        HasSubstr("<h2 id=\"history-title\">")));
    EXPECT_THAT(Show(path + "/confirm/cancel", Olga), HasSubstr("Cancel this job?"));
    EXPECT_EQ(412, Connect().Get(path + "/confirm/start-again", SignIn(Olga))->status);
}

TEST_F(ViewsTest, FormsDoWhatTheySayAndComeBack)
{
    const auto job = Submit(9, "bracket");
    const auto cookie = SignIn(Olga);
    const auto token = "token=" + FindFormToken(cookie) + "&";
    const auto post = [&](const std::string& i_path, const std::string& i_fields) {
        return Connect().Post(i_path, cookie, token + i_fields, "application/x-www-form-urlencoded");
    };
    const auto path = "/jobs/" + to_string(job.id);
    EXPECT_EQ(path, post(path + "/actions/priority", "phase=waiting&priority=80")->get_header_value("Location"));
    EXPECT_EQ(422, post(path + "/actions/priority", "phase=waiting&priority=101")->status);
    EXPECT_EQ(400, post(path + "/actions/priority", "phase=waiting&priority=-1")->status);
    EXPECT_EQ(303, post(path + "/actions/move", "phase=waiting&machine=" + to_string(MakeId(2)))->status);
    const auto copy = "new=" + to_string(MakeId(10));
    EXPECT_EQ(303, post(path + "/actions/copy", copy)->status);
    EXPECT_EQ(303, post(path + "/actions/copy", copy)->status) << "a form sent twice is one copy";
    EXPECT_EQ(303, post(path + "/actions/place", "before=")->status);
    EXPECT_EQ(303, post(path + "/actions/cancel", "phase=waiting")->status);
    EXPECT_EQ(2, desk->Count(Olga, {}));
    const auto changed = desk->Get(Olga, job.id);
    EXPECT_EQ(std::tuple(80, MakeId(2), JobPhase::Canceled),
              std::tuple(changed.priority, changed.target.machine, changed.phase));

    const auto machine = "/machines/" + to_string(MakeId(1));
    EXPECT_EQ(303, post(machine + "/actions/pause", "reason=new+nozzle")->status);
    EXPECT_EQ(303, post(machine + "/loaded", "material=PETG&nozzle=0.6&plate=Smooth")->status);
    EXPECT_EQ(422, post(machine + "/loaded", "nozzle=wide")->status);
    EXPECT_THAT(Show(machine, Olga),
                AllOf(HasSubstr("new nozzle"), HasSubstr("value=\"PETG\""), HasSubstr("value=\"0.6\"")));
    EXPECT_THAT(Show(machine, {"sam", Role::See}),
                AllOf(HasSubstr("PETG, 0.6 mm, Smooth"), Not(HasSubstr("/loaded\""))));
    EXPECT_EQ(303, post(machine + "/actions/resume", "")->status);
    EXPECT_FALSE(desk->GetMachine(Olga, MakeId(1)).entry.isPaused);
    const auto language = post("/language", "language=de&back=/machines");
    EXPECT_EQ("/machines", language->get_header_value("Location"));
    EXPECT_THAT(language->get_header_value("Set-Cookie"), StartsWith("language=de;"));
    auto german = cookie;
    german.find("Cookie")->second += "; language=de";
    EXPECT_THAT(Connect().Get("/machines", german)->body, HasSubstr("Maschinen"));
}

} // namespace MachineService::MachineManager::Testing
