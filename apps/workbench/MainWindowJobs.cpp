#include "workbench/MainWindow.h"

#include "workbench/ScenePage.h"
#include "workbench/jobs/JobsPanel.h"
#include "workbench/platform/NewPlatformDialog.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include "client/interface/CommunicationException.h"
#include "hosting/Estimates.h"
#include "hosting/Host.h"
#include "hosting/MachineIds.h"
#include "hosting/ResultFiles.h"
#include "platform/IPlatformCreator.h"

#include <QPointer>
#include <QStatusBar>

// What the window asks of machines.

namespace Workbench {

namespace {

/// Also where what came out is what was there.
bool MakesEstimates(const QString& i_command)
{
    return i_command == QLatin1String("Print3D.Print") ||
           i_command == QLatin1String("Print3D.PrintConsumptionEstimations");
}

} // namespace

void MainWindow::Attach(const QUuid& i_machine)
{
    if (i_machine.isNull())
        return;
    VexlorCore::DataSet& scene = _book.GetActive() ? *_book.GetActive() : _book.New();
    try {
        _host.GetClient().HandleMachineChanged(&scene, i_machine);
    } catch (const std::exception& failure) {
        return _boxes.ShowLater(QString::fromUtf8(failure.what()));
    }
    _book.GetHistory().Look(scene);
    _ShowAttachments();
    _ShowScene(&scene);
    _ribbon->GetManager().CheckCommands();
}

void MainWindow::Detach()
{
    VexlorCore::DataSet* const scene = _book.GetActive();
    if (!scene)
        return;
    try {
        _host.GetClient().HandleMachineChangedForceDetach(scene, QUuid());
    } catch (const std::exception& failure) {
        return _boxes.ShowLater(QString::fromUtf8(failure.what()));
    }
    _book.GetHistory().Look(*scene);
    _ShowAttachments();
    _ShowScene(scene);
    _ribbon->GetManager().CheckCommands();
}

void MainWindow::NewPlatform()
{
    VexlorCore::DataSet* const scene = _book.GetActive();
    const auto machine = _host.GetClient().TryGetPrinter(scene);
    if (!machine || _jobs.IsRunning())
        return;
    const QPointer<MainWindow> alive(this);
    std::shared_ptr<MachineService::IPlatformCreator> creator;
    QString failure;
    try {
        const auto recorder = _recorder;
        JobRecorder::Command entry(*recorder, tr("Ask what the machine offers"));
        auto information = machine->GetPlatformInformation();
        std::wstring message;
        creator =
            MachineService::TryCreatePlatformCreator(*machine, information, _host.GetApiProviderGetter(), message);
        failure = QString::fromStdWString(message);
        if (creator)
            entry.SetDone();
        else if (failure.isEmpty())
            failure = tr("The machine offers no platform.");
    } catch (const std::exception& error) {
        failure = QString::fromUtf8(error.what());
    }
    if (!alive || !_host.GetDatabase().Contains(scene))
        return;
    if (!failure.isEmpty() && !_jobs.IsCancelling())
        _boxes.ShowLater(failure);
    if (!creator)
        return;
    PlatformForm form = PlatformForm::Read(*creator);
    const QString id = Hosting::ToQUuid(machine->GetMachineData().id).toString(QUuid::WithoutBraces);
    form.Remember(_preferences.GetChoices(id));
    auto* const dialog = new NewPlatformDialog(
        std::move(form), static_cast<int>(scene->GetParts().size()),
        [this, creator, id](const PlatformForm& i_form, NewPlatformDialog::Parts i_parts) {
            const QString sentence = _MakePlatform(*creator, i_form, static_cast<int>(i_parts));
            if (sentence.isEmpty())
                _preferences.SetChoices(id, i_form.GetChosen());
            return sentence;
        },
        this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &NewPlatformDialog::CancelWanted, this, &MainWindow::CancelJob);
    dialog->open();
}

QString MainWindow::_MakePlatform(MachineService::IPlatformCreator& io_creator, const PlatformForm& i_form, int i_parts)
{
    const auto parts = static_cast<NewPlatformDialog::Parts>(i_parts);
    VexlorCore::DataSet* scene = _book.GetActive();
    if (!scene)
        return tr("The scene was closed.");
    try {
        i_form.Write(io_creator);
        if (parts == NewPlatformDialog::Parts::NewScene) {
            const auto machine = _host.GetClient().TryGetPrinter(scene);
            scene = &_book.New();
            if (machine)
                _host.GetClient().HandleMachineChanged(scene, Hosting::ToQUuid(machine->GetMachineData().id));
        }
        const auto recorder = _recorder;
        JobRecorder::Command entry(*recorder, tr("Make a platform"));
        const QPointer<MainWindow> alive(this);
        const bool isMade = io_creator.CreatePlatform(scene, parts == NewPlatformDialog::Parts::Keep);
        if (!alive)
            return {};
        if (!isMade)
            return tr("The machine gave no platform.");
        entry.SetDone();
        _ShowAttachments();
        return {};
    } catch (const std::exception& failure) {
        return QString::fromUtf8(failure.what());
    }
}

void MainWindow::RunCommand(const QString& i_id)
{
    auto* const command = _ribbon->GetManager().GetCommand(i_id);
    if (!command || !command->IsEnabled() || _jobs.IsRunning())
        return;
    VexlorCore::DataSet* const scene = _book.GetActive();
    const QPointer<MainWindow> alive(this);
    const auto recorder = _recorder;
    {
        JobRecorder::Command entry(*recorder, command->GetTitle());
        const QString title = command->GetTitle();
        const auto estimates = scene ? Hosting::ReadEstimates(scene->GetPlatform()) : std::nullopt;
        const std::size_t steps = _book.GetHistory().CountSteps(scene);
        // Returns when the job has ended; everything else goes on meanwhile.
        if (command->Exec())
            entry.SetDone();
        if (!alive)
            return;
        if (scene && _host.GetDatabase().Contains(scene)) {
            if (_book.GetHistory().CountSteps(scene) > steps)
                _book.GetHistory().NameNewest(scene, tr("%1 of '%2'").arg(title, _book.GetName(*scene)));
            if (const auto file = Hosting::GetMachineFile(scene->GetPlatform()); !file.empty() && _jobs.IsRunning())
                _jobs.AddFile(Hosting::FromPath(file));
            // A command that only moves parts leaves those of before.
            if (MakesEstimates(i_id) || Hosting::ReadEstimates(scene->GetPlatform()) != estimates)
                _NoteEstimates(*scene);
        }
    }
    if (scene && _host.GetDatabase().Contains(scene))
        _ShowScene(scene);
    _recovery.KeepNow();
}

void MainWindow::_NoteEstimates(const VexlorCore::DataSet& i_scene)
{
    if (Hosting::ReadEstimates(i_scene.GetPlatform()))
        _estimated[&i_scene] = GetFingerprint(i_scene.GetPlatform());
}

void MainWindow::CancelJob()
{
    if (!_jobs.IsRunning())
        return;
    _jobs.SetCancelling();
    _host.GetApiProvider().CancelCurrentJob();
}

void MainWindow::_ShowJob()
{
    _actions->Get(MainActions::CancelJob)->setEnabled(_jobs.IsRunning() && !_jobs.IsCancelling());
    _actions->Get(MainActions::NewPlatform)
        ->setEnabled(!_jobs.IsRunning() && _host.GetClient().TryGetPrinter(_book.GetActive()).has_value());
    _ribbon->UpdateCommands();
    if (const JobList::Entry* const job = _jobs.GetNewest(); job && !_jobs.IsRunning()) {
        statusBar()->showMessage(tr("%1: %2").arg(job->title, JobList::GetStateName(*job)), 8000);
        if (_closesAfterJob)
            // When the command has come back to its caller.
            QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
    }
}

} // namespace Workbench
