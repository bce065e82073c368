#include "CommandLine.h"
#include "Tour.h"

#include <QGuiApplication>

#include <cstdio>

int main(int i_argc, char** ip_argv)
{
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(i_argc, ip_argv);
    QGuiApplication::setApplicationName(QStringLiteral("workbench"));
    QGuiApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));
    QGuiApplication::setQuitOnLastWindowClosed(false);

    const auto commandLine = Workbench::ParseCommandLine(QGuiApplication::arguments());
    const auto text = commandLine.text.toUtf8();
    switch (commandLine.action) {
    case Workbench::CommandLine::Action::ShowText:
        std::fputs(text.constData(), stdout);
        return Workbench::Succeeded;
    case Workbench::CommandLine::Action::Refuse:
        std::fputs(text.constData(), stderr);
        return Workbench::WrongUsage;
    case Workbench::CommandLine::Action::Run:
    case Workbench::CommandLine::Action::List:
        break;
    }
    return Workbench::RunTour(commandLine,
                              qEnvironmentVariable("MACHINESERVICE_OUT_DIR", QStringLiteral("out")).toStdString());
}
