#include "workbench/MainWindow.h"

#include "workbench/ScenePage.h"
#include "workbench/ShortcutsDialog.h"
#include "workbench/base/LogKeeper.h"
#include "workbench/settings/SettingsDialog.h"
#include "workbench/settings/SupportReport.h"
#include "workbench/settings/SupportReportDialog.h"

#include "hosting/Host.h"
#include "hosting/PluginUtility.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QMessageBox>
#include <QSysInfo>
#include <QUrl>

// Settings and help.

namespace Workbench {

namespace {

using Versions = std::vector<std::pair<std::string, std::string>>;

QStringList DescribeVersions(const Versions& i_services)
{
    QStringList lines{QStringLiteral("Workbench %1").arg(QApplication::applicationVersion()),
                      QStringLiteral("Qt %1").arg(QLatin1String(qVersion())),
                      QStringLiteral("%1, %2").arg(QSysInfo::prettyProductName(), QSysInfo::currentCpuArchitecture()),
                      QStringLiteral("Display %1").arg(QApplication::platformName())};
    for (const auto& [name, version] : i_services)
        lines << QString::fromStdString(name) + QLatin1Char(' ') + QString::fromStdString(version);
    return lines;
}

QStringList DescribeFailures(const JobList& i_jobs)
{
    QStringList lines;
    for (int row = 0; row < i_jobs.rowCount(); ++row) {
        if (i_jobs.GetEntry(row)->state == JobList::State::Failed)
            lines << i_jobs.Describe(row) << QString();
    }
    return lines;
}

QStringList DescribeMachines(const MachineList& i_machines)
{
    QStringList lines;
    for (int service = 0; service < i_machines.rowCount(); ++service) {
        const QModelIndex parent = i_machines.index(service, 0);
        lines << parent.data(Qt::AccessibleTextRole).toString();
        for (int row = 0; row < i_machines.rowCount(parent); ++row)
            lines << QStringLiteral("  ") + i_machines.index(row, 0, parent).data(Qt::AccessibleTextRole).toString();
    }
    return lines;
}

} // namespace

void MainWindow::_FollowSettings()
{
    using Id = MainActions::Id;
    connect(_actions->Get(Id::Settings), &QAction::triggered, this, &MainWindow::_ShowSettings);
    connect(_actions->Get(Id::Shortcuts), &QAction::triggered, this, &MainWindow::_ShowShortcuts);
    connect(_actions->Get(Id::SupportReport), &QAction::triggered, this, &MainWindow::_ShowSupportReport);
    connect(_actions->Get(Id::About), &QAction::triggered, this, [this] {
        QMessageBox::about(this, tr("Workbench"),
                           tr("Workbench %1: from parts to a machine file.").arg(QApplication::applicationVersion()));
    });
    const auto setUnit = [this] {
        LengthText::SetUnit(_preferences.GetLengthUnit());
    };
    setUnit();
    connect(&_preferences, &Preferences::LengthUnitChanged, this, [this, setUnit] {
        setUnit();
        // Lengths are texts: all are made anew, as for another language.
        QApplication::postEvent(this, new QEvent(QEvent::LanguageChange));
    });
    connect(&_preferences, &Preferences::PriceChanged, this, [this] {
        for (VexlorCore::DataSet* const scene : _book.GetScenes())
            _ShowScene(scene);
    });
}

void MainWindow::_ShowSettings()
{
    const auto& folder = _host.GetDataDir();
    const auto utility = Hosting::MakePluginUtility(MachineService::ServiceId::BuildProcessors, folder);
    auto* const dialog = new SettingsDialog(
        _preferences, {utility->GetConfigurationDir() / "profiles", folder, Hosting::GetKeptResultsDir(folder)}, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &SettingsDialog::OpenWanted, this, [](const QString& i_folder) {
        // The folder of profiles need not be there yet.
        QDir().mkpath(i_folder);
        QDesktopServices::openUrl(QUrl::fromLocalFile(i_folder));
    });
    dialog->open();
}

void MainWindow::_ShowSupportReport()
{
    const auto answer = std::make_shared<std::future<Versions>>(_host.GetClient().GetVersionInformation());
    const auto show = [this](const Versions& i_versions) {
        SupportReport report(QDir::homePath(), qEnvironmentVariable("USER"));
        report.Add(QStringLiteral("versions.txt"), DescribeVersions(i_versions));
        report.Add(QStringLiteral("machines.txt"), DescribeMachines(_machines));
        report.Add(QStringLiteral("failures.txt"), DescribeFailures(_jobs));
        report.Add(QStringLiteral("settings.txt"), _preferences.Describe());
        report.Add(QStringLiteral("log.txt"), LogKeeper::GetLines());
        auto* const dialog = new SupportReportDialog(std::move(report), this);
        dialog->setAttribute(Qt::WA_DeleteOnClose);
        dialog->open();
    };
    _background.Run([answer](const std::stop_token& i_stop) { return Await(*answer, i_stop); }, show,
                    // A service that does not answer is no reason to have no report.
                    [show](const QString& i_why) {
                        show({{"Services", i_why.toStdString()}});
                    });
}

void MainWindow::_ShowShortcuts()
{
    auto* const dialog = new ShortcutsDialog(*this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

} // namespace Workbench
