#include "workbench/plate/ProblemFinder.h"

#include "workbench/plate/PlateModel.h"

#include <QMetaObject>
#include <QtGlobal>

#include <exception>
#include <utility>

namespace Workbench {

ProblemFinder::ProblemFinder(PlateModel& io_model, QObject* ip_parent)
    : QObject(ip_parent)
    , _model(io_model)
    , _worker([this](const std::stop_token& i_stop) { _Work(i_stop); })
{
    connect(&_model, &PlateModel::Changed, this, &ProblemFinder::_Ask);
    _Ask();
}

ProblemFinder::~ProblemFinder()
{
    _worker.request_stop();
    {
        const std::lock_guard lock(_mutex);
        _running.request_stop();
    }
    _worker.join();
}

void ProblemFinder::_Ask()
{
    Question question{_model.GetBed(), _model.GetParts(), {}, ++_number};
    _isBusy = true;
    const std::lock_guard lock(_mutex);
    _running.request_stop();
    _question = std::move(question);
    _wake.notify_one();
}

void ProblemFinder::_Work(const std::stop_token& i_stop)
{
    while (true) {
        Question question;
        {
            std::unique_lock lock(_mutex);
            if (!_wake.wait(lock, i_stop, [this] { return _question.has_value(); }) || i_stop.stop_requested())
                return;
            question = std::move(*_question);
            _question.reset();
            _running = question.stop;
        }
        std::vector<PlateProblem> problems;
        try {
            problems = FindProblems(question.bed, question.parts, question.stop.get_token());
        } catch (const std::exception& error) {
            qWarning("The plate cannot be checked: %s", error.what());
        }
        if (question.stop.stop_requested())
            continue;
        QMetaObject::invokeMethod(
            this, [this, number = question.number, problems] { _Take(number, problems); }, Qt::QueuedConnection);
    }
}

void ProblemFinder::_Take(int i_number, const std::vector<PlateProblem>& i_problems)
{
    if (i_number != _number)
        return;
    _isBusy = false;
    _model.SetProblems(i_problems);
    Q_EMIT Finished();
}

} // namespace Workbench
