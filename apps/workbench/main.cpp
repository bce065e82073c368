#include "workbench/MainWindow.h"

#include "hosting/Host.h"
#include "hosting/HostProcess.h"
#include "hosting/Translations.h"
#include "tavsdk/Path.h"

#include <QApplication>
#include <QStandardPaths>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>

namespace {

enum ExitStatus
{
    Succeeded = 0,
    Failed = 1,
};

bool HasDisplay()
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    }
    return false;
}

constexpr char NoDisplay[] = "There is no display to open the window on: run ./run without --window, or set DISPLAY.\n";

/// Qt ends a program whose display cannot be reached with an abort.
void TellOfNoDisplay(QtMsgType i_type, const QMessageLogContext&, const QString&)
{
    if (i_type != QtFatalMsg)
        return;
    std::fputs(NoDisplay, stderr);
    std::_Exit(Failed);
}

int Run(int& io_argc, char** ip_argv)
{
    if (!HasDisplay()) {
        std::fputs(NoDisplay, stderr);
        return Failed;
    }
    // Before anything is made that would stay behind.
    const QtMessageHandler former = qInstallMessageHandler(&TellOfNoDisplay);
    QApplication application(io_argc, ip_argv);
    qInstallMessageHandler(former);

    const Hosting::HostProcess process;
    QApplication::setApplicationName(QStringLiteral("workbench"));
    QApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));
    Hosting::InstallTranslations(QStringLiteral("workbench"));
    const std::filesystem::path data =
        TavSDK::PathFromUtf8(
            QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation).toUtf8().toStdString()) /
        "machineservice";
    Hosting::Host host(data / "documents", data);
    Workbench::MainWindow window(host);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int i_argc, char** ip_argv)
{
    try {
        return Run(i_argc, ip_argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return Failed;
    }
}
