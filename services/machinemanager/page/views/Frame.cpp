#include "machinemanager/page/views/Frame.h"

#include "machinemanager/page/http/Http.h"
#include "machinemanager/page/views/Texts.h"
#include "tavsdk/PercentEncoding.h"

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

constexpr const char* Html = "text/html; charset=utf-8";
constexpr const char* LanguageCookie = "language";

/// The path of the page that was asked for, with its query, for a way back to it.
std::string DescribeHere(const HttpRequest& i_request)
{
    if (i_request.method != "GET")
        return "/jobs";
    // Only what our own pages link to.
    std::string here;
    for (std::size_t begin = 0; begin < i_request.path.size();) {
        const auto end = std::min(i_request.path.find('/', begin + 1), i_request.path.size());
        here += '/' + TavSDK::EncodePercent(std::string_view(i_request.path).substr(begin + 1, end - begin - 1));
        begin = end;
    }
    char separator = '?';
    for (const auto& [name, value] : i_request.query) {
        if (name == "code")
            continue;
        here += separator + TavSDK::EncodePercent(name) + '=' + TavSDK::EncodePercent(value);
        separator = '&';
    }
    return here;
}

const char* GetTitle(int i_status)
{
    switch (i_status) {
    case 401:
        return "You are not signed in";
    case 403:
        return "You may not do this";
    case 404:
        return "There is no such page";
    case 409:
    case 412:
        return "This cannot be done now";
    default:
        return i_status < 500 ? "The request cannot be understood" : "The Machine Manager has failed";
    }
}

} // namespace

HttpResponse MakePage(const PageContext& i_context, const Call& i_call, const std::string& i_template, Values i_values,
                      const std::string& i_title, Place i_place)
{
    const bool isGerman = i_call.language == "de";
    i_values.Set("language", i_call.language)
        .Set("otherLanguage", isGerman ? "en" : "de")
        .Set("otherLanguageName", isGerman ? "English" : "Deutsch")
        .Set("title", i_title)
        .Set("managerName", i_context.options.name)
        .Set("version", MACHINEMANAGER_VERSION)
        .Set("signedIn", i_call.actor.role != Role::None)
        .Set("user", i_call.actor.name)
        .Set("token", MakeFormToken(i_call.secret))
        .Set("here", DescribeHere(i_call.request))
        .Set("atJobs", i_place == Place::Jobs)
        .Set("atMachines", i_place == Place::Machines);
    HttpResponse response;
    response.type = Html;
    response.body = FillTemplate(i_call.isFragment ? i_template + "-live" : i_template, i_values, i_call.language);
    return response;
}

HttpResponse MakeErrorPage(const PageContext& i_context, const Call& i_call, int i_status,
                           const std::string& i_sentence)
{
    Values values;
    values.Set("sentence", "").Set("foreignSentence", i_sentence).Set("canSignIn", false);
    if (i_status == 412) {
        values.Set("sentence", Translate("The job has changed since this page was made. Look at it again, then decide.",
                                         i_call.language));
        values.Set("foreignSentence", "");
    } else if (i_sentence.empty() && i_status == 403) {
        values.Set("sentence",
                   Translate("Your role does not allow it. Ask somebody who operates the machines.", i_call.language));
    } else if (i_sentence.empty() && i_status == 404) {
        values.Set("sentence", Translate("It may have been removed. Go to the jobs and look there.", i_call.language));
    }
    auto call = i_call;
    call.isFragment = false;
    auto response = MakePage(i_context, call, "message", std::move(values),
                             Translate(GetTitle(i_status), i_call.language), Place::Elsewhere);
    response.status = i_status;
    return response;
}

HttpResponse MakeSignInPage(const PageContext& i_context, const Call& i_call, const char* ip_sentence)
{
    auto call = i_call;
    call.isFragment = false;
    Values values;
    values.Set("sentence", Translate(ip_sentence, i_call.language)).Set("foreignSentence", "");
    values.Set("canSignIn", i_context.options.admit != nullptr);
    auto response = MakePage(i_context, call, "message", std::move(values), Translate(GetTitle(401), i_call.language),
                             Place::Elsewhere);
    response.status = 401;
    return response;
}

HttpResponse MakeRedirect(const std::string& i_path)
{
    HttpResponse response;
    response.status = 303;
    response.Set("Location", i_path);
    return response;
}

std::string CheckPath(const std::string& i_path)
{
    const bool isOurs =
        i_path.starts_with('/') && !i_path.starts_with("//") && i_path.size() <= 1'000 &&
        std::all_of(i_path.begin(), i_path.end(), [](char i_c) { return i_c > ' ' && i_c < 0x7f && i_c != '\\'; });
    return isOurs ? i_path : "/jobs";
}

std::string FindLanguage(const HttpRequest& i_request)
{
    const auto chosen = FindCookie(i_request.GetHeader("Cookie"), LanguageCookie);
    if (chosen == "en" || chosen == "de")
        return chosen;
    return ChooseLanguage(i_request.GetHeader("Accept-Language"));
}

Values MakeChoice(const std::string& i_value, const std::string& i_word, const std::string& i_chosen)
{
    Values choice;
    choice.Set("value", i_value).Set("word", i_word).Set("isChosen", i_value == i_chosen);
    return choice;
}

} // namespace MachineService::MachineManager
