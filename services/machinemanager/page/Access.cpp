#include "machinemanager/page/Access.h"

#include "machinemanager/page/Secrets.h"

#include <algorithm>

#include <pwd.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

constexpr std::string_view Bearer = "Bearer ";

std::string GetUserName()
{
    std::string buffer(16'384, '\0');
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found)
        return found->pw_name;
    return std::to_string(::geteuid());
}

bool IsChange(const HttpRequest& i_request)
{
    return i_request.method != "GET" && i_request.method != "HEAD";
}

std::string ToLower(std::string i_text)
{
    std::transform(i_text.begin(), i_text.end(), i_text.begin(),
                   [](char i_c) { return i_c >= 'A' && i_c <= 'Z' ? static_cast<char>(i_c - 'A' + 'a') : i_c; });
    return i_text;
}

} // namespace

void CheckOrigin(const PageContext& i_context, const HttpRequest& i_request)
{
    // No browser reaches the socket.
    if (i_request.isLocal)
        return;
    const auto host = ToLower(i_request.GetHeader("Host"));
    if (host.empty())
        throw HttpError(400, "The request does not say which host it is for.");
    if (std::find(i_context.hosts.begin(), i_context.hosts.end(), host) == i_context.hosts.end())
        throw HttpError(421,
                        "This is another host than the request is for. Open the page at " + i_context.address + '.');
    const auto site = i_request.GetHeader("Sec-Fetch-Site");
    const auto origin = i_request.GetHeader("Origin");
    // For forms of a page that gives no referrer, browsers say "null", and only there where it comes from.
    const bool isOwn = origin == "null" ? site == "same-origin" : IsOwnOrigin(i_context, origin);
    if (i_request.HasHeader("Origin") && !isOwn)
        throw HttpError(403, "The request comes from a page of another address.");
    // What a user types in or opens from another program comes from "none".
    if (IsChange(i_request) && !site.empty() && site != "same-origin" && site != "none")
        throw HttpError(403, "The request comes from a page of another address.");
}

bool IsOwnOrigin(const PageContext& i_context, const std::string& i_origin)
{
    const auto scheme = i_context.address.substr(0, i_context.address.find("://") + 3);
    const auto origin = ToLower(i_origin);
    return std::any_of(i_context.hosts.begin(), i_context.hosts.end(),
                       [&](const std::string& i_host) { return origin == scheme + i_host; });
}

Admission Admit(const PageContext& i_context, const HttpRequest& i_request)
{
    if (i_request.isLocal)
        return {{GetUserName(), Role::Operate}, {}};
    const auto authorization = i_request.GetHeader("Authorization");
    if (!authorization.empty()) {
        // Nobody is somebody else by a cookie that a browser adds.
        std::optional<Actor> actor;
        if (i_context.options.admit && authorization.starts_with(Bearer))
            actor = i_context.options.admit(authorization.substr(Bearer.size()));
        if (!actor)
            throw HttpError(401, "The token is not known here. Ask for a new one.");
        return {*actor, {}};
    }
    auto secret = FindCookie(i_request.GetHeader("Cookie"), GetCookieName(i_context));
    auto actor = i_context.sessions.Find(secret);
    if (actor && i_context.options.confirm)
        actor = i_context.options.confirm(*actor);
    if (!actor)
        return {};
    return {*actor, std::move(secret)};
}

std::string MakeFormToken(const std::string& i_secret)
{
    return i_secret.empty() ? std::string() : DeriveSecret(i_secret, "forms of the page");
}

void CheckFormToken(const Admission& i_admission, const std::string& i_token)
{
    if (!i_admission.secret.empty() && !AreSameSecrets(i_token, MakeFormToken(i_admission.secret)))
        throw HttpError(403, "The form is from another session. Go back, load the page again and repeat what you did.");
}

std::string GetCookieName(const PageContext& i_context)
{
    // Ports of one host share their cookies, and a user may have a manager of their own beside the one of all.
    return "session-" + HashSecret(i_context.options.name + i_context.options.publicAddress).substr(0, 8);
}

std::string MakeCookie(const PageContext& i_context, const std::string& i_secret)
{
    const auto life = i_secret.empty() ? std::chrono::seconds(0) : std::chrono::seconds(Sessions::SessionLife);
    return GetCookieName(i_context) + '=' + i_secret +
           "; Path=/; HttpOnly; SameSite=Strict; Max-Age=" + std::to_string(life.count()) +
           (i_context.address.starts_with("https:") ? "; Secure" : "");
}

} // namespace MachineService::MachineManager
