#pragma once

#include "machineservice_export.h"

#include <QEvent>

#include <functional>

namespace MachineService {

/// Carries a job to the UI thread: post it to the CommunicationClient, which runs it.
///
/// Ownership: Qt's event queue takes a posted event.
class MACHINESERVICE_EXPORT UIJobEvent : public QEvent
{
public:
    /// \param i_job may be empty.
    explicit UIJobEvent(std::function<void()> i_job);
    UIJobEvent(const UIJobEvent& i_other);
    UIJobEvent(UIJobEvent&& io_other);
    UIJobEvent& operator=(const UIJobEvent& i_other);
    UIJobEvent& operator=(UIJobEvent&& io_other);
    ~UIJobEvent() override;

    /// The type of all job events.
    /// Thread: any.
    static QEvent::Type GetEventId();

    void DoJob();

private:
    std::function<void()> _job;
};

} // namespace MachineService
