#include "machinemanager/store/DaemonNews.h"

#include "machinemanager/store/Connection.h"
#include "machinemanager/store/JobRows.h"
#include "machinemanager/store/PostgresHandle.h"

#include "tavsdk/StopExceptions.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <memory>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

const char* const Channel = "machineservice_jobs";
/// More at once are told as one: look at everything.
constexpr std::size_t MostWaiting = 1'000;
constexpr int FirstPause = 100; // ms
constexpr int LongestPause = 2'000;

} // namespace

DaemonNews::DaemonNews(const Dialect& i_dialect, const ChangeFeed& i_feed,
                       std::function<void(const std::string&)> i_log)
    : _dialect(i_dialect)
    , _feed(i_feed)
    , _log(std::move(i_log))
    , _name(boost::uuids::to_string(boost::uuids::random_generator()()))
    , _bell(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (_bell < 0)
        throw ManagerError(ManagerError::Kind::Storage,
                           "Too many files are open to listen to the job store. Close some.");
    Send({boost::uuids::uuid{}});
    _thread = std::thread([this] { _Run(); });
    TavSDK::MutexLock lock(_mutex);
    while (!_hasTried)
        _tried.wait(lock);
}

DaemonNews::~DaemonNews()
{
    _hasToEnd = true;
    _Wake();
    _thread.join();
    ::close(_bell);
}

void DaemonNews::Send(const std::vector<boost::uuids::uuid>& i_changed)
{
    if (i_changed.empty())
        return;
    {
        const TavSDK::MutexLock lock(_mutex);
        for (const auto& id : i_changed) {
            if (std::find(_waiting.begin(), _waiting.end(), id) == _waiting.end())
                _waiting.push_back(id);
        }
        if (_waiting.size() > MostWaiting)
            _waiting = {boost::uuids::uuid{}};
    }
    _Wake();
}

void DaemonNews::_Wake() const
{
    const std::uint64_t one = 1;
    // Fails only when it rings already.
    [[maybe_unused]] const auto written = ::write(_bell, &one, sizeof one);
}

void DaemonNews::_Sleep(int i_file, int i_milliseconds) const
{
    pollfd files[] = {{_bell, POLLIN, 0}, {i_file, POLLIN, 0}};
    ::poll(files, 2, i_milliseconds);
    std::uint64_t count = 0;
    [[maybe_unused]] const auto read = ::read(_bell, &count, sizeof count);
}

void DaemonNews::_Run()
{
    int pause = FirstPause;
    bool isTold = false;
    for (bool isFirst = true; isFirst || !_hasToEnd; isFirst = false) {
        const auto fail = [&](const char* ip_text) {
            const TavSDK::MutexLock lock(_mutex);
            _hasTried = true;
            _tried.notify_all();
            if (_log && !std::exchange(isTold, true))
                _log(std::string("Changes by other daemons are not heard of until the server is back: ") + ip_text);
        };
        TavSDK::StopExceptions(
            [&] {
                Connection connection(_dialect);
                connection.Run(QStringLiteral("LISTEN ") + QLatin1String(Channel));
                pause = FirstPause;
                isTold = false;
                _Attend(connection, isFirst);
            },
            fail);
        if (!_hasToEnd)
            _Sleep(-1, pause);
        pause = std::min(pause * 2, LongestPause);
    }
}

/// Until it has to end, or the connection is lost.
void DaemonNews::_Attend(Connection& io_connection, bool i_is_first)
{
    {
        const TavSDK::MutexLock lock(_mutex);
        _hasTried = true;
        _tried.notify_all();
    }
    // Who knows what was not heard.
    if (!i_is_first)
        _feed.Tell({});
    while (true) {
        // Asked before the last sending, so that nothing is left behind.
        const bool isLast = _hasToEnd;
        _SendWaiting(io_connection);
        if (isLast)
            return;
        _Hear(io_connection);
        PGconn* const handle = GetHandle(io_connection.GetDatabase());
        if (!handle)
            return;
        _Sleep(PQsocket(handle), -1);
        if (PQconsumeInput(handle) == 0)
            throw ManagerError(ManagerError::Kind::Storage, "The connection was lost.");
    }
}

void DaemonNews::_SendWaiting(Connection& io_connection)
{
    std::vector<boost::uuids::uuid> waiting;
    {
        const TavSDK::MutexLock lock(_mutex);
        waiting.swap(_waiting);
    }
    try {
        while (!waiting.empty()) {
            io_connection.Select(
                QStringLiteral("SELECT pg_notify(?, ?)"),
                {QLatin1String(Channel), QString(ToText(_name) + QLatin1Char(' ') + ToText(waiting.back()))});
            waiting.pop_back();
        }
    } catch (...) {
        const TavSDK::MutexLock lock(_mutex);
        _waiting.insert(_waiting.end(), waiting.begin(), waiting.end());
        throw;
    }
}

void DaemonNews::_Hear(Connection& io_connection) const
{
    PGconn* const handle = GetHandle(io_connection.GetDatabase());
    while (handle) {
        const std::unique_ptr<PGnotify, void (*)(void*)> news(PQnotifies(handle), PQfreemem);
        if (!news)
            return;
        _Receive(news->extra);
    }
}

/// Anybody who may connect to the database can send anything.
void DaemonNews::_Receive(std::string_view i_message) const
{
    const auto space = i_message.find(' ');
    if (space == std::string_view::npos || i_message.substr(0, space) == _name)
        return;
    TavSDK::StopExceptions(
        [&] { _feed.Tell(ToUuid(QString::fromStdString(std::string(i_message.substr(space + 1))))); },
        [&](const char* ip_text) {
            if (_log)
                _log(std::string("News of another daemon cannot be read: ") + ip_text);
        });
}

} // namespace MachineService::MachineManager
