#include "remote/Link.h"

#include <array>
#include <ctime>

namespace MachineService::Remote {

void Link::SetLost(std::string i_sentence, std::optional<Time> i_since, bool i_is_gone)
{
    const TavSDK::MutexLock lock(_mutex);
    _connection = nullptr;
    // A further vain attempt may tell another reason, but not another time.
    const auto since = i_since ? *i_since : _loss ? _loss->since : std::chrono::system_clock::now();
    _loss = Loss{since, std::move(i_sentence), i_is_gone};
    _changed.notify_all();
}

void Link::SetConnected(ConnectionPointer ip_connection)
{
    const TavSDK::MutexLock lock(_mutex);
    _connection = std::move(ip_connection);
    _loss.reset();
    _changed.notify_all();
}

Link::ConnectionPointer Link::Get() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _connection;
}

std::optional<Link::Loss> Link::GetLoss() const
{
    const TavSDK::MutexLock lock(_mutex);
    return _loss;
}

Link::ConnectionPointer Link::WaitForOther(const ConnectionPointer& ip_used, std::chrono::milliseconds i_longest,
                                           const std::stop_token& i_stop) const
{
    const auto end = std::chrono::steady_clock::now() + i_longest;
    const std::stop_callback wake(i_stop, [this] {
        const TavSDK::MutexLock lock(_mutex);
        _changed.notify_all();
    });
    TavSDK::MutexLock lock(_mutex);
    while (!i_stop.stop_requested() && (!_connection || _connection == ip_used)) {
        if (_changed.wait_until(lock, end) == std::cv_status::timeout)
            break;
    }
    return _connection;
}

std::string DescribeLoss(const Link::Loss& i_loss)
{
    const std::time_t seconds = std::chrono::system_clock::to_time_t(i_loss.since);
    std::tm local = {};
    std::array<char, 32> text = {};
    localtime_r(&seconds, &local);
    const auto size = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return (i_loss.sentence.empty() ? std::string("The machine service is being connected to.") : i_loss.sentence) +
           " Its machines have been out of reach since " + std::string(text.data(), size) + '.';
}

} // namespace MachineService::Remote
