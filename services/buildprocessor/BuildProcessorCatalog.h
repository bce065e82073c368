#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "core/AbstractServiceCatalog.h"

#include <memory>

namespace MachineService::BuildProcessor {

/// The printers of the Build Processors: those that come with the service and those of the folder of profiles, which is
/// watched.
///
/// Machines appear after Start. The order of news: status Starting, added for each machine, status Running; afterwards
/// removed, updated and added as the folder changes.
///
/// Thread: as AbstractMachinesCatalog; news come from the service's one thread. Destroying waits for that thread and
/// for running jobs, which it stops; never destroy it from a slot.
class BuildProcessorCatalog final : public AbstractServiceCatalog
{
public:
    /// \param ip_utility may be null; the service then uses the user's own folders.
    explicit BuildProcessorCatalog(std::unique_ptr<AbstractPluginUtility> ip_utility);
    ~BuildProcessorCatalog() override;

    void Stop() override;
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
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::BuildProcessor
