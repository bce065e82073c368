#include "client/interface/AbstractMachinesCatalog.h"

namespace MachineService {

AbstractMachinesCatalog::AbstractMachinesCatalog() = default;
AbstractMachinesCatalog::~AbstractMachinesCatalog() = default;

boost::signals2::connection AbstractMachinesCatalog::ConnectMachineAdded(const MachineSignal::slot_type& i_slot)
{
    return _machineAdded.connect(i_slot);
}

boost::signals2::connection AbstractMachinesCatalog::ConnectMachineRemoved(const MachineSignal::slot_type& i_slot)
{
    return _machineRemoved.connect(i_slot);
}

boost::signals2::connection
AbstractMachinesCatalog::ConnectMachineUpdated(const MachineUpdatedSignal::slot_type& i_slot)
{
    return _machineUpdated.connect(i_slot);
}

boost::signals2::connection
AbstractMachinesCatalog::ConnectServiceStatusUpdated(const ServiceStatusSignal::slot_type& i_slot)
{
    return _serviceStatusUpdated.connect(i_slot);
}

} // namespace MachineService
