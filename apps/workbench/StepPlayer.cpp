#include "workbench/StepPlayer.h"

#include "workbench/MainWindow.h"
#include "workbench/ScenePage.h"
#include "workbench/plate/PlateView.h"
#include "workbench/ribbon/CommandButton.h"
#include "workbench/ribbon/PrinterRibbon.h"

#include "hosting/MachineIds.h"

#include <QApplication>
#include <QDialog>
#include <QLineEdit>
#include <QPainter>
#include <QSaveFile>
#include <QScreen>

#include <functional>
#include <utility>

namespace Workbench {

namespace {

constexpr int Interval = 40; ///< ms
constexpr int QuietTurns = 5;
constexpr std::chrono::seconds Deadline{90};

QDialog* FindDialog()
{
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        if (auto* const dialog = qobject_cast<QDialog*>(widget); dialog && dialog->isVisible())
            return dialog;
    }
    return nullptr;
}

} // namespace

StepPlayer::StepPlayer(MainWindow& io_window, QStringList i_steps)
    : _window(io_window)
{
    for (const QString& step : i_steps) {
        const QString text = step.simplified();
        if (!text.isEmpty() && !text.startsWith(QLatin1Char('#')))
            _steps << text;
    }
    connect(&_timer, &QTimer::timeout, this, &StepPlayer::_Turn);
}

void StepPlayer::Start()
{
    _since = std::chrono::steady_clock::now();
    _timer.start(Interval);
}

bool StepPlayer::_IsAtRest() const
{
    if (_window.GetBook().IsBusy() || !_window.IsManagerSettled() || _window.GetMachines().GetMachineCount() == 0)
        return false;
    // A box is answered by the next step.
    if (_window.GetBoxes().GetOpen())
        return true;
    if (_window.GetJobs().IsRunning())
        return false;
    ScenePage* const page = _window.GetPage();
    if (page && page->GetPlate().isVisible() && !page->GetPlate().IsWholeFrameShown())
        return false;
    using Kind = MachineService::CommandRefusal::Kind;
    for (const CommandButton* const button : _window.GetRibbon().GetButtons()) {
        if (_window.GetRibbon().GetManager().GetRefusal(button->objectName()).kind == Kind::NotAnsweredYet)
            return false;
    }
    return true;
}

void StepPlayer::_Turn()
{
    // A step may turn the event loop itself.
    if (_isPlaying)
        return;
    if (std::chrono::steady_clock::now() - _since > Deadline) {
        _timer.stop();
        return Q_EMIT Failed(tr("The window did not come to rest."));
    }
    _quietTurns = !_waits || _IsAtRest() ? _quietTurns + 1 : 0;
    if (_quietTurns < QuietTurns)
        return;
    _quietTurns = 0;
    if (_steps.isEmpty()) {
        _timer.stop();
        return Q_EMIT Finished();
    }
    const QString step = _steps.takeFirst();
    _since = std::chrono::steady_clock::now();
    _isPlaying = true;
    const QString failure = _Play(step);
    _isPlaying = false;
    if (!failure.isEmpty()) {
        _timer.stop();
        Q_EMIT Failed(tr("Step '%1': %2").arg(step, failure));
    }
}

QString StepPlayer::_Attach(const QString& i_name)
{
    const MachineList& machines = _window.GetMachines();
    for (int service = 0; service < machines.rowCount(); ++service) {
        const QModelIndex parent = machines.index(service, 0);
        for (int row = 0; row < machines.rowCount(parent); ++row) {
            const QModelIndex machine = machines.index(row, 0, parent);
            if (machine.data().toString().compare(i_name, Qt::CaseInsensitive) == 0) {
                _window.Attach(machine.data(MachineList::IdRole).toUuid());
                return {};
            }
        }
    }
    return tr("there is no machine of this name.");
}

QString StepPlayer::_AnswerDialog(bool i_accept)
{
    QDialog* const dialog = FindDialog();
    if (!dialog)
        return tr("no dialog is open.");
    // It may turn the event loop until a machine has answered.
    QMetaObject::invokeMethod(dialog, i_accept ? "accept" : "reject", Qt::QueuedConnection);
    return {};
}

template <class Work>
QString StepPlayer::_Later(Work i_work)
{
    QMetaObject::invokeMethod(&_window, i_work, Qt::QueuedConnection);
    return {};
}

QString StepPlayer::_RunCommand(const QString& i_words)
{
    const QString id = i_words.section(QLatin1Char(' '), 0, 0);
    const CommandButton* const button = _window.GetRibbon().FindButton(id);
    if (!button)
        return tr("the machine has no such command.");
    if (button->IsRefused())
        return button->GetRefusal();
    return _Later([this, id] { _window.RunCommand(id); });
}

