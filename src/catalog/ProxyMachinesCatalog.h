#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "machineservice_export.h"

#include <functional>
#include <memory>

namespace MachineService {

/// Lets through only the machines that a rule accepts.
///
/// Stands in front of the services' catalog; everything else talks to the proxy. A machine is accepted when the source
/// announces it and when Invalidate() asks again, never otherwise: a machine that changes keeps its place.
///
/// Thread: any. Signals are raised on the source's thread, before the source's own signal returns, or on that of
/// Invalidate(). A machine that goes while it is being announced may be announced as removed twice, the last time after
/// it was announced as added: who keeps a list has the right one in the end. Destroying it waits for signals of the
/// source that are being handled on other threads; it is not destroyed inside one of its own signals. Ownership: the
/// source is not owned and must live as long as the proxy is used; the proxy's destructor does not touch it. Errors:
/// exceptions of the source and of the rule reach whoever called, or raised the source's signal.
class MACHINESERVICE_EXPORT ProxyMachinesCatalog final : public AbstractMachinesCatalog
{
public:
    /// Accepts nothing yet.
    /// \throws std::runtime_error "machines catalog is nullptr", "filtering rule is empty".
    ProxyMachinesCatalog(AbstractMachinesCatalog* ip_catalog,
                         const std::function<bool(const MachineData&)>& i_filtering_rule);
    ~ProxyMachinesCatalog() override;

    AuthenticationResult SetAuthentication(ServiceId i_service,
                                           const std::optional<AuthenticationData>& i_data) override;
    bool Start(ServiceId i_service) override;
    bool Refresh(ServiceId i_service) override;

    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    /// \throws CommunicationException MachineNotFound, also for a machine that the source has and the rule rejected.
    Machine GetMachine(const boost::uuids::uuid& i_id) const override;
    /// Whatever the source has: the rule is not asked.
    std::optional<Machine> TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                         MachineRepresentation i_representation) const override;
    /// In the source's order.
    std::vector<Machine> GetMachines() const override;
    /// In the source's order.
    std::vector<boost::uuids::uuid> GetMachineIds() const override;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;

    /// Asks the rule again for every machine of the source, in its order, and raises added and removed where the answer
    /// differs. After an exception the machines asked before it keep their new state.
    void Invalidate();

private:
    class Impl;

    void _HandleMachineAdded(const boost::uuids::uuid& i_id);

    std::unique_ptr<Impl> _impl;
};

} // namespace MachineService
