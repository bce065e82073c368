#include "workbench/jobs/JobRecorder.h"

#include "workbench/jobs/JobList.h"

#include <utility>

namespace Workbench {

JobRecorder::JobRecorder(JobList& io_jobs, GetNames i_get_names)
    : _jobs(&io_jobs)
    , _getNames(std::move(i_get_names))
{}

void JobRecorder::Begin(const QString& i_title)
{
    if (!_jobs || (_isInCommand && _isListed))
        return;
    _isListed = true;
    const auto [machine, scene] = _getNames();
    _jobs->Begin(_isInCommand ? _title : i_title, machine, scene);
}

void JobRecorder::SetProgress(int i_percent, const QString& i_stage)
{
    if (_jobs)
        _jobs->SetProgress(i_percent, i_stage);
}

void JobRecorder::End()
{
    if (_jobs && !_isInCommand)
        _jobs->End(!_jobs->IsCancelling());
}

JobRecorder::Command::Command(JobRecorder& io_recorder, const QString& i_title)
    : _recorder(io_recorder)
    , _isOutermost(!io_recorder._isInCommand)
{
    if (!_isOutermost)
        return;
    _recorder._isInCommand = true;
    _recorder._isListed = false;
    _recorder._title = i_title;
}

JobRecorder::Command::~Command()
{
    if (!_isOutermost)
        return;
    _recorder._isInCommand = false;
    if (_recorder._jobs && _recorder._isListed)
        _recorder._jobs->End(_isDone);
}

} // namespace Workbench
