#pragma once

#include "machinemanager/page/Call.h"
#include "machinemanager/page/views/Template.h"

#include <string>

namespace MachineService::MachineManager {

/// Which entry of the menu a page belongs to.
enum class Place
{
    Elsewhere,
    Jobs,
    Machines,
};

/// A page with its frame, or its part that changes where only that is asked for (NAME-live.html).
/// \param i_title of the window.
HttpResponse MakePage(const PageContext& i_context, const Call& i_call, const std::string& i_template, Values i_values,
                      const std::string& i_title, Place i_place);

/// What people see of a failure.
/// \param i_sentence in English, of the manager; may be empty.
HttpResponse MakeErrorPage(const PageContext& i_context, const Call& i_call, int i_status,
                           const std::string& i_sentence);
/// What to do to be let in.
/// \param i_sentence of the table of texts.
HttpResponse MakeSignInPage(const PageContext& i_context, const Call& i_call, const char* ip_sentence);

/// An answer that makes the browser go on to a page of ours.
HttpResponse MakeRedirect(const std::string& i_path);
/// The path itself when it is one of ours, otherwise the page of all jobs.
std::string CheckPath(const std::string& i_path);
/// By the cookie of the switch, or else by what the browser asks for.
std::string FindLanguage(const HttpRequest& i_request);
/// A choice of a list.
Values MakeChoice(const std::string& i_value, const std::string& i_word, const std::string& i_chosen);

} // namespace MachineService::MachineManager
