#include "CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::CommandLine)
};

} // namespace

CommandLine ParseCommandLine(const QStringList& i_arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        Texts::tr("Takes meshes to a machine file: makes a scene, attaches a printer of the catalog, runs its "
                  "Build command and loads the result back into the scene."));
    const QCommandLineOption machine(QStringLiteral("machine"), Texts::tr("Use this machine: its name or its id."),
                                     QStringLiteral("NAME"));
    const QCommandLineOption command(
        QStringLiteral("command"),
        Texts::tr("Run this command of the machine only: its id, as the ribbon's table shows it."),
        QStringLiteral("ID"));
    const QCommandLineOption list(QStringLiteral("list"), Texts::tr("List the machines of the catalog and end."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, Texts::tr("Show this help and end."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     Texts::tr("Show the version and end."));
    parser.addOptions({machine, command, list, help, version});
    parser.addPositionalArgument(
        QStringLiteral("mesh"),
        Texts::tr("STL, 3MF, OBJ or PLY files; without any, examples of the slicing engine's package."),
        QStringLiteral("[mesh …]"));

    CommandLine result;
    const auto refuse = [&](const QString& i_reason) {
        result.action = CommandLine::Action::Refuse;
        result.text = i_reason + QLatin1Char('\n') + Texts::tr("Try --help.") + QLatin1Char('\n');
        return result;
    };
    if (!parser.parse(i_arguments))
        return refuse(parser.errorText());
    if (parser.isSet(help)) {
        result.action = CommandLine::Action::ShowText;
        result.text = parser.helpText();
        return result;
    }
    if (parser.isSet(version)) {
        result.action = CommandLine::Action::ShowText;
        result.text = QCoreApplication::applicationName() + QLatin1Char(' ') + QCoreApplication::applicationVersion() +
                      QLatin1Char('\n');
        return result;
    }
    if (parser.isSet(machine)) {
        result.machine = parser.value(machine);
        if (result.machine.trimmed().isEmpty())
            return refuse(Texts::tr("--machine needs a name."));
    }
    if (parser.isSet(command)) {
        result.command = parser.value(command);
        if (result.command.trimmed().isEmpty())
            return refuse(Texts::tr("--command needs an id."));
    }
    for (const QString& mesh : parser.positionalArguments()) {
        if (mesh.isEmpty())
            return refuse(Texts::tr("An empty file name was given."));
        result.meshes.emplace_back(mesh.toStdString());
    }
    if (parser.isSet(list)) {
        if (!result.meshes.empty() || parser.isSet(machine) || parser.isSet(command))
            return refuse(Texts::tr("--list takes neither meshes nor other options."));
        result.action = CommandLine::Action::List;
    }
    return result;
}

} // namespace Workbench
