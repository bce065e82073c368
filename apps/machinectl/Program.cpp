#include "machinectl/Program.h"

#include "hosting/InterruptWatcher.h"
#include "machinectl/CommandTable.h"
#include "machinectl/Help.h"
#include "machinectl/Session.h"

#include <QCoreApplication>

#include <thread>

namespace MachineCtl {

namespace {

using Hosting::JobsError;

constexpr int UsualWidth = 80;

ExitStatus GetStatus(JobsError::Kind i_kind)
{
    switch (i_kind) {
    case JobsError::Kind::NotReached:
        return NotReached;
    case JobsError::Kind::NotFound:
        return NotFound;
    case JobsError::Kind::Conflict:
        return Conflict;
    case JobsError::Kind::Forbidden:
        return Forbidden;
    case JobsError::Kind::BadInput:
        return WrongUsage;
    case JobsError::Kind::Server:
        return Failed;
    }
    return Failed;
}

/// Carries the command out, and tells of its failure.
ExitStatus Carry(const CommandLine& i_line, Console& io_console, const std::stop_token& i_stop)
{
    try {
        Session session(i_line, io_console, i_stop);
        return i_line.command->run(session);
    } catch (const Hosting::Interruption&) {
        return Interrupted;
    } catch (const UsageError& error) {
        io_console.Tell(error.GetSentence());
        return WrongUsage;
    } catch (const JobsError& error) {
        io_console.Tell(QString::fromUtf8(error.what()));
        return GetStatus(error.GetKind());
    } catch (const std::exception& error) {
        io_console.Tell(QString::fromUtf8(error.what()));
        return i_stop.stop_requested() ? Interrupted : Failed;
    }
}

/// The command waits for the manager on a thread of its own, while this one hears of signals.
ExitStatus Run(const CommandLine& i_line, Console& io_console)
{
    const Hosting::InterruptWatcher watcher({});
    auto status = Failed;
    std::jthread worker([&, stop = watcher.GetStopToken()] {
        status = Carry(i_line, io_console, stop);
        // Queued: the loop may not have begun to turn.
        QMetaObject::invokeMethod(QCoreApplication::instance(), &QCoreApplication::quit, Qt::QueuedConnection);
    });
    QCoreApplication::exec();
    worker.join();
    return watcher.WasInterrupted() && status == Failed ? Interrupted : status;
}

ExitStatus Print(Console& io_console, const QString& i_text)
{
    try {
        io_console.Print(i_text);
        return Succeeded;
    } catch (const std::exception& error) {
        io_console.Tell(QString::fromUtf8(error.what()));
        return Failed;
    }
}

} // namespace

ExitStatus RunProgram(const QStringList& i_arguments)
{
    Console console;
    const auto line = ParseCommandLine(i_arguments);
    switch (line.action) {
    case CommandLine::Action::Refuse:
        console.Tell(line.fault);
        return WrongUsage;
    case CommandLine::Action::ShowHelp:
        return Print(console, MakeHelp(line.command, console.GetWidth() > 0 ? console.GetWidth() : UsualWidth));
    case CommandLine::Action::ShowVersion:
        return Print(console, QCoreApplication::applicationName() + QLatin1Char(' ') +
                                  QCoreApplication::applicationVersion() + QLatin1Char('\n'));
    case CommandLine::Action::Run:
        break;
    }
    return Run(line, console);
}

} // namespace MachineCtl
