#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <QString>

namespace Workbench {

/// What is asked before an action that cannot be taken back.
struct ActionQuestion
{
    QString title; ///< empty: nothing is asked
    QString text;
};

/// Words for jobs of a Machine Manager, in the window's language. The manager's own sentences stay as they are.
///
/// Thread: UI thread.
namespace PostedWords {

QString GetState(const Hosting::Jobs::Job& i_job);
/// Name of a line icon whose shape is the state's own.
QString GetIcon(const Hosting::Jobs::Job& i_job);
/// Why it is where it is: sentences.
QString GetReason(const Hosting::Jobs::Job& i_job);
/// Empty where nothing goes on.
QString GetProgress(const Hosting::Jobs::Job& i_job);
/// Now.
QString GetAge(const Hosting::Jobs::Job& i_job);
/// That it is on or was on last, or that it is for.
QString GetMachine(const Hosting::Jobs::Job& i_job);
/// Number and name.
QString GetTitle(const Hosting::Jobs::Job& i_job);

QString GetAction(Hosting::Jobs::Action i_action);
QString GetActionHint(Hosting::Jobs::Action i_action);
ActionQuestion GetQuestion(Hosting::Jobs::Action i_action);

} // namespace PostedWords

} // namespace Workbench
