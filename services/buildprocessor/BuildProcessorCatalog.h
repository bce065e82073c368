#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "contract/ServiceCatalogBase.h"

#include <memory>

namespace MachineService::BuildProcessor {

/// The printers of the Build Processors: those that come with the service and those of the folder of profiles, which is
/// watched.
///
/// Thread: as ServiceCatalogBase. Destroying waits for the service's thread and for running jobs, which it stops.
class BuildProcessorCatalog final : public ServiceCatalogBase
{
public:
    /// \param ip_utility may be null; the service then uses the user's own folders.
    explicit BuildProcessorCatalog(std::unique_ptr<AbstractPluginUtility> ip_utility);
    ~BuildProcessorCatalog() override;

    void Stop() override;
    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    std::vector<boost::uuids::uuid> GetMachineIds() const override;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;
    std::future<std::string> InstallMachine(ServiceId i_service, const std::filesystem::path& i_file) override;

protected:
    MachineNews _FindNews() override;
    void _Wait() override;
    void _Wake() override;
    std::optional<Machine> _MakeMachine(const boost::uuids::uuid& i_id) const override;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::BuildProcessor
