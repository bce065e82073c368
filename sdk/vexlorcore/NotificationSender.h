#pragma once

#include "vexlorcore/Notifications.h"

namespace VexlorCore {

/// Sends a scene's notifications to the listeners of its database.
/// Thread: UI thread.
class NotificationSender
{
public:
    virtual ~NotificationSender() = default;
    virtual void Send(const INotification& i_notification) = 0;
};

} // namespace VexlorCore
