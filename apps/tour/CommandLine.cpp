#include "tour/CommandLine.h"

#include "vexlorcore/meshimport/MeshImporter.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace Tour {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Tour::CommandLine)
};

/// The options as the help shows them.
struct Options
{
    const QCommandLineOption machine{QStringLiteral("machine"), Texts::tr("Use this machine: its name or its id."),
                                     QStringLiteral("NAME")};
    const QCommandLineOption command{
        QStringLiteral("command"),
        Texts::tr("Run this command of the machine only: its id, as the ribbon's table shows it."),
        QStringLiteral("ID")};
    const QCommandLineOption set{
        QStringLiteral("set"),
        Texts::tr("Choose this for the platform, as the machine offers it; may be given several times."),
        QStringLiteral("ID=VALUE")};
    const QCommandLineOption service{
        QStringLiteral("service"),
        Texts::tr("Use the machine service at this address instead of the one in this program; may be given several "
                  "times. An address is unix:PATH or tls://HOST:PORT."),
        QStringLiteral("ADDRESS")};
    const QCommandLineOption post{
        QStringLiteral("post"),
        Texts::tr("Post the platform as a job to the Machine Manager, which is started when it does not run, and wait "
                  "for the job.")};
    const QCommandLineOption list{QStringLiteral("list"), Texts::tr("List the machines of the catalog and end.")};
    const QCommandLineOption exportConfig{
        QStringLiteral("export-config"),
        Texts::tr("Write the configuration of the attached printer as XML, check it against its schemas and end.")};
    const QCommandLineOption help{{QStringLiteral("h"), QStringLiteral("help")}, Texts::tr("Show this help and end.")};
    const QCommandLineOption version{{QStringLiteral("v"), QStringLiteral("version")},
                                     Texts::tr("Show the version and end.")};

    void AddTo(QCommandLineParser& io_parser) const
    {
        io_parser.setApplicationDescription(
            Texts::tr("Takes meshes to a machine file: makes a scene, attaches a printer of the catalog, runs its "
                      "Build command and loads the result back into the scene."));
        io_parser.addOptions({machine, command, set, service, post, list, exportConfig, help, version});
        io_parser.addPositionalArgument(
            QStringLiteral("mesh"),
            Texts::tr("Mesh files (%1); without any, examples of the slicing engine's package.")
                .arg(QString::fromStdString(VexlorCore::ListMeshFormats())),
            QStringLiteral("[mesh …]"));
    }
};

CommandLine ShowText(const QString& i_text)
{
    CommandLine result;
    result.action = CommandLine::Action::ShowText;
    result.text = i_text;
    return result;
}

CommandLine Refuse(const QString& i_reason)
{
    CommandLine result;
    result.action = CommandLine::Action::Refuse;
    result.text = i_reason + QLatin1Char('\n') + Texts::tr("Try --help.") + QLatin1Char('\n');
    return result;
}

/// Takes "ID=VALUE" in.
/// \return what is wrong with it; empty when nothing is.
QString AddChoice(const QString& i_choice, CommandLine& io_result)
{
    const int split = i_choice.indexOf(QLatin1Char('='));
    if (split <= 0)
        return Texts::tr("--set needs ID=VALUE, not '%1'.").arg(i_choice);
    const QString id = i_choice.left(split);
    for (const auto& other : io_result.choices) {
        if (other.first == id)
            return Texts::tr("--set gives '%1' more than one value.").arg(id);
    }
    io_result.choices.emplace_back(id, i_choice.mid(split + 1));
    return {};
}

} // namespace

CommandLine ParseCommandLine(const QStringList& i_arguments)
{
    QCommandLineParser parser;
    const Options options;
    options.AddTo(parser);
    if (!parser.parse(i_arguments))
        return Refuse(parser.errorText());
    if (parser.isSet(options.help))
        return ShowText(parser.helpText());
    if (parser.isSet(options.version))
        return ShowText(QCoreApplication::applicationName() + QLatin1Char(' ') +
                        QCoreApplication::applicationVersion() + QLatin1Char('\n'));
    CommandLine result;
    result.machine = parser.value(options.machine);
    if (parser.isSet(options.machine) && result.machine.trimmed().isEmpty())
        return Refuse(Texts::tr("--machine needs a name."));
    result.command = parser.value(options.command);
    if (parser.isSet(options.command) && result.command.trimmed().isEmpty())
        return Refuse(Texts::tr("--command needs an id."));
    result.postsJob = parser.isSet(options.post);
    if (result.postsJob && (parser.isSet(options.command) || parser.isSet(options.service)))
        return Refuse(Texts::tr("--post takes neither --command nor --service."));
    for (const QString& choice : parser.values(options.set)) {
        if (const QString fault = AddChoice(choice, result); !fault.isEmpty())
            return Refuse(fault);
    }
    for (const QString& service : parser.values(options.service)) {
        if (service.trimmed().isEmpty())
            return Refuse(Texts::tr("--service needs an address."));
        result.services.push_back(service.toStdString());
    }
    for (const QString& mesh : parser.positionalArguments()) {
        if (mesh.isEmpty())
            return Refuse(Texts::tr("An empty file name was given."));
        result.meshes.emplace_back(mesh.toStdString());
    }
    if (parser.isSet(options.list)) {
        if (!result.meshes.empty() || parser.isSet(options.machine) || parser.isSet(options.command) ||
            parser.isSet(options.set) || parser.isSet(options.exportConfig) || result.postsJob)
            return Refuse(Texts::tr("--list takes neither meshes nor other options."));
        result.action = CommandLine::Action::List;
    } else if (parser.isSet(options.exportConfig)) {
        if (!result.meshes.empty() || parser.isSet(options.command) || result.postsJob)
            return Refuse(Texts::tr("--export-config takes neither meshes nor --command nor --post."));
        result.action = CommandLine::Action::ExportConfiguration;
    }
    return result;
}

} // namespace Tour
