#pragma once

#include "vexlorui/ReferenceApiProvider.h"

#include <QPointer>
#include <QString>

#include <functional>

namespace Workbench {

class JobList;

/// Brings what the library tells of its jobs into the list: a progress display that blocks nobody.
///
/// Thread: UI thread. It outlives the list where a job still runs then.
class JobRecorder final : public Vexlor::IProgressDisplay
{
public:
    /// \param i_get_names machine and scene that a job is about.
    using GetNames = std::function<std::pair<QString, QString>()>;
    JobRecorder(JobList& io_jobs, GetNames i_get_names);

    void Begin(const QString& i_title) override;
    void SetProgress(int i_percent, const QString& i_stage) override;
    void End() override;

    /// From here to the end of the scope one entry of this title stands for all jobs that are run, and ends as told.
    class Command
    {
    public:
        Command(JobRecorder& io_recorder, const QString& i_title);
        ~Command();
        Command(const Command&) = delete;
        Command& operator=(const Command&) = delete;
        void SetDone() { _isDone = true; }

    private:
        JobRecorder& _recorder;
        const bool _isOutermost;
        bool _isDone = false;
    };

private:
    QPointer<JobList> _jobs;
    GetNames _getNames;
    bool _isInCommand = false;
    bool _isListed = false; ///< the command of the scope has an entry
    QString _title;
};

} // namespace Workbench
