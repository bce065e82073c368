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
/// Thread: any. News are raised on the thread of the source, before the source's own signal returns, or on that of
/// Invalidate(). While another thread raises earlier news about the same machine they follow on that thread, and this
/// one waits for them: a slot must not wait for a thread that may have news. Destroying it waits for signals of the
/// source that are being handled on other threads.
/// Order: news about one machine are raised one after the other, to all slots, in the order in which they were decided;
/// a list that is kept by them has the accepted machines in the end. What a slot brings about follows when the slots of
/// the present news have run.
/// Ownership: the source is not owned and must live as long as the proxy is used; the proxy's destructor does not touch
/// it. The proxy may be destroyed in whatever it calls, by the thread that owns it: slots, rule, source. An operation
/// then ends without raising anything more.
/// Errors: exceptions of the source and of the rule reach whoever called, or raised the source's signal; so do those of
/// slots.
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
    std::future<std::string> InstallMachine(ServiceId i_service, const std::filesystem::path& i_file) override;

    /// Asks the rule again for every machine of the source, in its order, and raises added and removed where the answer
    /// differs. After an exception the machines asked before it keep their new state.
    void Invalidate();

    /// No news from here on; who waits for its news to be raised goes on. For an owner that destroys the source, and
    /// its threads with it, before the proxy.
    void EndNews();

private:
    class Impl;

    const std::shared_ptr<Impl> _impl; ///< shared with what is under way, which may outlive the proxy
    /// Keeps the source from starting a handler once it is gone; the gate also waits for those that run.
    std::shared_ptr<int> _lifetimeToken = std::make_shared<int>(0);
};

} // namespace MachineService
