#pragma once

#include "workbench/base/Background.h"
#include "workbench/posted/IJobSource.h"
#include "workbench/posted/JobsWatch.h"

#include <QAbstractTableModel>
#include <QSet>
#include <QString>
#include <QTimer>
#include <QUrl>

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

namespace Workbench {

/// The user's own jobs at a Machine Manager, the newest first, as they change; and what is done with them.
///
/// Of many jobs the newest page is kept up to date as a whole; older pages come when they are asked for, and follow
/// their own changes.
///
/// Thread: UI thread; nothing waits for the manager.
/// Errors: told by Failed.
class PostedJobs final : public QAbstractTableModel
{
    Q_OBJECT

public:
    enum class State
    {
        Starting, ///< nothing is known yet
        There,
        Away, ///< what is shown is as it was last
    };
    enum Column
    {
        NameColumn,
        StateColumn, ///< with the progress
        MachineColumn,
        AgeColumn,
        ColumnCount,
    };
    static constexpr int PageSize = 500;

    /// Listens at once. \param i_patience see JobsWatch.
    explicit PostedJobs(const MakeJobSource& i_make_source,
                        std::chrono::milliseconds i_patience = std::chrono::seconds(15), QObject* ip_parent = nullptr);

    State GetState() const { return _state; }
    /// Why it is away, a sentence.
    QString GetWhy() const { return _why; }
    /// For who knows it before this does.
    void SetAway(const QString& i_why);

    const Hosting::Jobs::Job* GetJob(int i_row) const;
    /// -1 when it is not there.
    int FindRow(const QString& i_job) const;
    /// There are older ones.
    bool HasMore() const { return _next.has_value(); }
    void LoadMore();

    /// The job is in a phase for it, the manager is there, and nothing else is being done with the job.
    bool Allows(const Hosting::Jobs::Job& i_job, Hosting::Jobs::Action i_action) const;
    bool IsActing(const QString& i_job) const { return _acting.contains(i_job); }
    void Act(const QString& i_job, Hosting::Jobs::Action i_action);
    /// \param i_file full path.
    void SaveMachineFile(const QString& i_job, const QString& i_file);
    /// Of the page at the job, see PageMade.
    void MakePage(const QString& i_job);

    int rowCount(const QModelIndex& i_parent = {}) const override;
    int columnCount(const QModelIndex& i_parent = {}) const override;
    QVariant data(const QModelIndex& i_index, int i_role) const override;
    QVariant headerData(int i_section, Qt::Orientation i_orientation, int i_role) const override;

Q_SIGNALS:
    /// The state, whether there are jobs or more of them, or what is being done with one.
    void StateChanged();
    /// One that came while it was listened.
    void Arrived(const QString& i_job);
    void Saved(const QString& i_file);
    void PageMade(const QUrl& i_address);
    void Failed(const QString& i_sentence);

private:
    using Job = Hosting::Jobs::Job;
    /// What the manager answered about some jobs.
    struct Answer
    {
        std::optional<Hosting::Jobs::JobPage> newest;
        std::vector<Job> jobs;
        std::set<std::string> gone;
    };

    static Answer _Fetch(const IJobSource& i_source, const JobsWatch::Changes& i_changes, const std::string& i_user);
    void _Note(JobsWatch::Changes i_changes);
    void _Ask();
    void _Take(const Answer& i_answer);
    void _TakeNewest(const Hosting::Jobs::JobPage& i_page);
    void _Put(const Job& i_job);
    void _Remove(int i_row);
    void _SetState(State i_state, const QString& i_why);
    /// Does something with a job; i_done gets what came out.
    template <class Work, class Done>
    void _Do(const QString& i_job, Work i_work, Done i_done);

    const MakeJobSource _makeSource;
    State _state = State::Starting;
    QString _why;
    std::string _user;
    std::vector<Job> _jobs; ///< the highest number first
    std::optional<std::int64_t> _next;
    std::int64_t _newest = -1; ///< highest number that was seen; below zero before the first page
    bool _isLoadingMore = false;
    bool _isAsking = false;
    JobsWatch::Changes _changes; ///< not asked about yet
    QSet<QString> _acting;
    QTimer _pause; ///< collects changes, so that many cost one question
    QTimer _tick;  ///< of the ages
    JobsWatch _watch;
    Background _background; ///< goes first
};

} // namespace Workbench
