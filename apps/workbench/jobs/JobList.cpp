#include "workbench/jobs/JobList.h"

#include <algorithm>

namespace Workbench {

namespace {

constexpr int TickInterval = 500; ///< ms
constexpr std::size_t MaxEntries = 200;

QString ToLine(const QString& i_name, const QString& i_value)
{
    return i_value.isEmpty() ? QString() : QStringLiteral("%1: %2\n").arg(i_name, i_value);
}

} // namespace

JobList::JobList(QObject* ip_parent)
    : QAbstractTableModel(ip_parent)
{
    connect(&_tick, &QTimer::timeout, this, &JobList::_Tell);
}

void JobList::Begin(const QString& i_title, const QString& i_machine, const QString& i_scene)
{
    if (_entries.size() == MaxEntries) {
        beginRemoveRows({}, static_cast<int>(MaxEntries) - 1, static_cast<int>(MaxEntries) - 1);
        _entries.pop_back();
        endRemoveRows();
    }
    beginInsertRows({}, 0, 0);
    Entry entry;
    entry.title = i_title;
    entry.machine = i_machine;
    entry.scene = i_scene;
    entry.begun = QDateTime::currentDateTime();
    _entries.insert(_entries.begin(), entry);
    endInsertRows();
    _clock.start();
    _tick.start(TickInterval);
    Q_EMIT Begun();
    Q_EMIT NewestChanged();
}

void JobList::SetProgress(int i_percent, const QString& i_stage)
{
    if (!IsRunning())
        return;
    Entry& entry = _entries.front();
    entry.percent = std::max(entry.percent, std::clamp(i_percent, 0, 100));
    if (!i_stage.isEmpty())
        entry.stage = i_stage.simplified();
    _Tell();
}

void JobList::SetCancelling()
{
    if (!IsRunning())
        return;
    _entries.front().state = State::Cancelling;
    _Tell();
}

void JobList::AddFailure(const QString& i_text)
{
    if (_entries.empty())
        return;
    _entries.front().failures << i_text;
    _Tell();
}

void JobList::AddFile(const QString& i_file)
{
    if (_entries.empty() || _entries.front().files.contains(i_file))
        return;
    _entries.front().files << i_file;
    _Tell();
}

void JobList::End(bool i_is_done)
{
    if (!IsRunning())
        return;
    Entry& entry = _entries.front();
    entry.milliseconds = _clock.elapsed();
    if (i_is_done) {
        entry.state = State::Done;
        // What is told last may not have come any more.
        entry.percent = 100;
    } else {
        entry.state = entry.state == State::Cancelling ? State::Cancelled : State::Failed;
    }
    _tick.stop();
    _Tell();
    Q_EMIT Ended();
}

void JobList::_Tell()
{
    if (IsRunning())
        _entries.front().milliseconds = _clock.elapsed();
    Q_EMIT dataChanged(index(0, 0), index(0, ColumnCount - 1));
    Q_EMIT NewestChanged();
}

const JobList::Entry* JobList::GetEntry(int i_row) const
{
    return i_row >= 0 && i_row < rowCount() ? &_entries[static_cast<std::size_t>(i_row)] : nullptr;
}

QString JobList::GetStateName(const Entry& i_entry)
{
    switch (i_entry.state) {
    case State::Running:
        return tr("Running");
    case State::Cancelling:
        return tr("Cancelling");
    case State::Done:
        return tr("Done");
    case State::Cancelled:
        return tr("Cancelled");
    case State::Failed:
        break;
    }
    return tr("Failed");
}

QString JobList::GetDuration(const Entry& i_entry)
{
    const qint64 seconds = i_entry.milliseconds / 1000;
    if (seconds < 60)
        return tr("%1 s").arg(seconds);
    if (seconds < 3600)
        return tr("%1 min %2 s").arg(seconds / 60).arg(seconds % 60);
    return tr("%1 h %2 min").arg(seconds / 3600).arg(seconds / 60 % 60);
}

QString JobList::Describe(int i_row) const
{
    const Entry* const entry = GetEntry(i_row);
    if (!entry)
        return {};
    return ToLine(tr("Command"), entry->title) + ToLine(tr("Machine"), entry->machine) +
           ToLine(tr("Scene"), entry->scene) + ToLine(tr("Begun"), entry->begun.toString(Qt::ISODate)) +
           ToLine(tr("Time"), GetDuration(*entry)) + ToLine(tr("Result"), GetStateName(*entry)) +
           ToLine(tr("Last stage"), entry->stage) + ToLine(tr("Failure"), entry->failures.join(QLatin1Char('\n'))) +
           ToLine(tr("Files"), entry->files.join(QLatin1Char('\n')));
}

int JobList::rowCount(const QModelIndex& i_parent) const
{
    return i_parent.isValid() ? 0 : static_cast<int>(_entries.size());
}

int JobList::columnCount(const QModelIndex& i_parent) const
{
    return i_parent.isValid() ? 0 : ColumnCount;
}

QVariant JobList::data(const QModelIndex& i_index, int i_role) const
{
    const Entry* const entry = GetEntry(i_index.row());
    if (!entry)
        return {};
    if (i_role == Qt::ToolTipRole)
        return entry->failures.join(QLatin1Char('\n'));
    if (i_role != Qt::DisplayRole && i_role != Qt::AccessibleTextRole)
        return {};
    switch (i_index.column()) {
    case TitleColumn:
        return entry->title;
    case MachineColumn:
        return entry->machine;
    case StateColumn:
        if (entry->state == State::Running)
            return tr("%1 %").arg(entry->percent);
        return entry->failures.isEmpty() ? GetStateName(*entry)
                                         : GetStateName(*entry) + QStringLiteral(": ") + entry->failures.front();
    case TimeColumn:
        return GetDuration(*entry);
    default:
        return {};
    }
}

QVariant JobList::headerData(int i_section, Qt::Orientation i_orientation, int i_role) const
{
    if (i_orientation != Qt::Horizontal || i_role != Qt::DisplayRole)
        return {};
    switch (i_section) {
    case TitleColumn:
        return tr("Command");
    case MachineColumn:
        return tr("Machine");
    case StateColumn:
        return tr("Result");
    case TimeColumn:
        return tr("Time");
    default:
        return {};
    }
}

} // namespace Workbench
