#pragma once

#include "machinemanager/store/ChangeFeed.h"
#include "machinemanager/store/Dialect.h"

#include "tavsdk/Mutex.h"

#include <boost/uuid/uuid.hpp>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace MachineService::MachineManager {

class Connection;

/// Tells the daemons at a PostgreSQL store of each other's changes (LISTEN, NOTIFY).
///
/// One thread with a connection of its own sends and hears, and sleeps in between. It sends what is committed already:
/// in the transaction itself, NOTIFY would let only one transaction commit at a time. A daemon that begins tells the
/// others to look at everything, because one that was killed may have left news unsent; one that could not hear for a
/// while looks at everything itself.
///
/// Thread: any.
class DaemonNews
{
public:
    /// Listens when it returns, unless the server is out of reach. All must outlive it.
    DaemonNews(const Dialect& i_dialect, const ChangeFeed& i_feed, std::function<void(const std::string&)> i_log);
    /// What waits to be sent is sent first.
    ~DaemonNews();
    DaemonNews(const DaemonNews&) = delete;
    DaemonNews& operator=(const DaemonNews&) = delete;

    /// Returns at once.
    void Send(const std::vector<boost::uuids::uuid>& i_changed);

private:
    void _Run();
    void _Attend(Connection& io_connection, bool i_is_first);
    void _SendWaiting(Connection& io_connection);
    void _Hear(Connection& io_connection) const;
    void _Receive(std::string_view i_message) const;
    void _Wake() const;
    /// Until it is woken, or the descriptor has something to read, or the time is over; -1: neither.
    void _Sleep(int i_file, int i_milliseconds) const;

    const Dialect& _dialect;
    const ChangeFeed& _feed;
    const std::function<void(const std::string&)> _log;
    const std::string _name; ///< of this object among the daemons
    int _bell = -1;
    std::atomic<bool> _hasToEnd = false;
    TavSDK::Mutex _mutex; ///< guards _waiting and _hasTried
    std::condition_variable_any _tried;
    std::vector<boost::uuids::uuid> _waiting TAVSDK_GUARDED_BY(_mutex);
    bool _hasTried TAVSDK_GUARDED_BY(_mutex) = false;
    std::thread _thread;
};

} // namespace MachineService::MachineManager