QString StepPlayer::_ShowTab(const QString& i_number)
{
    const auto scenes = _window.GetBook().GetScenes();
    const std::size_t number = i_number.toUInt();
    if (number < 1 || number > scenes.size())
        return tr("there is no such tab.");
    _window.GetBook().SetActive(scenes[number - 1]);
    return {};
}

QString StepPlayer::_Select(const QString& i_number)
{
    ScenePage* const page = _window.GetPage();
    const std::size_t number = i_number.toUInt();
    if (!page || number < 1 || number > page->GetScene().GetParts().size())
        return tr("there is no such part.");
    page->GetSelection().Set({page->GetScene().GetParts()[number - 1].GetRevisionId()});
    return {};
}

QString StepPlayer::_Search(const QString& i_words)
{
    _window.GetActions().Get(MainActions::FindMachine)->trigger();
    if (auto* const search = qobject_cast<QLineEdit*>(QApplication::focusWidget()))
        search->setText(i_words);
    return {};
}

QString StepPlayer::_Resize(const QString& i_size)
{
    const int width = i_size.section(QLatin1Char('x'), 0, 0).toInt();
    const int height = i_size.section(QLatin1Char('x'), 1).toInt();
    if (width < 100 || height < 100)
        return tr("the size is missing.");
    _window.resize(width, height);
    return {};
}

QString StepPlayer::_Play(const QString& i_step)
{
    const QString verb = i_step.section(QLatin1Char(' '), 0, 0);
    const QString rest = i_step.section(QLatin1Char(' '), 1);
    _waits = verb != QLatin1String("command") || !rest.endsWith(QLatin1String(" &"));
    const auto theme = rest == QLatin1String("dark")    ? Theme::Dark
                       : rest == QLatin1String("light") ? Theme::Light
                                                        : Theme::System;
    const auto unit = rest == QLatin1String("in") ? LengthUnit::Inch : LengthUnit::Millimetre;
    QString outcome = tr("it is unknown.");
    const auto on = [&](const char* ip_verb, auto i_work) {
        if (verb != QLatin1String(ip_verb))
            return;
        if constexpr (std::is_void_v<decltype(i_work())>) {
            i_work();
            outcome.clear();
        } else {
            outcome = i_work();
        }
    };
    const auto onTrigger = [&](const char* ip_verb, MainActions::Id i_id) {
        on(ip_verb, [&] { _window.GetActions().Get(i_id)->trigger(); });
    };
    on("wait", [] {});
    on("attach", [&] { return _Attach(rest); });
    on("platform", [&] { return _Later([this] { _window.NewPlatform(); }); });
    on("accept", [&] { return _AnswerDialog(true); });
    on("close", [&] { return _AnswerDialog(false); });
    on("command", [&] { return _RunCommand(rest); });
    on("cancel", [&] { return _Later([this] { _window.CancelJob(); }); });
    on("open", [&] { _window.TakeFiles({rest}); });
    on("new", [&] { _window.GetBook().New(); });
    on("tab", [&] { return _ShowTab(rest); });
    on("select", [&] { return _Select(rest); });
    on("search", [&] { return _Search(rest); });
    onTrigger("manager", MainActions::UseManager);
    onTrigger("shortcuts", MainActions::Shortcuts);
    onTrigger("settings", MainActions::Settings);
    onTrigger("report", MainActions::SupportReport);
    on("language", [&] { _window.GetPreferences().SetLanguage(rest); });
    on("lengths", [&] { _window.GetPreferences().SetLengthUnit(unit); });
    on("theme", [&] { _window.GetPreferences().SetTheme(theme); });
    on("size", [&] { return _Resize(rest); });
    return outcome;
}

QString StepPlayer::GetBackend(MainWindow& i_window)
{
    ScenePage* const page = i_window.GetPage();
    return page ? page->GetPlate().BackendName() : QString();
}

QString StepPlayer::WritePicture(MainWindow& i_window, const QString& i_file)
{
    QPixmap picture = i_window.grab();
    QPainter painter(&picture);
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(widget);
        if (!dialog || !dialog->isVisible())
            continue;
        // Where a window manager would show its frame.
        const QRect place(QPoint((i_window.width() - dialog->width()) / 2, (i_window.height() - dialog->height()) / 2),
                          dialog->size());
        painter.fillRect(picture.rect(), QColor(0, 0, 0, 70));
        painter.fillRect(place.adjusted(-1, -1, 1, 1), dialog->palette().color(QPalette::Mid));
        painter.drawPixmap(place, dialog->grab());
    }
    painter.end();
    QSaveFile file(i_file);
    if (!file.open(QIODevice::WriteOnly) || !picture.save(&file, "PNG") || !file.commit())
        return tr("'%1' cannot be written: %2.").arg(i_file, file.errorString());
    return {};
}

} // namespace Workbench
