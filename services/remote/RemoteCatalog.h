#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "contract/AbstractServiceCatalog.h"

#include <memory>

namespace MachineService::Remote {

/// The machines of a service in another process or on another host, by the protocol of docs/protocol.md.
///
/// While the service is lost its machines stay as they were told last, also at a start without it; their commands
/// cannot run, and say why and since when.
///
/// Order of news: status Starting, added for each machine that was kept from the last time, then whatever the service
/// tells, and status Running; on a loss, updated with StateChanged for each machine and status Failed, or
/// AuthenticationRequired; when it is back, news of what changed meanwhile, updated again, and status Running.
/// Thread: as AbstractMachinesCatalog; news are raised on the service's one thread. Destroying waits for that thread,
/// except in a slot on it, which then is the last one that is called.
class RemoteCatalog final : public AbstractServiceCatalog
{
public:
    /// \param i_service the number by which hosts call it.
    /// \param ip_utility may be null.
    /// \throws CommunicationException for an address that is none.
    RemoteCatalog(ServiceId i_service, const ServiceEndpoint& i_endpoint,
                  std::unique_ptr<AbstractPluginUtility> ip_utility);
    ~RemoteCatalog() override;

    void Stop() override;
    /// Accepted: they are used from the next connection on, which is made at once; status AuthenticationRequired tells
    /// when they are refused.
    AuthenticationResult SetAuthentication(ServiceId i_service,
                                           const std::optional<AuthenticationData>& i_data) override;
    bool Start(ServiceId i_service) override;
    bool Refresh(ServiceId i_service) override;
    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    Machine GetMachine(const boost::uuids::uuid& i_id) const override;
    std::optional<Machine> TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                         MachineRepresentation i_representation) const override;
    std::vector<Machine> GetMachines() const override;
    std::vector<boost::uuids::uuid> GetMachineIds() const override;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;

private:
    struct Impl;
    const std::shared_ptr<Impl> _impl; ///< shared with the thread
};

} // namespace MachineService::Remote
