#include "workbench/posted/PostedJobs.h"

#include "hosting/jobs/JobsClient.h"
#include "hosting/jobs/JobsError.h"
#include "tavsdk/Path.h"
#include "workbench/look/LineIcon.h"
#include "workbench/posted/PostedWords.h"

#include <algorithm>
#include <utility>

namespace Workbench {

namespace {

namespace Jobs = Hosting::Jobs;

constexpr int PauseInterval = 100;   ///< ms
constexpr int RepeatInterval = 2000; ///< ms, after a failure
constexpr int AgeInterval = 20'000;  ///< ms
constexpr std::size_t ManyJobs = 20; ///< one question for all of them is less work

QString GetStateText(const Jobs::Job& i_job)
{
    const QString progress = PostedWords::GetProgress(i_job);
    const QString state = PostedWords::GetState(i_job);
    return progress.isEmpty() ? state : state + QStringLiteral(", ") + progress;
}

} // namespace

PostedJobs::PostedJobs(const MakeJobSource& i_make_source, std::chrono::milliseconds i_patience, QObject* ip_parent)
    : QAbstractTableModel(ip_parent)
    , _makeSource(i_make_source)
    , _watch(i_make_source, i_patience)
{
    _pause.setSingleShot(true);
    connect(&_pause, &QTimer::timeout, this, &PostedJobs::_Ask);
    connect(&_tick, &QTimer::timeout, this, [this] {
        if (!_jobs.empty())
            Q_EMIT dataChanged(index(0, AgeColumn), index(rowCount() - 1, AgeColumn));
    });
    _tick.start(AgeInterval);
    connect(&_watch, &JobsWatch::Reached, this, [this](const QString& i_user) { _user = i_user.toStdString(); });
    connect(&_watch, &JobsWatch::Lost, this, &PostedJobs::SetAway);
    connect(&_watch, &JobsWatch::Changed, this, [this] { _Note(_watch.Take()); });
}

void PostedJobs::_SetState(State i_state, const QString& i_why)
{
    _state = i_state;
    _why = i_why;
    Q_EMIT StateChanged();
}

void PostedJobs::SetAway(const QString& i_why)
{
    _SetState(State::Away, i_why);
}

void PostedJobs::_Note(JobsWatch::Changes i_changes)
{
    _changes.isAll |= i_changes.isAll;
    _changes.areMachines |= i_changes.areMachines;
    _changes.jobs.merge(i_changes.jobs);
    if (!_isAsking && !_pause.isActive())
        _pause.start(PauseInterval);
}

PostedJobs::Answer PostedJobs::_Fetch(const IJobSource& i_source, const JobsWatch::Changes& i_changes,
                                      const std::string& i_user)
{
    Answer answer;
    Jobs::Filter filter;
    filter.owner = i_user;
    filter.count = PageSize;
    if (i_changes.isAll || i_changes.jobs.size() > ManyJobs)
        answer.newest = i_source.List(filter);
    // Why a job waits is told by the machines, and changes without the job.
    if (i_changes.areMachines && !answer.newest) {
        filter.states = {"pending", "pending-held"};
        answer.jobs = i_source.List(filter).jobs;
    }
    for (const std::string& id : i_changes.jobs) {
        try {
            if (Job job = i_source.GetJob(id); job.owner == i_user)
                answer.jobs.push_back(std::move(job));
        } catch (const Hosting::JobsError& failure) {
            if (failure.GetKind() != Hosting::JobsError::Kind::NotFound)
                throw;
            answer.gone.insert(id);
        }
    }
    return answer;
}

void PostedJobs::_Ask()
{
    const JobsWatch::Changes changes = std::exchange(_changes, {});
    _isAsking = true;
    _background.Run([make = _makeSource, changes,
                     user = _user](const std::stop_token& i_stop) { return _Fetch(*make(i_stop), changes, user); },
                    [this](const Answer& i_answer) {
                        _isAsking = false;
                        _Take(i_answer);
                        if (_changes.isAll || _changes.areMachines || !_changes.jobs.empty())
                            _pause.start(PauseInterval);
                    },
                    [this](const QString&) {
                        // The watch tells of a manager that is lost; whatever else it was, what is shown may be wrong.
                        _isAsking = false;
                        _changes.isAll = true;
                        _pause.start(RepeatInterval);
                    });
}

void PostedJobs::_Take(const Answer& i_answer)
{
    const std::int64_t former = _newest;
    if (i_answer.newest)
        _TakeNewest(*i_answer.newest);
    for (const Job& job : i_answer.jobs)
        _Put(job);
    for (const std::string& id : i_answer.gone)
        _Remove(FindRow(QString::fromStdString(id)));
    _SetState(State::There, {});
    if (former >= 0 && !_jobs.empty() && _jobs.front().number > former)
        Q_EMIT Arrived(QString::fromStdString(_jobs.front().id));
}

void PostedJobs::_TakeNewest(const Jobs::JobPage& i_page)
{
    const bool isLast = !i_page.next || i_page.jobs.empty();
    const std::int64_t lowest = isLast ? 0 : i_page.jobs.back().number;
    std::set<std::string> known;
    for (const Job& job : i_page.jobs)
        known.insert(job.id);
    for (int row = rowCount() - 1; row >= 0; --row) {
        const Job& job = *GetJob(row);
        if (job.number >= lowest && known.count(job.id) == 0)
            _Remove(row);
    }
    // Of pages that were loaded before, the last one says whether there are more.
    if (isLast || _jobs.empty() || _jobs.back().number >= lowest)
        _next = i_page.next;
    _newest = std::max<std::int64_t>(_newest, 0);
    for (const Job& job : i_page.jobs)
        _Put(job);
}

void PostedJobs::_Put(const Job& i_job)
{
    const auto place = std::lower_bound(_jobs.begin(), _jobs.end(), i_job.number,
                                        [](const Job& i_left, auto i_number) { return i_left.number > i_number; });
    const int row = static_cast<int>(place - _jobs.begin());
    _newest = std::max(_newest, i_job.number);
    if (place != _jobs.end() && place->id == i_job.id) {
        // Answers may come in another order than they were given.
        if (i_job.version < place->version)
            return;
        *place = i_job;
        Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
        return;
    }
    beginInsertRows({}, row, row);
    _jobs.insert(place, i_job);
    endInsertRows();
}

void PostedJobs::_Remove(int i_row)
{
    if (i_row < 0)
        return;
    beginRemoveRows({}, i_row, i_row);
    _jobs.erase(_jobs.begin() + i_row);
    endRemoveRows();
}

void PostedJobs::LoadMore()
{
    if (!_next || std::exchange(_isLoadingMore, true))
        return;
    Jobs::Filter filter;
    filter.owner = _user;
    filter.count = PageSize;
    filter.after = *_next;
    _background.Run([make = _makeSource, filter](const std::stop_token& i_stop) { return make(i_stop)->List(filter); },
                    [this](const Jobs::JobPage& i_page) {
                        _isLoadingMore = false;
                        _next = i_page.next;
                        for (const Job& job : i_page.jobs)
                            _Put(job);
                        Q_EMIT StateChanged();
                    },
                    [this](const QString& i_sentence) {
                        _isLoadingMore = false;
                        Q_EMIT Failed(i_sentence);
                    });
}

bool PostedJobs::Allows(const Job& i_job, Jobs::Action i_action) const
{
    if (_state != State::There || IsActing(QString::fromStdString(i_job.id)))
        return false;
    // A printer that is heard of says itself when it is done.
    const bool isForPeople = i_action == Jobs::Action::StartAgain || i_action == Jobs::Action::ConfirmDone;
    if (isForPeople && i_job.state != "processing-stopped")
        return false;
    return std::find(i_job.actions.begin(), i_job.actions.end(), Hosting::GetKeyword(i_action)) != i_job.actions.end();
}

template <class Work, class Done>
void PostedJobs::_Do(const QString& i_job, Work i_work, Done i_done)
{
    if (IsActing(i_job))
        return;
    _acting.insert(i_job);
    Q_EMIT StateChanged();
    const auto end = [this, i_job] {
        _acting.remove(i_job);
        Q_EMIT StateChanged();
    };
    _background.Run([make = _makeSource, id = i_job.toStdString(),
                     work = std::move(i_work)](const std::stop_token& i_stop) { return work(*make(i_stop), id); },
                    [end, done = std::move(i_done)](const auto& i_result) {
                        done(i_result);
                        end();
                    },
                    [this, i_job, end](const QString& i_sentence) {
                        end();
                        // It may have failed because the job is not any more as it is shown.
                        JobsWatch::Changes changes;
                        changes.jobs.insert(i_job.toStdString());
                        _Note(std::move(changes));
                        Q_EMIT Failed(i_sentence);
                    });
}

void PostedJobs::Act(const QString& i_job, Jobs::Action i_action)
{
    _Do(
        i_job, [i_action](const IJobSource& i_source, const std::string& i_id) { return i_source.Act(i_id, i_action); },
        [this](const Job& i_changed) { _Put(i_changed); });
}

void PostedJobs::SaveMachineFile(const QString& i_job, const QString& i_file)
{
    _Do(
        i_job,
        [i_file](const IJobSource& i_source, const std::string& i_id) {
            i_source.SaveMachineFile(i_id, TavSDK::PathFromUtf8(i_file.toUtf8().toStdString()));
            return i_file;
        },
        [this](const QString& i_saved) { Q_EMIT Saved(i_saved); });
}

void PostedJobs::MakePage(const QString& i_job)
{
    _Do(
        i_job,
        [](const IJobSource& i_source, const std::string& i_id) {
            return QUrl(QString::fromStdString(i_source.MakePageAddress(i_id)));
        },
        [this](const QUrl& i_address) { Q_EMIT PageMade(i_address); });
}

const Jobs::Job* PostedJobs::GetJob(int i_row) const
{
    return i_row >= 0 && i_row < rowCount() ? &_jobs[static_cast<std::size_t>(i_row)] : nullptr;
}

int PostedJobs::FindRow(const QString& i_job) const
{
    const std::string id = i_job.toStdString();
    const auto place = std::find_if(_jobs.begin(), _jobs.end(), [&](const Job& i_known) { return i_known.id == id; });
    return place == _jobs.end() ? -1 : static_cast<int>(place - _jobs.begin());
}

int PostedJobs::rowCount(const QModelIndex& i_parent) const
{
    return i_parent.isValid() ? 0 : static_cast<int>(_jobs.size());
}

int PostedJobs::columnCount(const QModelIndex& i_parent) const
{
    return i_parent.isValid() ? 0 : ColumnCount;
}

QVariant PostedJobs::data(const QModelIndex& i_index, int i_role) const
{
    const Job* const job = GetJob(i_index.row());
    if (!job)
        return {};
    if (i_role == Qt::DecorationRole)
        return i_index.column() == StateColumn ? MakeLineIcon(PostedWords::GetIcon(*job)) : QVariant();
    if (i_role == Qt::ToolTipRole)
        return PostedWords::GetReason(*job);
    // A reader that goes from row to row tells all of it.
    if (i_role == Qt::AccessibleTextRole && i_index.column() == NameColumn) {
        QStringList texts{PostedWords::GetTitle(*job), GetStateText(*job), PostedWords::GetMachine(*job),
                          PostedWords::GetAge(*job)};
        texts.removeAll(QString());
        return texts.join(QStringLiteral(", "));
    }
    if (i_role != Qt::DisplayRole && i_role != Qt::AccessibleTextRole)
        return {};
    switch (i_index.column()) {
    case NameColumn:
        return QString::fromStdString(job->name).simplified();
    case StateColumn:
        return GetStateText(*job);
    case MachineColumn:
        return PostedWords::GetMachine(*job);
    case AgeColumn:
        return PostedWords::GetAge(*job);
    default:
        return {};
    }
}

QVariant PostedJobs::headerData(int i_section, Qt::Orientation i_orientation, int i_role) const
{
    if (i_orientation != Qt::Horizontal || i_role != Qt::DisplayRole)
        return {};
    switch (i_section) {
    case NameColumn:
        return tr("Job");
    case StateColumn:
        return tr("State");
    case MachineColumn:
        return tr("Machine");
    case AgeColumn:
        return tr("Age");
    default:
        return {};
    }
}

} // namespace Workbench
