#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "support/FakeMachine.h"

#include <boost/uuid/uuid.hpp>

#include <cstdint>
#include <functional>
#include <mutex>

/// Machine services without a service: what stands behind the contract of client/interface, and nothing of the library.
namespace TestSupport {

/// An id that differs in its last byte, so that ids are ordered as their numbers.
boost::uuids::uuid MakeId(std::uint8_t i_number);
MachineService::MachineData MakeMachineData(std::uint8_t i_number);

/// A catalog whose machines and news are made by the test.
///
/// Thread: any, as the contract asks. Put and Take raise their news on the calling thread.
class FakeMachinesCatalog final : public MachineService::AbstractMachinesCatalog
{
public:
    FakeMachinesCatalog() = default;
    ~FakeMachinesCatalog() override;

    /// Adds or replaces a machine without a word.
    void Set(const MachineService::Machine& i_machine);
    void Set(std::uint8_t i_number) { Set(MakeFakeMachine(MakeMachineData(i_number))); }
    void Erase(const boost::uuids::uuid& i_id);
    /// Set and Erase with the news that services raise.
    void Put(std::uint8_t i_number);
    void Take(std::uint8_t i_number);
    void RaiseAdded(const boost::uuids::uuid& i_id) { _machineAdded(i_id); }
    void RaiseRemoved(const boost::uuids::uuid& i_id) { _machineRemoved(i_id); }
    void RaiseUpdated(const boost::uuids::uuid& i_id, MachineService::MachineChanges i_changes)
    {
        _machineUpdated(i_id, i_changes);
    }
    void RaiseStatus(MachineService::ServiceId i_service, MachineService::ServiceStatus i_status)
    {
        _serviceStatusUpdated(i_service, i_status);
    }

    MachineService::AuthenticationResult
    SetAuthentication(MachineService::ServiceId i_service,
                      const std::optional<MachineService::AuthenticationData>& i_data) override;
    bool Start(MachineService::ServiceId i_service) override;
    bool Refresh(MachineService::ServiceId i_service) override;
    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    MachineService::Machine GetMachine(const boost::uuids::uuid& i_id) const override;
    std::optional<MachineService::Machine> TryGetMachine(MachineService::ServiceId i_service,
                                                         const boost::uuids::uuid& i_id,
                                                         MachineService::MachineRepresentation) const override;
    std::vector<MachineService::Machine> GetMachines() const override;
    std::vector<boost::uuids::uuid> GetMachineIds() const override;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override;

    // Set before other threads come. May throw, wait and raise news.
    std::function<void(const boost::uuids::uuid&)> onGetMachine; ///< before a machine is looked up
    std::function<void()> onDestroyed;                           ///< first thing in the destructor
    std::function<void(const std::string&)> onCall; ///< "start 1": operation and service, when one is forwarded

private:
    mutable std::mutex _mutex; // guards _machines
    std::vector<MachineService::Machine> _machines;
};

/// What CreateCommunicationService makes clients of. Call it before each client; the catalog is then the client's.
FakeMachinesCatalog& SetNextCatalog();
/// The calls that the last client made on the way to its catalog, in order.
const std::vector<std::string>& GetServiceCalls();

} // namespace TestSupport
