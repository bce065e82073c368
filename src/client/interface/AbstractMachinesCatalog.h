#pragma once

#include "client/interface/Machine.h"
#include "client/interface/ServiceTypes.h"
#include "machineservice_export.h"

#include <boost/signals2/connection.hpp>
#include <boost/signals2/signal.hpp>
#include <boost/uuid/uuid.hpp>

#include <filesystem>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// The machines that services offer, and news of them.
///
/// A service makes one; the proxy catalog stands in front of it.
///
/// Thread: operations may be called from any thread. Signals are raised on threads of the service, never under a lock;
/// a derived class's destructor ends its threads before anything else of it goes, so that no signal is raised after it.
class MACHINESERVICE_EXPORT AbstractMachinesCatalog
{
public:
    using MachineSignal = boost::signals2::signal<void(const boost::uuids::uuid&)>;
    using MachineUpdatedSignal = boost::signals2::signal<void(const boost::uuids::uuid&, MachineChanges)>;
    using ServiceStatusSignal = boost::signals2::signal<void(ServiceId, ServiceStatus)>;

    AbstractMachinesCatalog();
    virtual ~AbstractMachinesCatalog();
    AbstractMachinesCatalog(const AbstractMachinesCatalog&) = delete;
    AbstractMachinesCatalog& operator=(const AbstractMachinesCatalog&) = delete;

    virtual AuthenticationResult SetAuthentication(ServiceId i_service,
                                                   const std::optional<AuthenticationData>& i_data) = 0;
    /// Brings the service up; false when the service is not known or cannot start. Starting twice is harmless.
    virtual bool Start(ServiceId i_service) = 0;
    /// Asks the service to look for changes now; false when it does not run.
    virtual bool Refresh(ServiceId i_service) = 0;

    virtual bool HasMachine(const boost::uuids::uuid& i_id) const = 0;
    /// \throws CommunicationException MachineNotFound.
    virtual Machine GetMachine(const boost::uuids::uuid& i_id) const = 0;
    virtual std::optional<Machine> TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                 MachineRepresentation i_representation) const = 0;
    virtual std::vector<Machine> GetMachines() const = 0;
    virtual std::vector<boost::uuids::uuid> GetMachineIds() const = 0;
    /// Pairs of component and version.
    virtual std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const = 0;
    /// Takes a file that describes a machine, such as a profile of the Build Processors, into the service's own folder.
    /// The machine is announced as any other; a file of the same machine is replaced.
    /// \return the machine's name. Fails with a CommunicationException whose sentence names file and field; nothing is
    ///         changed then. Services take no files unless they override this.
    virtual std::future<std::string> InstallMachine(ServiceId i_service, const std::filesystem::path& i_file);

    boost::signals2::connection ConnectMachineAdded(const MachineSignal::slot_type& i_slot);
    boost::signals2::connection ConnectMachineRemoved(const MachineSignal::slot_type& i_slot);
    boost::signals2::connection ConnectMachineUpdated(const MachineUpdatedSignal::slot_type& i_slot);
    boost::signals2::connection ConnectServiceStatusUpdated(const ServiceStatusSignal::slot_type& i_slot);

protected:
    // For derived classes to raise.
    MachineSignal _machineAdded;
    MachineSignal _machineRemoved;
    MachineUpdatedSignal _machineUpdated;
    ServiceStatusSignal _serviceStatusUpdated;
};

} // namespace MachineService
