#pragma once

#include "workbench/plate/Problems.h"

#include <QObject>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace Workbench {

class PlateModel;

/// Keeps the problems of a plate up to date: looks for them on a thread of its own after every change, and gives up
/// what it is at when the next change comes.
///
/// Thread: UI thread.
/// Ownership: the model must outlive it.
class ProblemFinder final : public QObject
{
    Q_OBJECT

public:
    explicit ProblemFinder(PlateModel& io_model, QObject* ip_parent = nullptr);
    /// Waits for the search at hand to be given up, some milliseconds.
    ~ProblemFinder() override;

    /// The model's problems are not those of what it shows now.
    bool IsBusy() const { return _isBusy; }

Q_SIGNALS:
    /// The model has the problems of what it shows now.
    void Finished();

private:
    struct Question
    {
        PlateBed bed;
        std::vector<PlatePart> parts;
        std::stop_source stop;
        int number = 0;
    };

    void _Ask();
    void _Work(const std::stop_token& i_stop);
    void _Take(int i_number, const std::vector<PlateProblem>& i_problems);

    PlateModel& _model;
    int _number = 0;
    bool _isBusy = false;

    std::mutex _mutex; ///< guards _question and _running
    std::condition_variable_any _wake;
    std::optional<Question> _question; ///< the next one
    std::stop_source _running;         ///< of the one at hand
    std::jthread _worker;              ///< last: ended before what it uses goes
};

} // namespace Workbench
