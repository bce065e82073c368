#include "StubMachines.h"

#include "client/interface/CommunicationException.h"
#include "client/interface/ICommunicationServiceAPI.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>

namespace Bench {

namespace {

using namespace MachineService;

class StubStrategy final : public MachineStrategy
{
public:
    StubStrategy(const MachineData& i_data, StubBehaviour i_behaviour)
        : MachineStrategy(i_data)
        , _behaviour(i_behaviour)
        , _commands(MakeCommandDescriptions(i_data.id, i_behaviour.commands))
    {}

    std::future<std::vector<CommandDescription>> GetCommands() const override { return _Answer(_commands); }
    std::future<bool> CanRunCommand(const boost::uuids::uuid&) const override { return _Answer(true); }
    std::future<CommandResult> RunCommand(const CommandParameters&) const override { return _Answer(CommandResult()); }
    ProgressWatcherFuture<PlatformInfo> GetPlatformInformation() const override
    {
        return ProgressWatcherFuture<PlatformInfo>(_Answer(PlatformInfo()));
    }
    std::future<std::pair<CommandResult, Platform>> GetEmptyPlatform(const std::string&) const override
    {
        return _Answer(std::pair<CommandResult, Platform>());
    }
    ProgressWatcherFuture<void> ModifyPlatform(const Platform&) const override { return {}; }
    std::future<CommandResult> FillReportProperties(const CommandParameters&) const override
    {
        return _Answer(CommandResult());
    }
    std::future<CommandResult> Preprocessing(const CommandParameters&) const override
    {
        return _Answer(CommandResult());
    }
    std::future<ProfileAssignments> GetProfileAssignments() const override { return _Answer(ProfileAssignments()); }

private:
    template <class T>
    std::future<T> _Answer(T i_value) const
    {
        std::promise<T> promise;
        auto future = promise.get_future();
        if (_behaviour.answers) {
            promise.set_value(std::move(i_value));
        } else {
            // Kept alive and never fulfilled: a service that hangs.
            static std::mutex mgp_mutex; // guards mgp_unanswered
            static std::vector<std::promise<T>> mgp_unanswered;
            const std::lock_guard lock(mgp_mutex);
            mgp_unanswered.push_back(std::move(promise));
        }
        return future;
    }

    const StubBehaviour _behaviour;
    const std::vector<CommandDescription> _commands;
};

std::unique_ptr<StubCatalog>& NextCatalog()
{
    static std::unique_ptr<StubCatalog> mgp_catalog;
    return mgp_catalog;
}

class StubApi final : public ICommunicationServiceAPI
{
public:
    void Initialize() override {}
    std::unique_ptr<AbstractMachinesCatalog>
    CreateMachinesCatalog(const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>&) override
    {
        return std::move(NextCatalog());
    }
};

} // namespace

std::vector<CommandDescription> MakeCommandDescriptions(const boost::uuids::uuid& i_machine, std::size_t i_count)
{
    std::vector<CommandDescription> commands;
    for (std::size_t number = 0; number < i_count; ++number) {
        CommandDescription& command = commands.emplace_back();
        command.type = CommandType::Additional;
        command.id = i_machine;
        command.id.data[0] = static_cast<std::uint8_t>(number);
        command.name = "Command number " + std::to_string(number);
        command.description = "What the command of this number does.";
    }
    return commands;
}

boost::uuids::uuid MakeId(std::size_t i_number)
{
    boost::uuids::uuid id = {};
    // The number is mixed, so that ids are spread as random ones are.
    std::uint64_t mixed = (i_number + 1) * 0x9E3779B97F4A7C15ULL;
    for (std::size_t index = 0; index < 8; ++index)
        id.data[index] = static_cast<std::uint8_t>(mixed >> (8 * index));
    for (std::size_t index = 0; index < 8; ++index)
        id.data[8 + index] = static_cast<std::uint8_t>(i_number >> (8 * index));
    return id;
}

namespace {

std::size_t GetNumber(const boost::uuids::uuid& i_id)
{
    std::size_t number = 0;
    for (std::size_t index = 0; index < 8; ++index)
        number |= std::size_t{i_id.data[8 + index]} << (8 * index);
    return number;
}

} // namespace

Machine MakeStubMachine(std::size_t i_number, StubBehaviour i_behaviour)
{
    MachineData data;
    data.id = MakeId(i_number);
    data.name = "Machine " + std::to_string(i_number);
    data.manufacturer = "Maker";
    return Machine(std::make_unique<StubStrategy>(data, i_behaviour));
}

StubCatalog::StubCatalog(std::size_t i_count, Machines i_machines)
{
    for (std::size_t number = 0; number < i_count; ++number)
        _ids.push_back(MakeId(number));
    std::sort(_ids.begin(), _ids.end());
    if (i_machines == Machines::Held)
        std::transform(_ids.begin(), _ids.end(), std::back_inserter(_held),
                       [](const auto& i_id) { return MakeStubMachine(GetNumber(i_id)); });
}

bool StubCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    const std::size_t number = GetNumber(i_id);
    return number < _ids.size() && MakeId(number) == i_id;
}

Machine StubCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    if (!HasMachine(i_id))
        throw CommunicationException(ErrorCode::MachineNotFound);
    if (_held.empty())
        return MakeStubMachine(GetNumber(i_id));
    const auto found = std::lower_bound(_ids.begin(), _ids.end(), i_id);
    return _held[static_cast<std::size_t>(found - _ids.begin())];
}

std::vector<Machine> StubCatalog::GetMachines() const
{
    std::vector<Machine> machines;
    std::transform(_ids.begin(), _ids.end(), std::back_inserter(machines),
                   [this](const auto& i_id) { return GetMachine(i_id); });
    return machines;
}

std::optional<Machine> StubCatalog::TryGetMachine(ServiceId, const boost::uuids::uuid& i_id,
                                                  MachineRepresentation) const
{
    if (!HasMachine(i_id))
        return std::nullopt;
    return GetMachine(i_id);
}

void SetNextCatalog(std::unique_ptr<StubCatalog> ip_catalog)
{
    NextCatalog() = std::move(ip_catalog);
}

} // namespace Bench

std::unique_ptr<MachineService::ICommunicationServiceAPI> MachineService::CreateCommunicationService()
{
    return std::make_unique<Bench::StubApi>();
}
