#pragma once

#include <QObject>
#include <QString>
#include <QThreadPool>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace Workbench {

/// Runs what must wait (files, meshes) off the UI thread and brings the outcome back to it.
///
/// Thread: UI thread. Destroying it asks all work to stop and waits for it; nothing is delivered then.
class Background final : public QObject
{
    Q_OBJECT

public:
    explicit Background(QObject* ip_parent = nullptr);
    ~Background() override;

    /// \param i_work gets a std::stop_token; on a thread of a pool.
    /// \param i_done gets what i_work returned; on the UI thread.
    /// \param i_failed gets the sentence of the exception that i_work threw; on the UI thread.
    template <class Work, class Done>
    void Run(Work i_work, Done i_done, std::function<void(const QString&)> i_failed)
    {
        using Result = std::invoke_result_t<Work&, std::stop_token>;
        auto result = std::make_shared<std::unique_ptr<Result>>();
        _Run([result, work = std::move(i_work)](
                 const std::stop_token& i_stop) mutable { *result = std::make_unique<Result>(work(i_stop)); },
             [result, done = std::move(i_done)]() mutable { done(std::move(**result)); }, std::move(i_failed));
    }

    /// Work that was begun and not yet delivered.
    int GetPending() const { return _pending; }

Q_SIGNALS:
    void PendingChanged(int i_pending);

private:
    void _Run(std::function<void(const std::stop_token&)> i_work, std::function<void()> i_done,
              std::function<void(const QString&)> i_failed);

    QThreadPool _pool;
    std::stop_source _stop;
    int _pending = 0;
};

/// What a machine service answers, in work for a Background; nothing yet, as a default value, once somebody asks to
/// stop.
template <class Answer>
Answer Await(std::future<Answer>& io_answer, const std::stop_token& i_stop)
{
    while (io_answer.wait_for(std::chrono::milliseconds(50)) != std::future_status::ready) {
        if (i_stop.stop_requested())
            return Answer();
    }
    return io_answer.get();
}

} // namespace Workbench
