#pragma once

#include "client/interface/ServiceTypes.h"
#include "contract/MachineNews.h"
#include "remote/CatalogStream.h"
#include "remote/RemoteService.h"
#include "remote/SnapshotFile.h"

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace MachineService::Remote {

/// Is told what a CatalogReader finds, on its thread.
class ICatalogListener
{
public:
    virtual ~ICatalogListener() = default;
    virtual void TellNews(const MachineNews& i_news) = 0;
    /// \param i_reason a sentence for the user, or none.
    virtual void TellStatus(ServiceStatus i_status, const std::string& i_reason) = 0;
    /// As AbstractPluginUtility::ConfirmCertificate.
    virtual void ConfirmCertificate(const ServiceCertificate& i_certificate, std::function<void(bool)> i_answer) = 0;
};

/// Connects to a service, keeps its machines current, and connects again whenever that ends.
///
/// Thread: Run and all that it does on one; the rest any.
class CatalogReader
{
public:
    CatalogReader(std::shared_ptr<RemoteService> ip_service, ICatalogListener& io_listener, SnapshotFile i_file);

    /// Until the service is closed.
    void Run();
    /// Used from the next connection on, which is made at once.
    void SetCredentials(std::optional<AuthenticationData> i_credentials);

private:
    using Clock = std::chrono::steady_clock;

    void _TakeKept();
    /// Never comes back but by an exception.
    void _ConnectAndWatch();
    void _Watch(const std::shared_ptr<Connection>& ip_connection);
    void _Take(const messages::CatalogEvent& i_event, const std::shared_ptr<Connection>& ip_connection);
    void _TakePage(const messages::SnapshotPage& i_page, const Position& i_position, Connection& io_connection);
    void _TakeMachine(const pb::Machine& i_machine, std::uint32_t i_changes, const Position& i_position,
                      Connection& io_connection);
    /// What is known is what the service has.
    void _BecomeCurrent(const std::shared_ptr<Connection>& ip_connection);
    void _FetchIcons(const std::set<std::string>& i_hashes, Connection& io_connection);
    void _TellNews(const MachineNews& i_news);
    void _TellStatus(ServiceStatus i_status, const std::string& i_reason);
    /// All commands are to be asked about anew.
    void _TellAllChanged();
    /// \param i_is_gone nobody listens there.
    void _HandleLoss(ServiceStatus i_status, const std::string& i_sentence, bool i_is_gone = false,
                     const std::string& i_fingerprint = {});
    void _Keep();
    /// Asks the user about a certificate that nobody vouches for.
    void _AskAbout(const std::string& i_fingerprint);
    std::stop_token _BeginAttempt();

    const std::shared_ptr<RemoteService> _service;
    ICatalogListener& _listener;
    const SnapshotFile _file;

    // Used by the thread of Run only.
    std::vector<std::shared_ptr<StoredMachine>> _pages; ///< of the snapshot that is being read
    std::set<std::string> _hashes;                      ///< of the pictures in them
    std::optional<ServiceStatus> _serviceStatus;        ///< as the service tells it, on this connection
    std::optional<std::pair<ServiceStatus, std::string>> _told;
    std::stop_token _attempt;
    bool _isCurrent = false;   ///< on this connection
    bool _isReachable = false; ///< as hosts were told last
    bool _hasSettled = false;  ///< was connected, or told why not
    bool _isReading = false;   ///< a snapshot is being read
    bool _isDirty = false;     ///< something is not kept on the disk yet
    Clock::time_point _keptAt;
    std::chrono::milliseconds _pause;
    std::set<std::string> _asked; ///< certificates that the user was asked about

    TavSDK::Mutex _mutex;                                    ///< guards everything below
    std::stop_source _attemptStop TAVSDK_GUARDED_BY(_mutex); ///< ends the present connection
    std::optional<AuthenticationData> _credentials TAVSDK_GUARDED_BY(_mutex);
};

} // namespace MachineService::Remote
