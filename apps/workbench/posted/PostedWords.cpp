#include "workbench/posted/PostedWords.h"

#include <QCoreApplication>

#include <chrono>

namespace Workbench::PostedWords {

namespace {

using Hosting::Jobs::Action;
using Hosting::Jobs::Job;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::PostedWords)
};

struct StateRow
{
    const char* state;
    const char* words;
    const char* icon;
};

constexpr StateRow States[] = {
    {"pending", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Queued"), "running"},
    {"pending-held", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Held"), "other"},
    {"processing", QT_TRANSLATE_NOOP("Workbench::PostedWords", "In progress"), "build"},
    {"processing-stopped", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Stopped"), "failed"},
    {"canceled", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Cancelled"), "cancelled"},
    {"aborted", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Failed"), "close"},
    {"completed", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Done"), "done"},
};

constexpr const char* Phases[][2] = {
    {"incoming", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Its platform file is on its way to the manager.")},
    {"held", QT_TRANSLATE_NOOP("Workbench::PostedWords", "It is held until somebody releases it.")},
    {"waiting", QT_TRANSLATE_NOOP("Workbench::PostedWords", "It waits for a machine.")},
    {"building", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Its machine file is being made.")},
    {"sending", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Its machine file goes to the printer.")},
    {"starting", QT_TRANSLATE_NOOP("Workbench::PostedWords", "The printer is being told to begin.")},
    {"printing", QT_TRANSLATE_NOOP("Workbench::PostedWords", "It is being printed.")},
    {"unconfirmed", QT_TRANSLATE_NOOP("Workbench::PostedWords",
                                      "The printer was told to begin, and nobody knows whether it did. Look at it.")},
    {"stopped", QT_TRANSLATE_NOOP("Workbench::PostedWords", "The printer began and stands still, or is out of reach.")},
    {"canceling", QT_TRANSLATE_NOOP("Workbench::PostedWords", "It is being cancelled.")},
    {"canceled", QT_TRANSLATE_NOOP("Workbench::PostedWords", "Somebody cancelled it.")},
    // The state's own word says all that there is.
    {"aborted", nullptr},
    {"completed", nullptr},
};

struct ActionRow
{
    Action action;
    const char* name;
    const char* hint;
    const char* title; ///< of the question; null: none
    const char* question;
};

constexpr ActionRow Actions[] = {
    {Action::Hold, QT_TRANSLATE_NOOP("Workbench::PostedWords", "Hold"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "The job waits until it is released."), nullptr, nullptr},
    {Action::Release, QT_TRANSLATE_NOOP("Workbench::PostedWords", "Release"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "The job goes to a machine as soon as one fits."), nullptr, nullptr},
    {Action::Cancel, QT_TRANSLATE_NOOP("Workbench::PostedWords", "Cancel the job"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "The job ends here."),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "Cancel this job?"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords",
                       "The machine is told to stop '%1'. A job that was cancelled cannot go on.")},
    {Action::StartAgain, QT_TRANSLATE_NOOP("Workbench::PostedWords", "Start again"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "Nothing was started: the job waits for the machine once more."),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "Start this job again?"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords",
                       "Look at the machine first: when it has begun after all, '%1' is printed twice.")},
    {Action::ConfirmDone, QT_TRANSLATE_NOOP("Workbench::PostedWords", "It is printed"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "The machine has made it: the job is done."),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "Is this job printed?"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "'%1' is done then, and the machine takes the next job: its plate "
                                                 "must be free.")},
    {Action::Acknowledge, QT_TRANSLATE_NOOP("Workbench::PostedWords", "What is loaded will do"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "The job may start whatever the machine is loaded with."),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "Will what is loaded do?"),
     QT_TRANSLATE_NOOP("Workbench::PostedWords", "'%1' is started although the machine may be loaded with something "
                                                 "else than it was prepared for.")},
};

const StateRow* FindState(const Job& i_job)
{
    for (const StateRow& row : States) {
        if (i_job.state == row.state)
            return &row;
    }
    return nullptr;
}

const ActionRow& FindAction(Action i_action)
{
    for (const ActionRow& row : Actions) {
        if (row.action == i_action)
            return row;
    }
    return Actions[0];
}

QString ToText(const std::string& i_text)
{
    return QString::fromStdString(i_text).simplified();
}

} // namespace

QString GetState(const Job& i_job)
{
    // A manager of a later version may know more of them.
    const StateRow* const row = FindState(i_job);
    return row ? Texts::tr(row->words) : ToText(i_job.state);
}

QString GetIcon(const Job& i_job)
{
    const StateRow* const row = FindState(i_job);
    return row ? QLatin1String(row->icon) : QStringLiteral("help");
}

QString GetReason(const Job& i_job)
{
    QString reason = i_job.reasons.empty() ? QString() : ToText(i_job.reasons.front());
    for (const auto& [phase, words] : Phases) {
        if (i_job.phase == phase)
            reason = words ? Texts::tr(words) : QString();
    }
    return QString(reason + QLatin1Char(' ') + ToText(i_job.detail)).trimmed();
}

QString GetProgress(const Job& i_job)
{
    return i_job.state == "processing" ? Texts::tr("%1 %").arg(i_job.percent) : QString();
}

QString GetAge(const Job& i_job, Hosting::Jobs::Time i_now)
{
    const auto minutes = std::chrono::floor<std::chrono::minutes>(i_now - i_job.created).count();
    if (minutes < 1)
        return Texts::tr("under 1 min");
    if (minutes < 60)
        return Texts::tr("%1 min").arg(minutes);
    if (minutes < 48 * 60)
        return Texts::tr("%1 h %2 min").arg(minutes / 60).arg(minutes % 60);
    return Texts::tr("%1 d").arg(minutes / 60 / 24);
}

QString GetMachine(const Job& i_job)
{
    if (!i_job.machine.empty())
        return ToText(i_job.machine);
    return i_job.target.machine.empty() && !i_job.target.model.empty() ? Texts::tr("any that fits") : QString();
}

QString GetTitle(const Job& i_job)
{
    return QStringLiteral("%1 · %2").arg(QString::number(i_job.number), ToText(i_job.name));
}

QString GetAction(Action i_action)
{
    return Texts::tr(FindAction(i_action).name);
}

QString GetActionHint(Action i_action)
{
    return Texts::tr(FindAction(i_action).hint);
}

ActionQuestion GetQuestion(Action i_action)
{
    const ActionRow& row = FindAction(i_action);
    return row.title ? ActionQuestion{Texts::tr(row.title), Texts::tr(row.question)} : ActionQuestion();
}

} // namespace Workbench::PostedWords
