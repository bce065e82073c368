#include "CommandLine.h"
#include "Tour.h"

#include "client/Translations.h"

#include <QGuiApplication>
#include <QLocale>
#include <QTemporaryDir>
#include <QTranslator>

#include <cstdio>
#include <optional>

int main(int i_argc, char** ip_argv)
{
    if (!qEnvironmentVariableIsSet("DISPLAY") && !qEnvironmentVariableIsSet("WAYLAND_DISPLAY") &&
        !qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Without one, Qt warns and leaves a folder of its own among the temporary files.
    std::optional<QTemporaryDir> runtimeDir;
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR"))
        qputenv("XDG_RUNTIME_DIR", runtimeDir.emplace().path().toLocal8Bit());
    QGuiApplication application(i_argc, ip_argv);
    QGuiApplication::setApplicationName(QStringLiteral("workbench"));
    QGuiApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    // The program and the library speak the same language, or both English.
    QTranslator translator;
    if (MachineService::InstallTranslations(QLocale::system()) &&
        translator.load(QLocale::system(), QStringLiteral("workbench"), QStringLiteral("_"),
                        QStringLiteral(":/workbench/translations")))
        QGuiApplication::installTranslator(&translator);

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
    case Workbench::CommandLine::Action::ExportConfiguration:
        break;
    }
    return Workbench::RunTour(commandLine,
                              qEnvironmentVariable("MACHINESERVICE_OUT_DIR", QStringLiteral("out")).toStdString());
}
