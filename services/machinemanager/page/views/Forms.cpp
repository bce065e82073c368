#include "machinemanager/page/Access.h"
#include "machinemanager/page/JsonBody.h"
#include "machinemanager/page/views/Assets.h"
#include "machinemanager/page/views/Frame.h"
#include "machinemanager/page/views/Views.h"
#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

namespace MachineService::MachineManager::Views {

namespace {

std::string GetField(const Call& i_call, std::string_view i_name)
{
    const auto found = i_call.form.find(i_name);
    return found == i_call.form.end() ? std::string() : found->second;
}

HttpResponse GoTo(const Job& i_job)
{
    return MakeRedirect("/jobs/" + to_string(i_job.id));
}

HttpResponse GoTo(const MachineView& i_machine)
{
    return MakeRedirect("/machines/" + to_string(i_machine.entry.id));
}

/// The job, when it is where the form has shown it. Progress goes on meanwhile and does not matter.
Job FindUnchanged(const PageContext& i_context, const Call& i_call)
{
    auto job = i_context.desk.Find(i_call.actor, i_call.word);
    if (GetField(i_call, "phase") != GetInfo(job.phase).name)
        throw HttpError(412, "");
    return job;
}

HttpResponse SetPaused(const PageContext& i_context, const Call& i_call, bool i_is_paused)
{
    const auto machine = i_context.desk.FindMachine(i_call.actor, i_call.word);
    const auto reason = i_is_paused ? CheckText(GetField(i_call, "reason"), "reason") : std::string();
    return GoTo(i_context.desk.SetPaused(i_call.actor, machine.entry.id, i_is_paused, reason));
}

HttpResponse GetFile(const char* ip_name, const char* ip_type)
{
    HttpResponse response;
    response.type = ip_type;
    response.body = GetAsset(ip_name);
    return response;
}

} // namespace

template <JobAction Action>
HttpResponse Act(const PageContext& i_context, const Call& i_call)
{
    const auto job = FindUnchanged(i_context, i_call);
    return GoTo(i_context.desk.Act(i_call.actor, job.id, Action));
}

template HttpResponse Act<JobAction::Hold>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Release>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Cancel>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::StartAgain>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::ConfirmDone>(const PageContext&, const Call&);
template HttpResponse Act<JobAction::Acknowledge>(const PageContext&, const Call&);

HttpResponse MoveJob(const PageContext& i_context, const Call& i_call)
{
    const auto job = FindUnchanged(i_context, i_call);
    const auto machine = i_context.desk.FindMachine(i_call.actor, GetField(i_call, "machine"));
    JobTarget target;
    target.machine = machine.entry.id;
    return GoTo(i_context.desk.Move(i_call.actor, job.id, target));
}

HttpResponse SetPriority(const PageContext& i_context, const Call& i_call)
{
    const auto job = FindUnchanged(i_context, i_call);
    const auto priority = ParseCount(GetField(i_call, "priority"), "The priority");
    if (priority < 1 || priority > 100)
        throw HttpError(422, "The priority must be a number from 1 to 100.");
    return GoTo(i_context.desk.SetPriority(i_call.actor, job.id, static_cast<int>(priority)));
}

HttpResponse PlaceJob(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const auto before = GetField(i_call, "before");
    const auto other = before.empty() ? boost::uuids::uuid() : i_context.desk.Find(i_call.actor, before).id;
    return GoTo(i_context.desk.PlaceBefore(i_call.actor, job.id, other));
}

HttpResponse CopyJob(const PageContext& i_context, const Call& i_call)
{
    const auto job = i_context.desk.Find(i_call.actor, i_call.word);
    const auto id = ParseId(GetField(i_call, "new"));
    if (!id || id->is_nil())
        throw HttpError(422, "The form is incomplete. Load the page again and repeat what you did.");
    return GoTo(i_context.desk.Copy(i_call.actor, job.id, *id));
}

HttpResponse PauseMachine(const PageContext& i_context, const Call& i_call)
{
    return SetPaused(i_context, i_call, true);
}

HttpResponse ResumeMachine(const PageContext& i_context, const Call& i_call)
{
    return SetPaused(i_context, i_call, false);
}

HttpResponse SetLoaded(const PageContext& i_context, const Call& i_call)
{
    const auto machine = i_context.desk.FindMachine(i_call.actor, i_call.word);
    LoadedMaterial loaded;
    loaded.material = CheckText(GetField(i_call, "material"), "material");
    loaded.plate = CheckText(GetField(i_call, "plate"), "plate");
    if (auto nozzle = GetField(i_call, "nozzle"); !nozzle.empty()) {
        loaded.nozzle = TavSDK::ParseNumber(nozzle);
        if (!loaded.nozzle || *loaded.nozzle <= 0 || *loaded.nozzle > 100)
            throw HttpError(422, "The nozzle must be a number of millimetres, such as 0.4.");
    }
    return GoTo(i_context.desk.SetLoaded(i_call.actor, machine.entry.id, loaded));
}

HttpResponse SignIn(const PageContext& i_context, const Call& i_call)
{
    std::optional<Actor> actor;
    if (i_context.options.admit)
        actor = i_context.options.admit(GetField(i_call, "secret"));
    if (!actor || actor->role == Role::None)
        return MakeSignInPage(i_context, i_call, "The token is not known here. Ask for a new one.");
    // Nobody goes on in a session that somebody else gave them.
    i_context.sessions.Close(i_call.secret);
    auto response = MakeRedirect(CheckPath(GetField(i_call, "back")));
    response.Set("Set-Cookie", MakeCookie(i_context, i_context.sessions.Open(*actor)));
    return response;
}

HttpResponse SignOut(const PageContext& i_context, const Call& i_call)
{
    i_context.sessions.Close(i_call.secret);
    auto response = MakeRedirect("/jobs");
    response.Set("Set-Cookie", MakeCookie(i_context, {}));
    return response;
}

HttpResponse SetLanguage(const PageContext&, const Call& i_call)
{
    auto response = MakeRedirect(CheckPath(GetField(i_call, "back")));
    const auto language = GetField(i_call, "language");
    if (language == "en" || language == "de")
        response.Set("Set-Cookie", "language=" + language + "; Path=/; HttpOnly; SameSite=Lax; Max-Age=31536000");
    return response;
}

HttpResponse GetStyle(const PageContext&, const Call&)
{
    return GetFile("page.css", "text/css; charset=utf-8");
}

HttpResponse GetScript(const PageContext&, const Call&)
{
    return GetFile("page.js", "text/javascript; charset=utf-8");
}

HttpResponse GetIcon(const PageContext&, const Call&)
{
    return GetFile("icon.svg", "image/svg+xml");
}

} // namespace MachineService::MachineManager::Views
