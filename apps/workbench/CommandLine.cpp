#include "workbench/CommandLine.h"

#include <QCommandLineParser>
#include <QCoreApplication>

namespace Workbench {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::CommandLine)
};

} // namespace

CommandLine ParseCommandLine(const QStringList& i_arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(Texts::tr("Prepares platforms and sends them to machines."));
    const QCommandLineOption help({QStringLiteral("h"), QStringLiteral("help")}, Texts::tr("Tells this."));
    const QCommandLineOption version({QStringLiteral("v"), QStringLiteral("version")}, Texts::tr("Tells the version."));
    const QCommandLineOption screenshot(
        QStringLiteral("screenshot"), Texts::tr("Writes a picture of the window, once everything is drawn, and ends."),
        QStringLiteral("FILE"));
    const QCommandLineOption steps(
        QStringLiteral("steps"),
        Texts::tr(
            "Plays the steps of a file first, one a line: attach NAME, platform, accept, command ID, open FILE, new, "
            "tab "
            "NUMBER, select NUMBER, search WORDS, cancel, close, manager, shortcuts, settings, report, language CODE, "
            "lengths "
            "UNIT, theme NAME, size WIDTHxHEIGHT, wait."),
        QStringLiteral("FILE"));
    const QCommandLineOption service(
        QStringLiteral("service"),
        Texts::tr("Uses the machine service at this address instead of the one in this program; may be given several "
                  "times. An address is unix:PATH or tls://HOST:PORT."),
        QStringLiteral("ADDRESS"));
    parser.addOptions({help, version, service, screenshot, steps});
    parser.addPositionalArgument(QStringLiteral("files"), Texts::tr("Platforms to open and meshes to import."),
                                 QStringLiteral("[files]"));
    CommandLine result;
    if (!parser.parse(i_arguments)) {
        result.text = parser.errorText() + QLatin1Char('\n');
        result.isWrong = true;
    } else if (parser.isSet(help)) {
        result.text = parser.helpText();
    } else if (parser.isSet(version)) {
        result.text = QCoreApplication::applicationVersion() + QLatin1Char('\n');
    }
    result.files = parser.positionalArguments();
    result.services = parser.values(service);
    result.screenshot = parser.value(screenshot);
    result.steps = parser.value(steps);
    return result;
}

} // namespace Workbench
