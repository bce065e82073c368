#include "commands/CommandRefusal.h"

#include <QCoreApplication>
#include <QLocale>

#include <tuple>

namespace MachineService {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineService::CommandRefusal)
};

QString Show(const QDateTime& i_time)
{
    const QString time = i_time.toString(QStringLiteral("HH:mm"));
    if (i_time.date() == QDate::currentDate())
        return time;
    return QLocale().toString(i_time.date(), QLocale::ShortFormat) + QLatin1Char(' ') + time;
}

} // namespace

QString CommandRefusal::GetText() const
{
    switch (kind) {
    case Kind::None:
        break;
    case Kind::AnotherCommandRuns:
        return QCoreApplication::translate("Vexlor::JobRunner", "Another command is still running.");
    case Kind::NothingOnPlate:
        return Texts::tr("There is nothing on the plate.");
    case Kind::SwitchedOff:
        return Texts::tr("It is switched off in the settings.");
    case Kind::NotAnsweredYet:
        return Texts::tr("The machine is being asked whether it can do this.");
    case Kind::MachineSilent:
        return Texts::tr("The machine has not answered since %1.").arg(Show(silentSince));
    case Kind::MachineRefuses:
        return machinesWords.isEmpty() ? Texts::tr("The machine does not allow it now.") : machinesWords;
    }
    return QString();
}

bool CommandRefusal::operator==(const CommandRefusal& i_other) const
{
    return std::tie(kind, machinesWords, silentSince) ==
           std::tie(i_other.kind, i_other.machinesWords, i_other.silentSince);
}

} // namespace MachineService
