#include "client/interface/AbstractMachinesCatalog.h"

#include "client/interface/CommunicationException.h"

namespace MachineService {

AbstractMachinesCatalog::AbstractMachinesCatalog() = default;
AbstractMachinesCatalog::~AbstractMachinesCatalog() = default;

std::future<std::string> AbstractMachinesCatalog::InstallMachine(ServiceId /*i_service*/,
                                                                 const std::filesystem::path& /*i_file*/)
{
    std::promise<std::string> refused;
    refused.set_exception(std::make_exception_ptr(CommunicationException(
        ErrorCode::FileError, "The machine service takes no machines from files: add it where the "
                              "service is set up.")));
    return refused.get_future();
}

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
