#include "support/FakeMachineService.h"

#include "client/interface/ICommunicationServiceAPI.h"

#include <algorithm>

namespace TestSupport {

namespace {

using namespace MachineService;

std::unique_ptr<FakeMachinesCatalog> mgp_next_catalog;
std::vector<std::string> mgp_service_calls;

class FakeServiceAPI final : public ICommunicationServiceAPI
{
public:
    ~FakeServiceAPI() override { mgp_service_calls.push_back("released"); }
    void Initialize() override { mgp_service_calls.push_back("initialize"); }
    std::unique_ptr<AbstractMachinesCatalog>
    CreateMachinesCatalog(const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>&) override
    {
        mgp_service_calls.push_back("catalog");
        return std::move(mgp_next_catalog);
    }
};

auto HasId(const boost::uuids::uuid& i_id)
{
    return [i_id](const Machine& i_machine) {
        return i_machine.GetMachineData().id == i_id;
    };
}

} // namespace

boost::uuids::uuid MakeId(std::uint8_t i_number)
{
    return {{0x0f, 0x1e, 0x2d, 0x3c, 0x4b, 0x5a, 0x69, 0x78, 0x87, 0x96, 0xa5, 0xb4, 0xc3, 0xd2, 0xe1, i_number}};
}

MachineData MakeMachineData(std::uint8_t i_number)
{
    MachineData data;
    data.id = MakeId(i_number);
    data.name = "Machine " + std::to_string(i_number);
    return data;
}

FakeMachinesCatalog::~FakeMachinesCatalog()
{
    if (onDestroyed)
        onDestroyed();
}

void FakeMachinesCatalog::Set(const Machine& i_machine)
{
    const std::lock_guard lock(_mutex);
    const auto found = std::ranges::find_if(_machines, HasId(i_machine.GetMachineData().id));
    if (found != _machines.end())
        *found = i_machine;
    else
        _machines.push_back(i_machine);
}

void FakeMachinesCatalog::Erase(const boost::uuids::uuid& i_id)
{
    const std::lock_guard lock(_mutex);
    std::erase_if(_machines, HasId(i_id));
}

void FakeMachinesCatalog::Put(std::uint8_t i_number)
{
    Set(i_number);
    _machineAdded(MakeId(i_number));
}

void FakeMachinesCatalog::Take(std::uint8_t i_number)
{
    Erase(MakeId(i_number));
    _machineRemoved(MakeId(i_number));
}

AuthenticationResult FakeMachinesCatalog::SetAuthentication(ServiceId i_service,
                                                            const std::optional<AuthenticationData>& i_data)
{
    if (onCall)
        onCall("authenticate " + std::to_string(static_cast<int>(i_service)));
    return i_data ? AuthenticationResult::Rejected : AuthenticationResult::NotRequired;
}

bool FakeMachinesCatalog::Start(ServiceId i_service)
{
    if (onCall)
        onCall("start " + std::to_string(static_cast<int>(i_service)));
    return i_service == ServiceId::BuildProcessors;
}

bool FakeMachinesCatalog::Refresh(ServiceId i_service)
{
    if (onCall)
        onCall("refresh " + std::to_string(static_cast<int>(i_service)));
    return i_service == ServiceId::BuildProcessors;
}

bool FakeMachinesCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    const std::lock_guard lock(_mutex);
    return std::ranges::any_of(_machines, HasId(i_id));
}

Machine FakeMachinesCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    if (onGetMachine)
        onGetMachine(i_id);
    const std::lock_guard lock(_mutex);
    const auto found = std::ranges::find_if(_machines, HasId(i_id));
    if (found == _machines.end())
        throw CommunicationException(ErrorCode::MachineNotFound);
    return *found;
}

std::optional<Machine> FakeMachinesCatalog::TryGetMachine(ServiceId, const boost::uuids::uuid& i_id,
                                                          MachineRepresentation) const
{
    const std::lock_guard lock(_mutex);
    const auto found = std::ranges::find_if(_machines, HasId(i_id));
    return found == _machines.end() ? std::nullopt : std::optional(*found);
}

std::vector<Machine> FakeMachinesCatalog::GetMachines() const
{
    const std::lock_guard lock(_mutex);
    return _machines;
}

std::vector<boost::uuids::uuid> FakeMachinesCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> ids;
    for (const Machine& machine : GetMachines())
        ids.push_back(machine.GetMachineData().id);
    return ids;
}

std::future<std::vector<std::pair<std::string, std::string>>> FakeMachinesCatalog::GetVersionInformation() const
{
    return MakeReady(std::vector<std::pair<std::string, std::string>>{{"fake", "1.0"}});
}

FakeMachinesCatalog& SetNextCatalog()
{
    mgp_next_catalog = std::make_unique<FakeMachinesCatalog>();
    mgp_service_calls.clear();
    return *mgp_next_catalog;
}

const std::vector<std::string>& GetServiceCalls()
{
    return mgp_service_calls;
}

} // namespace TestSupport

namespace MachineService {

std::unique_ptr<ICommunicationServiceAPI> CreateCommunicationService()
{
    return std::make_unique<TestSupport::FakeServiceAPI>();
}

} // namespace MachineService
