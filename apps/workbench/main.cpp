#include "workbench/CommandLine.h"
#include "workbench/MainWindow.h"
#include "workbench/StepPlayer.h"
#include "workbench/base/FileHandover.h"
#include "workbench/base/LogKeeper.h"
#include "workbench/base/Preferences.h"
#include "workbench/look/ThemePalette.h"

#include "hosting/Host.h"
#include "hosting/HostProcess.h"
#include "hosting/InterruptWatcher.h"
#include "hosting/PluginUtility.h"
#include "hosting/Translations.h"
#include "tavsdk/Path.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>
#include <QStyle>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include <unistd.h>

namespace {

enum ExitStatus
{
    Succeeded = 0,
    Failed = 1,
    WrongUsage = 2,
};

constexpr qint64 MaxStepsSize = 100000; ///< bytes
constexpr char NoDisplay[] = "There is no display to open the window on: run ./run without --window, or set DISPLAY.\n";

bool HasDisplay()
{
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        if (!qEnvironmentVariableIsEmpty(name))
            return true;
    }
    return false;
}

/// Qt ends a program whose display cannot be reached with an abort.
void TellOfNoDisplay(QtMsgType i_type, const QMessageLogContext&, const QString&)
{
    if (i_type != QtFatalMsg)
        return;
    std::fputs(NoDisplay, stderr);
    std::_Exit(Failed);
}

std::filesystem::path GetFolder(QStandardPaths::StandardLocation i_location)
{
    return TavSDK::PathFromUtf8(QStandardPaths::writableLocation(i_location).toUtf8().toStdString()) / "machineservice";
}

void FollowPreferences(QApplication& io_application, Workbench::Preferences& io_preferences)
{
    const bool isDesktopDark = Workbench::IsDark(QApplication::palette());
    const auto showTheme = [&io_preferences, isDesktopDark] {
        using Workbench::Theme;
        const Theme theme = io_preferences.GetTheme();
        Workbench::ApplyTheme(theme == Theme::Dark || (theme == Theme::System && isDesktopDark));
    };
    const auto speak = [&io_preferences] {
        const QString language = io_preferences.GetLanguage();
        const QLocale locale = language.isEmpty() ? QLocale::system() : QLocale(language);
        QLocale::setDefault(locale);
        Hosting::InstallTranslations(QStringLiteral("workbench"), locale);
    };
    const auto setLog = [&io_preferences] {
        Workbench::LogKeeper::SetDetailed(io_preferences.IsLogDetailed());
    };
    QObject::connect(&io_preferences, &Workbench::Preferences::LogChanged, &io_application, setLog);
    setLog();
    QObject::connect(&io_preferences, &Workbench::Preferences::ThemeChanged, &io_application, showTheme);
    QObject::connect(&io_preferences, &Workbench::Preferences::LanguageChanged, &io_application, speak);
    showTheme();
    speak();
}

/// Plays the steps and takes the picture; the application ends with what it came to.
void PlaySteps(Workbench::StepPlayer& io_player, Workbench::MainWindow& i_window, const QString& i_picture)
{
    QObject::connect(&io_player, &Workbench::StepPlayer::Failed, [](const QString& i_sentence) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(i_sentence));
        QApplication::exit(Failed);
    });
    QObject::connect(&io_player, &Workbench::StepPlayer::Finished, [&i_window, i_picture] {
        if (i_picture.isEmpty())
            return;
        const QString failure = Workbench::StepPlayer::WritePicture(i_window, i_picture);
        if (!failure.isEmpty()) {
            std::fprintf(stderr, "%s\n", qUtf8Printable(failure));
            return QApplication::exit(Failed);
        }
        std::printf("%s\n", qUtf8Printable(Workbench::StepPlayer::GetBackend(i_window)));
        QApplication::exit(Succeeded);
    });
    io_player.Start();
}

QStringList ReadSteps(const QString& i_file, QString& o_failure)
{
    QFile file(i_file);
    if (!file.open(QIODevice::ReadOnly) || file.size() > MaxStepsSize) {
        o_failure = QApplication::translate("Workbench", "The steps in '%1' cannot be read.").arg(i_file);
        return {};
    }
    return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
}

/// Returns when the window was closed.
int ShowWindow(const Workbench::CommandLine& i_command_line, const QStringList& i_steps,
               Workbench::Preferences& io_preferences)
{
    QStringList files;
    for (const QString& file : i_command_line.files)
        files << QDir::cleanPath(QFileInfo(file).absoluteFilePath());
    const bool isScripted = !i_command_line.screenshot.isEmpty() || !i_command_line.steps.isEmpty();
    const QString handoverName = QStringLiteral("machineservice-workbench-%1").arg(getuid());
    if (!isScripted && Workbench::FileHandover::Send(handoverName, files))
        return Succeeded;

    const auto data = GetFolder(QStandardPaths::GenericDataLocation);
    std::vector<std::string> addresses;
    for (const QString& address : i_command_line.services)
        addresses.push_back(address.toStdString());
    Hosting::Host host(data / "documents", data, Hosting::ChooseServices(addresses));
    Workbench::MainWindow window(host, io_preferences, QString::fromStdString((data / "recovery").string()));
    const Hosting::InterruptWatcher interrupts([] { QApplication::exit(Failed); });
    window.show();
    if (!isScripted)
        window.OpenAgain();
    if (!files.isEmpty())
        window.TakeFiles(files);
    Workbench::FileHandover handover;
    QObject::connect(&handover, &Workbench::FileHandover::Arrived, &window, [&window](const QStringList& i_files) {
        if (!i_files.isEmpty())
            window.TakeFiles(i_files);
        window.raise();
        window.activateWindow();
    });
    if (!isScripted)
        handover.Listen(handoverName);
    Workbench::StepPlayer player(window, i_steps);
    if (isScripted)
        PlaySteps(player, window, i_command_line.screenshot);
    else
        QMetaObject::invokeMethod(&window, &Workbench::MainWindow::OfferRecovery, Qt::QueuedConnection);
    return QApplication::exec();
}

int Run(int& io_argc, char** ip_argv)
{
    if (!HasDisplay()) {
        std::fputs(NoDisplay, stderr);
        return Failed;
    }
    // Before anything is made that would stay behind.
    const QtMessageHandler former = qInstallMessageHandler(&TellOfNoDisplay);
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    QApplication application(io_argc, ip_argv);
    qInstallMessageHandler(former);
    Workbench::LogKeeper::Install();

    const Hosting::HostProcess process;
    QApplication::setApplicationName(QStringLiteral("workbench"));
    QApplication::setApplicationVersion(QStringLiteral(WORKBENCH_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("machineservice-workbench"));
    Workbench::Preferences preferences(
        QString::fromStdString((GetFolder(QStandardPaths::GenericConfigLocation) / "workbench.ini").string()));
    FollowPreferences(application, preferences);
    const auto commandLine = Workbench::ParseCommandLine(QApplication::arguments());
    if (!commandLine.text.isEmpty()) {
        std::fputs(qUtf8Printable(commandLine.text), commandLine.isWrong ? stderr : stdout);
        return commandLine.isWrong ? WrongUsage : Succeeded;
    }
    QString failure;
    const QStringList steps = commandLine.steps.isEmpty() ? QStringList() : ReadSteps(commandLine.steps, failure);
    if (!failure.isEmpty()) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(failure));
        return Failed;
    }
    return ShowWindow(commandLine, steps, preferences);
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
