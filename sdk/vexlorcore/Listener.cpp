#include "vexlorcore/Listener.h"

#include <algorithm>

namespace VexlorCore {

/// Shared with running deliveries, which outlive a list that a listener destroys.
struct ListenerList::State
{
    /// In the order of adding. While a delivery runs, a removed listener leaves a null, so that indices stay.
    std::vector<MListener*> listeners;
    int deliveries = 0;
};

MListener::MListener() = default;

MListener::~MListener()
{
    while (!_lists.empty())
        _lists.back()->Remove(this);
}

void MListener::StartListening()
{
    _listening = true;
}

void MListener::StopListening()
{
    _listening = false;
}

void MListener::Execute(const INotification& i_notification)
{
    if (_listening)
        ExecuteSelf(i_notification);
}

ListenerList::ListenerList()
    : _state(std::make_shared<State>())
{}

ListenerList::~ListenerList()
{
    for (auto*& listener : _state->listeners) {
        if (listener)
            std::erase(listener->_lists, this);
        listener = nullptr;
    }
}

void ListenerList::Add(MListener* ip_listener)
{
    if (!ip_listener || std::ranges::count(_state->listeners, ip_listener) > 0)
        return;
    ip_listener->_lists.push_back(this);
    _state->listeners.push_back(ip_listener);
}

void ListenerList::Remove(MListener* ip_listener)
{
    const auto found = std::ranges::find(_state->listeners, ip_listener);
    if (!ip_listener || found == _state->listeners.end())
        return;
    std::erase(ip_listener->_lists, this);
    if (_state->deliveries > 0)
        *found = nullptr;
    else
        _state->listeners.erase(found);
}

void ListenerList::Send(const INotification& i_notification)
{
    struct Delivery
    {
        explicit Delivery(std::shared_ptr<State> ip_state)
            : state(std::move(ip_state))
        {
            ++state->deliveries;
        }
        ~Delivery()
        {
            if (--state->deliveries == 0)
                std::erase(state->listeners, nullptr);
        }
        Delivery(const Delivery&) = delete;
        Delivery& operator=(const Delivery&) = delete;
        const std::shared_ptr<State> state;
    };

    const Delivery delivery(_state);
    // Who is added from now on waits for the next notification. Indices, because adding moves the vector.
    const std::size_t count = delivery.state->listeners.size();
    for (std::size_t i = 0; i < count; ++i) {
        if (auto* listener = delivery.state->listeners[i])
            listener->Execute(i_notification);
    }
}

} // namespace VexlorCore
