#pragma once

#include "client/interface/ServiceTypes.h"

#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <vector>

namespace MachineService {

/// One thing that a catalog tells.
struct News
{
    enum class Kind
    {
        MachineAdded,
        MachineRemoved,
        MachineUpdated,
        ServiceStatus,
    };

    Kind kind = Kind::MachineAdded;
    boost::uuids::uuid machine = {}; ///< not for the status of a service
    MachineChanges changes = MachineChanges::None;
    ServiceId service = ServiceId::None;
    ServiceStatus status = ServiceStatus::Stopped;
};

/// Raises news so that those about one machine, or about one service, come one after the other in the order in which
/// they were appended, whichever threads append them and whatever the slots do.
///
/// News that nobody is ahead of are raised by the thread that appended them. Those behind others are raised next by
/// the thread that raises these; who appended them waits for that, unless it is inside a slot itself and would wait for
/// those who wait for it. News about different machines do not wait for each other.
///
/// Thread: any. No lock is held while news are raised.
/// Errors: what a slot throws reaches the thread that appended the news; where that did not wait, the one that raised
/// them. The news behind are raised all the same.
class NewsOrder
{
public:
    class Place;

    /// \param i_raise calls the slots. It may end this order, which then raises nothing more.
    explicit NewsOrder(std::function<void(const News&)> i_raise);

    /// Takes the next place. Calls nothing, so that the lock under which the news were decided may still be held; Raise
    /// must follow as soon as it is not.
    Place Append(const News& i_news);
    /// Comes back when the news were raised, except inside a slot, where they may follow later.
    void Raise(const Place& i_place);

    /// Drops what is not yet raised, now and in future, and lets go who waits.
    void End();
    bool HasEnded() const { return _hasEnded; }

private:
    /// Who waits until other threads raised its news.
    struct Waiter
    {
        bool isDone = false;
        std::exception_ptr failure;
    };
    struct Pending
    {
        News news;
        std::shared_ptr<Waiter> waiter; ///< null when nobody waits
    };
    /// A machine, or a service, whose news are being raised.
    struct Subject
    {
        boost::uuids::uuid id;
        std::list<Pending> behind;
    };

    void _RaiseWithThoseBehind(const News& i_first);
    /// True when there is one behind it, which then takes its place.
    bool _TakeNext(Pending& io_raised, std::exception_ptr& io_failure);
    void _Wait(const Waiter& i_waiter);

    const std::function<void(const News&)> _raise;
    TavSDK::Mutex
        _mutex; // guards _subjects and all waiters; with it held _hasEnded is set. Nothing is called under it.
    std::condition_variable_any _done;
    std::vector<Subject> _subjects TAVSDK_GUARDED_BY(_mutex);
    std::atomic<bool> _hasEnded = false;
};

/// A place in the order, or none when there is nothing to tell.
class NewsOrder::Place
{
public:
    Place() = default;

private:
    friend class NewsOrder;

    News _news;
    bool _isFirst = false;
    std::shared_ptr<Waiter> _waiter;
};

} // namespace MachineService
