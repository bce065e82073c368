#include "catalog/NewsOrder.h"

#include <algorithm>
#include <utility>

namespace MachineService {

namespace {

/// How many slots this thread is inside of, of any catalog: two threads that are inside of slots of two catalogs must
/// not wait for each other either.
thread_local int mgp_depth = 0;

struct InsideSlot
{
    InsideSlot() { ++mgp_depth; }
    ~InsideSlot() { --mgp_depth; }
    InsideSlot(const InsideSlot&) = delete;
    InsideSlot& operator=(const InsideSlot&) = delete;
};

/// A service's number as an id. Should a machine have the same one, their news take turns, which harms nobody.
boost::uuids::uuid GetSubject(const News& i_news)
{
    if (i_news.kind != News::Kind::ServiceStatus)
        return i_news.machine;
    boost::uuids::uuid id = {};
    id.data[0] = static_cast<std::uint8_t>(i_news.service);
    return id;
}

} // namespace

NewsOrder::NewsOrder(std::function<void(const News&)> i_raise)
    : _raise(std::move(i_raise))
{}

NewsOrder::Place NewsOrder::Append(const News& i_news)
{
    Place place;
    const boost::uuids::uuid id = GetSubject(i_news);
    const TavSDK::MutexLock lock(_mutex);
    if (_hasEnded)
        return place;
    const auto subject = std::ranges::find(_subjects, id, &Subject::id);
    if (subject == _subjects.end()) {
        _subjects.push_back({id, {}});
        place._news = i_news;
        place._isFirst = true;
        return place;
    }
    if (mgp_depth == 0)
        place._waiter = std::make_shared<Waiter>();
    subject->behind.push_back({i_news, place._waiter});
    return place;
}

void NewsOrder::Raise(const Place& i_place)
{
    if (i_place._isFirst)
        _RaiseWithThoseBehind(i_place._news);
    else if (i_place._waiter)
        _Wait(*i_place._waiter);
}

void NewsOrder::_RaiseWithThoseBehind(const News& i_first)
{
    Pending pending{i_first, nullptr};
    std::exception_ptr firstFailure;
    bool hasNext = true;
    while (hasNext) {
        std::exception_ptr failure;
        if (!_hasEnded) {
            const InsideSlot inside;
            try {
                _raise(pending.news);
            } catch (...) {
                failure = std::current_exception();
            }
        }
        hasNext = _TakeNext(pending, failure);
        if (!firstFailure)
            firstFailure = std::move(failure);
    }
    if (firstFailure)
        std::rethrow_exception(firstFailure);
}

bool NewsOrder::_TakeNext(Pending& io_raised, std::exception_ptr& io_failure)
{
    const TavSDK::MutexLock lock(_mutex);
    if (io_raised.waiter) {
        io_raised.waiter->failure = std::exchange(io_failure, nullptr);
        io_raised.waiter->isDone = true;
        _done.notify_all();
    }
    const auto subject = std::ranges::find(_subjects, GetSubject(io_raised.news), &Subject::id);
    if (subject->behind.empty()) {
        *subject = std::move(_subjects.back());
        _subjects.pop_back();
        return false;
    }
    io_raised = std::move(subject->behind.front());
    subject->behind.pop_front();
    return true;
}

void NewsOrder::_Wait(const Waiter& i_waiter)
{
    TavSDK::MutexLock lock(_mutex);
    while (!i_waiter.isDone && !_hasEnded)
        _done.wait(lock);
    const std::exception_ptr failure = i_waiter.failure;
    lock.unlock();
    if (failure)
        std::rethrow_exception(failure);
}

void NewsOrder::End()
{
    const TavSDK::MutexLock lock(_mutex);
    _hasEnded = true;
    for (Subject& subject : _subjects)
        subject.behind.clear();
    _done.notify_all();
}

} // namespace MachineService
