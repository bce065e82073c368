#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "client/interface/Machine.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

/// Machines without a service behind them: they answer at once, or never.
namespace Bench {

boost::uuids::uuid MakeId(std::size_t i_number);

/// Commands of a machine's own, as a service would have to build them for an answer.
std::vector<MachineService::CommandDescription> MakeCommandDescriptions(const boost::uuids::uuid& i_machine,
                                                                        std::size_t i_count);

struct StubBehaviour
{
    /// Answers questions and runs; otherwise they never become ready.
    bool answers = true;
    /// Commands of its own that it offers.
    std::size_t commands = 0;
};

MachineService::Machine MakeStubMachine(std::size_t i_number, StubBehaviour i_behaviour = {});

enum class Machines
{
    Held, ///< by the catalog, which hands out copies
    Made, ///< for each question, as the embedded services do
};

/// A catalog of stub machines, in a sorted order of ids.
class StubCatalog final : public MachineService::AbstractMachinesCatalog
{
public:
    explicit StubCatalog(std::size_t i_count, Machines i_machines = Machines::Held);

    void RaiseUpdated(const boost::uuids::uuid& i_id)
    {
        _machineUpdated(i_id, MachineService::MachineChanges::StateChanged);
    }

    MachineService::AuthenticationResult
    SetAuthentication(MachineService::ServiceId, const std::optional<MachineService::AuthenticationData>&) override
    {
        return MachineService::AuthenticationResult::NotRequired;
    }
    bool Start(MachineService::ServiceId) override { return true; }
    bool Refresh(MachineService::ServiceId) override { return true; }
    bool HasMachine(const boost::uuids::uuid& i_id) const override;
    MachineService::Machine GetMachine(const boost::uuids::uuid& i_id) const override;
    std::optional<MachineService::Machine> TryGetMachine(MachineService::ServiceId, const boost::uuids::uuid& i_id,
                                                         MachineService::MachineRepresentation) const override;
    std::vector<MachineService::Machine> GetMachines() const override;
    std::vector<boost::uuids::uuid> GetMachineIds() const override { return _ids; }
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override { return {}; }

private:
    std::vector<boost::uuids::uuid> _ids;
    std::vector<MachineService::Machine> _held; ///< one per id, or none
};

/// What CreateCommunicationService gives to the next client of this program.
void SetNextCatalog(std::unique_ptr<StubCatalog> ip_catalog);

} // namespace Bench
