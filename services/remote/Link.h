#pragma once

#include "tavsdk/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace MachineService::Remote {

class Connection;

/// Whether the service can be reached now, and through which connection.
///
/// Thread: any.
class Link
{
public:
    using Time = std::chrono::system_clock::time_point;
    using ConnectionPointer = std::shared_ptr<Connection>;

    /// Since when the service is lost, and why.
    struct Loss
    {
        Time since;
        std::string sentence;
        bool isGone = false; ///< nobody listens there any more: whatever the service did has ended
    };

    /// \param i_since when the machines that are kept were told, where they come from the disk.
    void SetLost(std::string i_sentence, std::optional<Time> i_since = {}, bool i_is_gone = false);
    void SetConnected(ConnectionPointer ip_connection);

    /// Null while the service is lost.
    ConnectionPointer Get() const;
    /// Empty while it is connected.
    std::optional<Loss> GetLoss() const;
    /// Waits for a connection other than the given one.
    /// \return the connection that there is then; null when time or token ended the wait while the service is lost.
    ConnectionPointer WaitForOther(const ConnectionPointer& ip_used, std::chrono::milliseconds i_longest,
                                   const std::stop_token& i_stop) const;

private:
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    mutable std::condition_variable_any _changed;
    ConnectionPointer _connection TAVSDK_GUARDED_BY(_mutex);
    std::optional<Loss> _loss TAVSDK_GUARDED_BY(_mutex) = Loss{std::chrono::system_clock::now(), {}};
};

/// Why commands cannot run while the service is lost, and since when; for the user.
std::string DescribeLoss(const Link::Loss& i_loss);

} // namespace MachineService::Remote
