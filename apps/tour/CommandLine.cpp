#include "tour/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace Tour {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::CommandLine)
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
    const QCommandLineOption set(
        QStringLiteral("set"),
        Texts::tr("Choose this for the platform, as the machine offers it; may be given several times."),
        QStringLiteral("ID=VALUE"));
    const QCommandLineOption list(QStringLiteral("list"), Texts::tr("List the machines of the catalog and end."));
    const QCommandLineOption exportConfig(
        QStringLiteral("export-config"),
        Texts::tr("Write the configuration of the attached printer as XML, check it against its schemas and end."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, Texts::tr("Show this help and end."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")},
                                     Texts::tr("Show the version and end."));
    parser.addOptions({machine, command, set, list, exportConfig, help, version});
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
    for (const QString& choice : parser.values(set)) {
        const int split = choice.indexOf(QLatin1Char('='));
        if (split <= 0)
            return refuse(Texts::tr("--set needs ID=VALUE, not '%1'.").arg(choice));
        const QString id = choice.left(split);
        for (const auto& other : result.choices) {
            if (other.first == id)
                return refuse(Texts::tr("--set gives '%1' more than one value.").arg(id));
        }
        result.choices.emplace_back(id, choice.mid(split + 1));
    }
    for (const QString& mesh : parser.positionalArguments()) {
        if (mesh.isEmpty())
            return refuse(Texts::tr("An empty file name was given."));
        result.meshes.emplace_back(mesh.toStdString());
    }
    if (parser.isSet(list)) {
        if (!result.meshes.empty() || parser.isSet(machine) || parser.isSet(command) || parser.isSet(set) ||
            parser.isSet(exportConfig))
            return refuse(Texts::tr("--list takes neither meshes nor other options."));
        result.action = CommandLine::Action::List;
    } else if (parser.isSet(exportConfig)) {
        if (!result.meshes.empty() || parser.isSet(command))
            return refuse(Texts::tr("--export-config takes neither meshes nor --command."));
        result.action = CommandLine::Action::ExportConfiguration;
    }
    return result;
}

} // namespace Tour
