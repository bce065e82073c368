#pragma once

#include "vexlorcore/Notifications.h"
#include "vexlorcore_export.h"

#include <memory>
#include <vector>

namespace VexlorCore {

class ListenerList;

/// Receives the host's notifications while it is listening.
///
/// Add it to the lists whose notifications it wants (Database::AddListener, OperationManagerBase::AddListener), then
/// call StartListening. Its destructor takes it out of every list that it is still in.
///
/// Thread: UI thread.
/// Ownership: lists do not own their listeners.
class VEXLORCORE_EXPORT MListener
{
public:
    virtual ~MListener();
    MListener(const MListener&) = delete;
    MListener& operator=(const MListener&) = delete;

    void StartListening();
    void StopListening();
    bool IsListening() const { return _listening; }

    /// Delivers to ExecuteSelf when listening.
    void Execute(const INotification& i_notification);

protected:
    MListener();

    virtual void ExecuteSelf(const INotification& i_notification) = 0;

private:
    friend class ListenerList;
    bool _listening = false;
    std::vector<ListenerList*> _lists;
};

/// The listeners of one source of notifications.
///
/// A listener may add and remove listeners, itself included, and be destroyed while a notification is delivered: the
/// one that is gone gets nothing more, the new one gets the next notification.
class VEXLORCORE_EXPORT ListenerList
{
public:
    ListenerList();
    ~ListenerList();
    ListenerList(const ListenerList&) = delete;
    ListenerList& operator=(const ListenerList&) = delete;

    /// Adding twice is adding once.
    void Add(MListener* ip_listener);
    void Remove(MListener* ip_listener);
    /// To all listeners in the order of adding.
    void Send(const INotification& i_notification);

private:
    struct State;
    std::shared_ptr<State> _state;
};

} // namespace VexlorCore
