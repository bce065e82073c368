#pragma once

#include <QObject>

#include <functional>

class QSocketNotifier;

namespace Workbench {

/// Brings Ctrl-C (SIGINT) and SIGTERM into the event loop, so that the program ends in order. One per process.
class InterruptWatcher final : public QObject
{
    Q_OBJECT

public:
    /// \param i_on_interrupt called on this object's thread, once per signal.
    explicit InterruptWatcher(std::function<void()> i_on_interrupt, QObject* ip_parent = nullptr);
    /// Gives the signals their former handlers back.
    ~InterruptWatcher() override;

    bool WasInterrupted() const { return _interrupted; }

private Q_SLOTS:
    void _ReadSignal();

private:
    std::function<void()> _onInterrupt;
    QSocketNotifier* _notifier;
    bool _interrupted = false;
};

} // namespace Workbench
