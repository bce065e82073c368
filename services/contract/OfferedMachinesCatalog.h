#pragma once

#include "contract/OfferedMachine.h"
#include "contract/ServiceCatalogBase.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace MachineService {

struct OfferedMachines;

/// A whole machine service around a function that says which machines there are.
///
/// Normal use: `OfferedMachinesCatalog({ServiceId(1000), "Paper printers", "1.0"}, [] { return FindMyMachines(); })`.
/// The function is called when the service starts and after each Refresh; what differs is told to the listeners. Runs
/// wait for one another at one machine and not at others.
///
/// Thread: as ServiceCatalogBase. Destroying stops what runs and waits for it.
class OfferedMachinesCatalog final : public ServiceCatalogBase
{
public:
    struct Service
    {
        ServiceId id = ServiceId::None;
        std::string name; ///< for the version information and the log
        std::string version;
        std::size_t threads = 4; ///< on which commands run
    };

    /// \param i_find_machines called on the service's thread; what it throws ends the service as Failed.
    OfferedMachinesCatalog(Service i_service, std::function<std::vector<OfferedMachine>()> i_find_machines);
    ~OfferedMachinesCatalog() override;

    void Stop() override;
    std::vector<boost::uuids::uuid> GetMachineIds() const override;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;

protected:
    MachineNews _FindNews() override;
    std::optional<Machine> _MakeMachine(const boost::uuids::uuid& i_id) const override;

private:
    const Service _service;
    const std::function<std::vector<OfferedMachine>()> _findMachines;
    const std::shared_ptr<OfferedMachines> _machines; ///< shared with the machines that were handed out
};

} // namespace MachineService
