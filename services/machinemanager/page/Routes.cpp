#include "machinemanager/page/Routes.h"

#include "machinemanager/page/Access.h"
#include "machinemanager/page/Interface.h"
#include "machinemanager/page/http/Problem.h"
#include "machinemanager/page/views/Frame.h"
#include "machinemanager/page/views/Views.h"

#include <optional>

namespace MachineService::MachineManager {

namespace {

using Action = JobAction;

constexpr std::uint64_t Form = 16 * 1024;

// Who may do what. Whose job it is, the desk knows: Submit is for their own.
constexpr Route Routes[] = {
    {"GET", "/api/v1/jobs", Door::Interface, Role::See, 0, Interface::ListJobs},
    {"POST", "/api/v1/jobs", Door::Interface, Role::Submit, 0, Interface::AnnounceJob},
    {"GET", "/api/v1/jobs/{id}", Door::Interface, Role::See, 0, Interface::GetJob},
    {"GET", "/api/v1/jobs/{id}/platform", Door::Interface, Role::Submit, 0, Interface::GetUpload},
    {"PATCH", "/api/v1/jobs/{id}/platform", Door::Interface, Role::Submit, 0, Interface::ReceivePiece},
    {"PUT", "/api/v1/jobs/{id}/platform", Door::Interface, Role::Submit, 0, Interface::ReceivePiece},
    {"POST", "/api/v1/jobs/{id}/finish", Door::Interface, Role::Submit, 0, Interface::FinishUpload},
    {"POST", "/api/v1/jobs/{id}/address", Door::Interface, Role::See, 0, Interface::MakeAddress},
    {"GET", "/api/v1/jobs/{id}/history", Door::Interface, Role::See, 0, Interface::GetHistory},
    {"GET", "/api/v1/jobs/{id}/candidates", Door::Interface, Role::See, 0, Interface::GetCandidates},
    {"GET", "/api/v1/jobs/{id}/files/platform", Door::Interface, Role::See, 0, Interface::GetPlatform},
    {"GET", "/api/v1/jobs/{id}/files/machine-file", Door::Interface, Role::See, 0, Interface::GetMachineFile},
    {"GET", "/api/v1/jobs/{id}/files/picture", Door::Interface, Role::See, 0, Interface::GetPicture},
    {"POST", "/api/v1/jobs/{id}/actions/hold", Door::Interface, Role::Submit, 0, Interface::Act<Action::Hold>},
    {"POST", "/api/v1/jobs/{id}/actions/release", Door::Interface, Role::Submit, 0, Interface::Act<Action::Release>},
    {"POST", "/api/v1/jobs/{id}/actions/cancel", Door::Interface, Role::Submit, 0, Interface::Act<Action::Cancel>},
    {"POST", "/api/v1/jobs/{id}/actions/start-again", Door::Interface, Role::Submit, 0,
     Interface::Act<Action::StartAgain>},
    {"POST", "/api/v1/jobs/{id}/actions/confirm-done", Door::Interface, Role::Submit, 0,
     Interface::Act<Action::ConfirmDone>},
    {"POST", "/api/v1/jobs/{id}/actions/acknowledge", Door::Interface, Role::Submit, 0,
     Interface::Act<Action::Acknowledge>},
    {"POST", "/api/v1/jobs/{id}/actions/move", Door::Interface, Role::Submit, 0, Interface::MoveJob},
    {"POST", "/api/v1/jobs/{id}/actions/priority", Door::Interface, Role::Submit, 0, Interface::SetPriority},
    {"POST", "/api/v1/jobs/{id}/actions/place", Door::Interface, Role::Submit, 0, Interface::PlaceJob},
    {"POST", "/api/v1/jobs/{id}/actions/copy", Door::Interface, Role::Submit, 0, Interface::CopyJob},
    {"GET", "/api/v1/machines", Door::Interface, Role::See, 0, Interface::ListMachines},
    {"GET", "/api/v1/machines/{id}", Door::Interface, Role::See, 0, Interface::GetMachine},
    {"POST", "/api/v1/machines/{id}/actions/pause", Door::Interface, Role::Operate, 0, Interface::PauseMachine},
    {"POST", "/api/v1/machines/{id}/actions/resume", Door::Interface, Role::Operate, 0, Interface::ResumeMachine},
    {"PUT", "/api/v1/machines/{id}/loaded", Door::Interface, Role::Operate, 0, Interface::SetLoaded},
    {"PUT", "/api/v1/machines/{id}/printer", Door::Interface, Role::Operate, 0, Interface::SetPrinter},
    {"POST", "/api/v1/backups", Door::Interface, Role::Operate, 0, Interface::BeginBackup},
    {"POST", "/api/v1/backups/{id}/end", Door::Interface, Role::Operate, 0, Interface::EndBackup},
    {"GET", "/api/v1/files", Door::Interface, Role::Operate, 0, Interface::ListKeptFiles},
    {"GET", "/api/v1/files/{id}", Door::Interface, Role::Operate, 0, Interface::GetKeptFile},
    {"PATCH", "/api/v1/files/{id}", Door::Interface, Role::Operate, 0, Interface::ReceiveKeptFile},
    {"POST", "/api/v1/restore", Door::Interface, Role::Operate, 0, Interface::Restore},
    {"GET", "/api/v1/check", Door::Interface, Role::Operate, 0, Interface::CheckStore},
    {"GET", "/api/v1/check/files", Door::Interface, Role::Operate, 0, Interface::CheckKeptFiles},
    {"GET", "/api/v1/events", Door::Interface, Role::See, 0, Interface::Listen},
    {"GET", "/api/v1/information", Door::Interface, Role::See, 0, Interface::GetInformation},
    {"GET", "/health", Door::Interface, Role::None, 0, Interface::GetHealth},
    {"GET", "/metrics", Door::Interface, Role::See, 0, Interface::GetMetrics},

    {"GET", "/", Door::Page, Role::See, 0, Views::ShowStart},
    {"GET", "/jobs", Door::Page, Role::See, 0, Views::ShowJobs},
    {"GET", "/jobs/{id}", Door::Page, Role::See, 0, Views::ShowJob},
    {"GET", "/jobs/{id}/files/platform", Door::Page, Role::See, 0, Interface::GetPlatform},
    {"GET", "/jobs/{id}/files/machine-file", Door::Page, Role::See, 0, Interface::GetMachineFile},
    {"GET", "/jobs/{id}/files/picture", Door::Page, Role::See, 0, Interface::GetPicture},
    {"GET", "/jobs/{id}/confirm/cancel", Door::Page, Role::Submit, 0, Views::Confirm<Action::Cancel>},
    {"GET", "/jobs/{id}/confirm/start-again", Door::Page, Role::Submit, 0, Views::Confirm<Action::StartAgain>},
    {"GET", "/jobs/{id}/confirm/confirm-done", Door::Page, Role::Submit, 0, Views::Confirm<Action::ConfirmDone>},
    {"GET", "/jobs/{id}/confirm/acknowledge", Door::Page, Role::Submit, 0, Views::Confirm<Action::Acknowledge>},
    {"POST", "/jobs/{id}/actions/hold", Door::Page, Role::Submit, Form, Views::Act<Action::Hold>},
    {"POST", "/jobs/{id}/actions/release", Door::Page, Role::Submit, Form, Views::Act<Action::Release>},
    {"POST", "/jobs/{id}/actions/cancel", Door::Page, Role::Submit, Form, Views::Act<Action::Cancel>},
    {"POST", "/jobs/{id}/actions/start-again", Door::Page, Role::Submit, Form, Views::Act<Action::StartAgain>},
    {"POST", "/jobs/{id}/actions/confirm-done", Door::Page, Role::Submit, Form, Views::Act<Action::ConfirmDone>},
    {"POST", "/jobs/{id}/actions/acknowledge", Door::Page, Role::Submit, Form, Views::Act<Action::Acknowledge>},
    {"POST", "/jobs/{id}/actions/move", Door::Page, Role::Submit, Form, Views::MoveJob},
    {"POST", "/jobs/{id}/actions/priority", Door::Page, Role::Submit, Form, Views::SetPriority},
    {"POST", "/jobs/{id}/actions/place", Door::Page, Role::Submit, Form, Views::PlaceJob},
    {"POST", "/jobs/{id}/actions/copy", Door::Page, Role::Submit, Form, Views::CopyJob},
    {"GET", "/machines", Door::Page, Role::See, 0, Views::ShowMachines},
    {"GET", "/machines/{id}", Door::Page, Role::See, 0, Views::ShowMachine},
    {"POST", "/machines/{id}/actions/pause", Door::Page, Role::Operate, Form, Views::PauseMachine},
    {"POST", "/machines/{id}/actions/resume", Door::Page, Role::Operate, Form, Views::ResumeMachine},
    {"POST", "/machines/{id}/loaded", Door::Page, Role::Operate, Form, Views::SetLoaded},
    {"POST", "/sign-in", Door::Page, Role::None, Form, Views::SignIn},
    {"POST", "/sign-out", Door::Page, Role::None, Form, Views::SignOut},
    {"POST", "/language", Door::Page, Role::None, Form, Views::SetLanguage},
    {"GET", "/assets/page.css", Door::Page, Role::None, 0, Views::GetStyle},
    {"GET", "/assets/page.js", Door::Page, Role::None, 0, Views::GetScript},
    {"GET", "/assets/icon.svg", Door::Page, Role::None, 0, Views::GetIcon},
};

/// The word that stands in the place of {id}; empty when the path is another one.
std::optional<std::string> Match(std::string_view i_pattern, std::string_view i_path)
{
    constexpr std::string_view Place = "{id}";
    const auto place = i_pattern.find(Place);
    if (place == std::string_view::npos)
        return i_pattern == i_path ? std::optional(std::string()) : std::nullopt;
    const auto end = i_pattern.substr(place + Place.size());
    if (!i_path.starts_with(i_pattern.substr(0, place)) || i_path.size() <= place + end.size() ||
        !i_path.ends_with(end))
        return std::nullopt;
    const auto word = i_path.substr(place, i_path.size() - place - end.size());
    if (word.find('/') != std::string_view::npos)
        return std::nullopt;
    return std::string(word);
}

const Route& FindRoute(const HttpRequest& i_request, std::string& o_word)
{
    const std::string_view method =
        i_request.method == "HEAD" ? std::string_view("GET") : std::string_view(i_request.method);
    bool isKnown = false;
    for (const auto& route : Routes) {
        // The page is for browsers, and none reaches the socket.
        if (i_request.isLocal && route.door == Door::Page)
            continue;
        if (const auto word = Match(route.path, i_request.path)) {
            isKnown = true;
            if (method == route.method) {
                o_word = *word;
                return route;
            }
        }
    }
    if (isKnown)
        throw HttpError(405, "This cannot be done here with " + i_request.method + '.');
    throw HttpError(404, "");
}

/// An address with a code lets a browser in, and then is an address like any other.
HttpResponse Enter(const PageContext& i_context, Call& io_call)
{
    const auto path = CheckPath(io_call.request.path);
    const auto secret = i_context.sessions.Exchange(io_call.request.GetQuery("code"));
    if (secret.empty()) {
        if (io_call.actor.role != Role::None)
            return MakeRedirect(path);
        return MakeSignInPage(
            i_context, io_call,
            "This address has been used already or is too old. Open the job list from your application again.");
    }
    i_context.sessions.Close(io_call.secret);
    auto response = MakeRedirect(path);
    response.Set("Set-Cookie", MakeCookie(i_context, secret));
    return response;
}

HttpResponse AnswerRoute(const PageContext& i_context, const Route& i_route, Call& io_call)
{
    const auto& request = io_call.request;
    const bool isChange = request.method != "GET" && request.method != "HEAD";
    if (i_route.door == Door::Page && !isChange && request.query.contains("code"))
        return Enter(i_context, io_call);
    if (io_call.actor.role < i_route.role) {
        const bool isNobody = io_call.actor.role == Role::None;
        if (isNobody && i_route.door == Door::Page)
            return MakeSignInPage(
                i_context, io_call,
                "Open the job list from your application: its address lets this browser in, once and within an hour.");
        if (isNobody)
            throw HttpError(401, "The request does not say who asks. Send a token.");
        throw HttpError(403, i_route.door == Door::Page ? "" : "Your role does not allow this. Ask an operator.");
    }
    std::string token = request.GetHeader("X-Page-Token");
    if (i_route.longestForm > 0) {
        io_call.form = ParseForm(request.ReadBody(i_route.longestForm));
        const auto field = io_call.form.find("token");
        token = field == io_call.form.end() ? std::string() : field->second;
    }
    if (isChange)
        CheckFormToken({io_call.actor, io_call.secret}, token);
    return i_route.answer(i_context, io_call);
}

HttpResponse MakeFailure(const PageContext& i_context, const Call& i_call, bool i_is_page, int i_status,
                         const std::string& i_sentence)
{
    if (i_is_page)
        return MakeErrorPage(i_context, i_call, i_status, i_sentence);
    return MakeProblem(i_status, i_sentence.empty() ? "There is nothing at this address." : i_sentence);
}

void AddHeaders(HttpResponse& io_response)
{
    io_response
        .Set("Content-Security-Policy",
             "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
             "form-action 'self'; frame-ancestors 'none'; base-uri 'none'")
        .Set("X-Content-Type-Options", "nosniff")
        .Set("Referrer-Policy", "no-referrer")
        .Set("Cross-Origin-Opener-Policy", "same-origin")
        .Set("Cross-Origin-Resource-Policy", "same-origin")
        .Set("Cache-Control", "no-store");
}

} // namespace

std::span<const Route> GetRoutes()
{
    return Routes;
}

HttpResponse Answer(const PageContext& i_context, const HttpRequest& i_request)
{
    Call call{i_request, {}, {}};
    call.language = FindLanguage(i_request);
    call.isFragment = i_request.HasHeader("X-Fragment");
    bool isPage = !i_request.isLocal && !i_request.path.starts_with("/api/");
    HttpResponse response;
    try {
        CheckOrigin(i_context, i_request);
        auto admission = Admit(i_context, i_request);
        call.actor = std::move(admission.actor);
        call.secret = std::move(admission.secret);
        const auto& route = FindRoute(i_request, call.word);
        isPage = route.door == Door::Page;
        response = AnswerRoute(i_context, route, call);
    } catch (const HttpError& refusal) {
        response = MakeFailure(i_context, call, isPage, refusal.GetStatus(), refusal.what());
    } catch (const ManagerError& failure) {
        response = MakeFailure(i_context, call, isPage, GetStatus(failure.GetKind()), failure.what());
    } catch (const std::exception& failure) {
        if (i_context.options.log)
            i_context.options.log(i_request.method + ' ' + i_request.path + ": " + failure.what());
        response = MakeFailure(i_context, call, isPage, 500, "Its log says why.");
    }
    AddHeaders(response);
    i_context.figures.Count(response.status);
    return response;
}

} // namespace MachineService::MachineManager
