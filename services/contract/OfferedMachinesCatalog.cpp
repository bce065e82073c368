#include "contract/OfferedMachinesCatalog.h"

#include "contract/OfferedMachineStrategy_p.h"
#include "contract/ReadyFuture.h"

namespace MachineService {

OfferedMachinesCatalog::OfferedMachinesCatalog(Service i_service,
                                               std::function<std::vector<OfferedMachine>()> i_find_machines)
    : ServiceCatalogBase(i_service.id, i_service.name)
    , _service(std::move(i_service))
    , _findMachines(std::move(i_find_machines))
    , _machines(std::make_shared<OfferedMachines>(_service.threads))
{}

OfferedMachinesCatalog::~OfferedMachinesCatalog()
{
    Stop();
}

void OfferedMachinesCatalog::Stop()
{
    ServiceCatalogBase::Stop();
    _machines->Close();
}

std::vector<boost::uuids::uuid> OfferedMachinesCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> ids;
    for (const auto& machine : _machines->registry.GetAll())
        ids.push_back(machine->data.id);
    return ids;
}

std::future<std::vector<std::pair<std::string, std::string>>> OfferedMachinesCatalog::GetVersionInformation() const
{
    return Ready([&] { return std::vector{std::pair(_service.name, _service.version)}; });
}

MachineNews OfferedMachinesCatalog::_FindNews()
{
    auto machines = _findMachines();
    for (OfferedMachine& machine : machines)
        machine.data.serviceId = _service.id;
    return _machines->registry.Replace(std::move(machines));
}

std::optional<Machine> OfferedMachinesCatalog::_MakeMachine(const boost::uuids::uuid& i_id) const
{
    const auto machine = _machines->registry.Find(i_id);
    if (!machine)
        return std::nullopt;
    return Machine(std::make_unique<OfferedMachineStrategy>(machine->data, _machines));
}

} // namespace MachineService
