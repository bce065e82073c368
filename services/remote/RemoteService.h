#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "remote/Connection.h"
#include "remote/IconStore.h"
#include "remote/Link.h"
#include "remote/MachineStore.h"
#include "remote/Retry.h"
#include "remote/ServiceAddress.h"
#include "remote/Workers.h"
#include "remote/canrun/CanRunStore.h"
#include "remote/trust/Pins.h"
#include "wire/IdleWatchdog.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// Of streams that are on their way all the time, such as a transfer.
inline constexpr std::chrono::seconds LongestIdle(30);
/// Of short questions.
inline constexpr std::chrono::seconds QuestionDeadline(5);

/// What the catalog and the machines that it handed out share. Machines outlive the catalog: they then find it closed.
///
/// Thread: any.
struct RemoteService
{
    /// \throws CommunicationException for an address or a pin that is none.
    /// \param i_jobs_dir where the host keeps what machines of the service built.
    /// \param i_pin_file see Pins.
    RemoteService(const ServiceEndpoint& i_endpoint, std::filesystem::path i_jobs_dir,
                  std::filesystem::path i_pin_file = {});

    /// Ends all calls and joins the threads. Twice is harmless.
    void Close();
    bool IsClosed() const { return stop.stop_requested(); }

    /// The connection that there is.
    /// \throws CommunicationException with the reason why there is none.
    std::shared_ptr<Connection> GetConnection() const;
    /// \throws CommunicationException ServicesUnavailable when it is closed.
    void ThrowIfClosed() const;
    /// What a call came to that did not succeed.
    /// \throws CommunicationException always but for a good status.
    /// \param i_caller token of whoever waits for the call.
    void Check(const grpc::Status& i_status, const grpc::ClientContext& i_context, const std::stop_token& i_caller,
               bool i_was_idle = false) const;

    const ServiceAddress address;
    const std::filesystem::path authorityFile;
    const std::string pin; ///< of the endpoint, see trust/Fingerprint.h; or empty
    const std::filesystem::path jobsDir;
    const std::vector<std::string> languages; ///< that the user reads, the best first, in BCP 47
    Pins pins;                                ///< that users confirmed
    std::atomic<bool> isAnswered = false;     ///< the user has said something new, and no connection was tried since
    Retry retry;
    MachineStore machines;
    IconStore icons;
    CanRunStore canRun;
    Link link;
    std::stop_source stop;
    Wire::IdleWatchdog watchdog;
    Workers workers;
};

} // namespace MachineService::Remote
