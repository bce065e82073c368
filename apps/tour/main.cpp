#include "tour/CommandLine.h"
#include "tour/Output.h"
#include "tour/Tour.h"

#include "hosting/HostProcess.h"
#include "hosting/Translations.h"

#include <QGuiApplication>

#include <exception>

namespace {

Tour::ExitStatus Run(int& io_argc, char** ip_argv)
{
    const Hosting::HostProcess process;
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(io_argc, ip_argv);
    QGuiApplication::setApplicationName(QStringLiteral("tour"));
    QGuiApplication::setApplicationVersion(QStringLiteral(TOUR_VERSION));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    Hosting::InstallTranslations(QStringLiteral("tour"));

    const auto commandLine = Tour::ParseCommandLine(QGuiApplication::arguments());
    const QByteArray text = commandLine.text.toUtf8();
    if (commandLine.action == Tour::CommandLine::Action::Refuse) {
        Tour::Print(stderr, text);
        return Tour::WrongUsage;
    }
    if (commandLine.action == Tour::CommandLine::Action::ShowText) {
        const QString failure = Tour::Print(stdout, text);
        if (failure.isEmpty())
            return Tour::Succeeded;
        Tour::Print(stderr, failure.toUtf8() + '\n');
        return Tour::Failed;
    }
    return Tour::RunTour(commandLine,
                         qEnvironmentVariable("MACHINESERVICE_OUT_DIR", QStringLiteral("out")).toStdString());
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    try {
        return Run(i_argc, ip_argv);
    } catch (const std::exception& error) {
        Tour::Print(stderr, QByteArray(error.what()) + '\n');
        return Tour::Failed;
    }
}
