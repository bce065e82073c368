#pragma once

#include <QObject>

#include <functional>
#include <stop_token>

class QSocketNotifier;

namespace Hosting {

/// Thrown where work ends because the user interrupted the program. No std::exception: it is no failure to report.
struct Interruption
{};

/// Brings the signals that end a program into its event loop, so that it ends in order: SIGINT (Ctrl-C), SIGTERM and
/// SIGHUP, the last unless it is ignored, as under nohup. One per process.
///
/// Thread: UI thread.
class InterruptWatcher final : public QObject
{
    Q_OBJECT

public:
    /// From now on signals are only noted, also those that come before there is a watcher. Harmless again.
    static void CatchSignals();

    /// \param i_on_interrupt called by the event loop, once per signal.
    explicit InterruptWatcher(std::function<void()> i_on_interrupt, QObject* ip_parent = nullptr);
    /// Forgets the signals that came.
    ~InterruptWatcher() override;

    /// As a signal does.
    void Interrupt();
    /// Knows of a signal at once, whether or not the event loop turns.
    bool WasInterrupted() const;
    /// \throws Interruption
    void ThrowIfInterrupted() const;
    /// For work on other threads. Asks to stop as soon as the event loop turns.
    std::stop_token GetStopToken() const { return _stop.get_token(); }

private Q_SLOTS:
    void _ReadSignal();

private:
    std::function<void()> _onInterrupt;
    std::stop_source _stop;
    QSocketNotifier* _notifier;
};

} // namespace Hosting
