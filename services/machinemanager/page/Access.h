#pragma once

#include "machinemanager/page/Call.h"

#include <optional>
#include <string>

namespace MachineService::MachineManager {

/// Who asks, as the request says.
struct Admission
{
    Actor actor;        ///< with Role::None when it does not say
    std::string secret; ///< of the session, when a cookie says it
};

/// A page elsewhere must not reach us through a browser that can: by a name of its own that points here, or by forms.
/// \throws HttpError 400, 421, 403.
void CheckOrigin(const PageContext& i_context, const HttpRequest& i_request);

/// \throws HttpError 401 when the request names somebody and shows nothing good for it.
Admission Admit(const PageContext& i_context, const HttpRequest& i_request);

/// A browser sends its cookie with whatever any page makes it send: what changes something shows more than that.
/// \param i_token from the form, or from `X-Page-Token`.
/// \throws HttpError 403.
void CheckFormToken(const Admission& i_admission, const std::string& i_token);

std::string GetCookieName(const PageContext& i_context);
/// Value of `Set-Cookie`; an empty secret ends the session.
std::string MakeCookie(const PageContext& i_context, const std::string& i_secret);
/// As browsers send it with what they ask for from a page of ours.
bool IsOwnOrigin(const PageContext& i_context, const std::string& i_origin);

} // namespace MachineService::MachineManager
