#include "tour/CommandsStep.h"

#include "tour/ConsoleMessages.h"
#include "tour/Transcript.h"

#include "commands/CommandNames.h"
#include "commands/PrinterCommandManager.h"
#include "hosting/Host.h"
#include "hosting/HostingError.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/Notes.h"
#include "hosting/RibbonModel.h"
#include "vexlorcore/DataSet.h"

#include <QCoreApplication>
#include <QScopeGuard>
#include <QStringList>

#include <chrono>

namespace Tour {

namespace {

using Hosting::HostingError;
using Hosting::RibbonModel;
using MachineService::PrinterCommandManager;

constexpr std::chrono::seconds AnswersDeadline(3);

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::CommandsStep)
};

void ShowRibbon(const RibbonModel& i_ribbon, Transcript& io_transcript)
{
    for (const auto& row : i_ribbon.GetRows()) {
        const QString state = row.whyNot.isEmpty() ? Texts::tr("enabled") : Texts::tr("disabled: %1").arg(row.whyNot);
        io_transcript.Line(QStringLiteral("  %1  %2  %3  %4")
                               .arg(QString::number(row.place).rightJustified(2),
                                    row.command->GetTitle().leftJustified(28), state.leftJustified(9),
                                    row.command->GetId()));
    }
}

QStringList FindWanted(const RibbonModel& i_ribbon, const QString& i_wanted, const QString& i_printer)
{
    QStringList ids;
    for (const auto& row : i_ribbon.GetRows()) {
        const QString id = row.command->GetId();
        if (i_wanted.isEmpty() || id.compare(i_wanted, Qt::CaseInsensitive) == 0)
            ids << id;
    }
    // Where the parts lie decides what they take: they are placed before anything is estimated.
    const auto estimations = ids.indexOf(QLatin1String(MachineService::BPCommandNamePrintConsumptionEstimations));
    const auto placement = ids.indexOf(QLatin1String(MachineService::BPCommandNameAutomaticPlacement));
    if (estimations >= 0 && placement > estimations)
        ids.move(placement, estimations);
    if (ids.isEmpty())
        throw HostingError(i_wanted.isEmpty()
                               ? Texts::tr("%1 offers no commands.").arg(i_printer)
                               : Texts::tr("%1 does not offer the command '%2'.").arg(i_printer, i_wanted));
    return ids;
}

} // namespace

void RunCommands(Hosting::Host& io_host, VexlorCore::DataSet& io_scene, const QString& i_wanted,
                 const Hosting::InterruptWatcher& i_interrupts, const ConsoleMessages& i_messages,
                 Transcript& io_transcript)
{
    PrinterCommandManager manager(
        [&] { return &io_scene; },
        [&](VexlorCore::DataSet* ip_scene) { return io_host.GetClient().TryGetPrinter(ip_scene); },
        io_host.GetApiProviderGetter(), [] { return QString(); }, nullptr);
    RibbonModel ribbon(manager);
    // A fresh answer of the machine leads here, by way of the can-run cache and the client.
    const auto forget = qScopeGuard([&] { io_host.GetApiProvider().SetUpdateCommandsHandler({}); });
    io_host.GetApiProvider().SetUpdateCommandsHandler([&ribbon] { ribbon.UpdateCommands(); });
    manager.Activate();
    ribbon.WaitForAnswers(AnswersDeadline, [&] { return i_interrupts.WasInterrupted(); });
    i_interrupts.ThrowIfInterrupted();

    io_transcript.Line(Texts::tr("Ribbon of %1").arg(manager.PrinterName()));
    ShowRibbon(ribbon, io_transcript);
    QStringList told;
    for (const QString& id : FindWanted(ribbon, i_wanted, manager.PrinterName())) {
        auto* command = manager.GetCommand(id);
        if (!command)
            throw HostingError(Texts::tr("The command '%1' went away.").arg(id));
        const QString title = command->GetTitle();
        io_transcript.Line(title);
        const bool isDone = command->Exec();
        i_interrupts.ThrowIfInterrupted();
        if (!isDone)
            throw HostingError(i_messages.GetLastFailure().isEmpty()
                                   ? Texts::tr("The command '%1' was not carried out.").arg(title)
                                   : i_messages.GetLastFailure());
        // Several commands find the same.
        const auto notes = Hosting::ReadNotes(io_scene.GetPlatform());
        for (const QString& note : notes) {
            if (!told.contains(note))
                io_transcript.Line(QStringLiteral("  ") + note);
        }
        told += notes;
    }
}

} // namespace Tour
