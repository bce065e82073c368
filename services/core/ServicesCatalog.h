#pragma once

#include "client/interface/AbstractPluginUtility.h"
#include "contract/AbstractServiceCatalog.h"

#include <functional>
#include <map>
#include <memory>

namespace MachineService {

/// All machine services as one catalog: each operation goes to the service that it is for, news of all are passed on.
///
/// Thread: as AbstractMachinesCatalog; news are raised on the thread of the service that they come from. Add services
/// before the catalog is used.
/// Ownership: owns the services and stops all of them before anything goes.
class ServicesCatalog final : public AbstractMachinesCatalog
{
public:
    ServicesCatalog();
    ~ServicesCatalog() override;

    void AddService(ServiceId i_service, std::unique_ptr<AbstractServiceCatalog> ip_catalog);
    /// Ends the threads and work of all; questions are still answered. Twice is harmless.
    void Stop();

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
    /// Of all services, in ascending order of their ids; a service that fails is left out.
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;
    std::future<std::string> InstallMachine(ServiceId i_service, const std::filesystem::path& i_file) override;

private:
    class VersionCollector;

    AbstractServiceCatalog* _Find(ServiceId i_service) const;

    std::map<ServiceId, std::unique_ptr<AbstractServiceCatalog>> _services;
    std::unique_ptr<VersionCollector> _versions;
};

/// The Build Processors and the services of endpoints: all that carry commands out. The Machine Manager, which hands
/// jobs to them, is added by whoever has one.
std::unique_ptr<ServicesCatalog>
CreateServicesCatalog(const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory);

} // namespace MachineService
