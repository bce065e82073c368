#include "client/events/UIJobEvent.h"

#include <utility>

namespace MachineService {

UIJobEvent::UIJobEvent(std::function<void()> i_job)
    : QEvent(GetEventId())
    , _job(std::move(i_job))
{}

UIJobEvent::UIJobEvent(const UIJobEvent&) = default;
UIJobEvent::UIJobEvent(UIJobEvent&&) = default;
UIJobEvent& UIJobEvent::operator=(const UIJobEvent&) = default;
UIJobEvent& UIJobEvent::operator=(UIJobEvent&&) = default;
UIJobEvent::~UIJobEvent() = default;

QEvent::Type UIJobEvent::GetEventId()
{
    // Two threads may make their first event at the same time: only one type may come out of it.
    static const auto mgp_type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return mgp_type;
}

void UIJobEvent::DoJob()
{
    if (_job)
        _job();
}

} // namespace MachineService
