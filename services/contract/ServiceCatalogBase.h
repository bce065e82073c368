#pragma once

#include "contract/AbstractServiceCatalog.h"
#include "contract/MachineNews.h"

#include <memory>
#include <string>

namespace MachineService {

/// The life of a service's catalog: one thread of its own that finds the machines and tells of them.
///
/// A derived class says which machines there are; everything else of the contract has an answer here and can be
/// overridden. Its destructor calls Stop(), or the thread would run on in what is gone.
///
/// Order of news: status Starting, added for each machine, status Running; afterwards removed, updated and added as
/// _FindNews tells them; status Failed when it throws, and the service has ended then.
/// Thread: as AbstractMachinesCatalog; news are raised on the service's one thread. Destroying waits for that thread,
/// except in a slot on it, which then is the last one that is called.
class ServiceCatalogBase : public AbstractServiceCatalog
{
public:
    /// \param i_name of the service, as log lines call it.
    ServiceCatalogBase(ServiceId i_service, std::string i_name);
    ~ServiceCatalogBase() override;

    /// Ends the thread; overridden to end the service's other work as well.
    void Stop() override;
    bool Start(ServiceId i_service) override;
    bool Refresh(ServiceId i_service) override;
    /// NotRequired.
    AuthenticationResult SetAuthentication(ServiceId i_service,
                                           const std::optional<AuthenticationData>& i_data) override;
    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    Machine GetMachine(const boost::uuids::uuid& i_id) const override;
    /// Of machines that stand for themselves: MachineRepresentation::Default and what their data say.
    std::optional<Machine> TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                         MachineRepresentation i_representation) const override;
    std::vector<Machine> GetMachines() const override;

protected:
    /// Looks which machines there are now, changes the state, and says what changed.
    /// Thread: the service's.
    virtual MachineNews _FindNews() = 0;
    /// Waits until there may be news; also returns when _Wake was called or the service stops.
    /// Thread: the service's.
    virtual void _Wait();
    /// Makes _Wait return, now or when it is called next.
    /// Thread: any.
    virtual void _Wake();
    /// Empty when there is no such machine.
    /// Thread: any.
    virtual std::optional<Machine> _MakeMachine(const boost::uuids::uuid& i_id) const = 0;

private:
    struct Impl;
    const std::shared_ptr<Impl> _impl; ///< shared with the thread
};

} // namespace MachineService
