#include "machinemanager/JobDesk_p.h"

#include "machinemanager/printers/IPrinterLink.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

constexpr std::size_t MaxText = 200;
constexpr std::size_t MaxPrinter = 20'000;

std::vector<std::string> DescribeStop(const BoardMachine& i_machine)
{
    const auto refusal = FindRefusal(Job(), i_machine);
    return refusal ? std::vector<std::string>{refusal->sentence} : std::vector<std::string>();
}

MachineView MakeView(const BoardMachine& i_machine)
{
    MachineView view;
    view.entry = i_machine.entry;
    view.isOffered = i_machine.isOffered;
    view.reasons = DescribeStop(i_machine);
    view.state = view.reasons.empty() ? "idle" : "stopped";
    return view;
}

void CheckText(const char* ip_what, const std::string& i_text)
{
    const bool isClean = TavSDK::IsUtf8(i_text) && std::none_of(i_text.begin(), i_text.end(), [](char i_byte) {
                             return static_cast<unsigned char>(i_byte) < ' ' || i_byte == '\x7f';
                         });
    if (!isClean || i_text.size() > MaxText)
        throw ManagerError(Kind::BadInput, std::string(ip_what) + " is a text of at most 200 bytes on one line.");
}

bool BeginsWith(const std::string& i_text, const std::string& i_beginning)
{
    return i_text.compare(0, i_beginning.size(), i_beginning) == 0;
}

} // namespace

std::vector<MachineView> JobDesk::GetMachines(const Actor& i_actor) const
{
    Impl::Require(i_actor, Role::See);
    const auto waiting = _impl->store.CountWaiting();
    JobFilter filter;
    filter.states = {JobState::Processing, JobState::ProcessingStopped};
    filter.count = 500;
    const auto running = _impl->store.List(filter);
    std::vector<MachineView> views;
    for (const auto& machine : _impl->board.GetMachines()) {
        auto view = MakeView(machine);
        if (const auto count = waiting.find(view.entry.id); count != waiting.end())
            view.waiting = count->second;
        const auto current = std::find_if(running.begin(), running.end(),
                                          [&](const Job& i_job) { return i_job.machine == view.entry.id; });
        if (current != running.end()) {
            view.current = *current;
            view.state = current->GetState() == JobState::Processing ? "processing" : "stopped";
        }
        views.push_back(std::move(view));
    }
    return views;
}

MachineView JobDesk::GetMachine(const Actor& i_actor, const boost::uuids::uuid& i_id) const
{
    for (auto& view : GetMachines(i_actor)) {
        if (view.entry.id == i_id)
            return view;
    }
    throw ManagerError(Kind::NotFound, "The manager does not know this machine.");
}

MachineView JobDesk::FindMachine(const Actor& i_actor, const std::string& i_word) const
{
    std::vector<MachineView> beginning;
    for (auto& view : GetMachines(i_actor)) {
        if (view.entry.name == i_word || boost::uuids::to_string(view.entry.id) == i_word)
            return view;
        if (!i_word.empty() && BeginsWith(view.entry.name, i_word))
            beginning.push_back(std::move(view));
    }
    if (beginning.size() == 1)
        return beginning.front();
    throw ManagerError(Kind::NotFound, (beginning.empty() ? "There is no machine " : "There are several machines ") +
                                           TavSDK::Quote(i_word, MaxText) +
                                           "; a machine is called by its name or its id.");
}

MachineView JobDesk::SetPaused(const Actor& i_actor, const boost::uuids::uuid& i_id, bool i_is_paused,
                               const std::string& i_reason)
{
    Impl::Require(i_actor, Role::Operate);
    CheckText("The reason", i_reason);
    _impl->store.EditMachine(i_id, i_actor.name, i_is_paused ? "paused" : "resumed", [&](MachineEntry& io_entry) {
        io_entry.isPaused = i_is_paused;
        io_entry.pauseReason = i_is_paused ? i_reason : std::string();
    });
    return GetMachine(i_actor, i_id);
}

MachineView JobDesk::SetLoaded(const Actor& i_actor, const boost::uuids::uuid& i_id, const LoadedMaterial& i_loaded)
{
    Impl::Require(i_actor, Role::Operate);
    CheckText("The material", i_loaded.material);
    CheckText("The plate", i_loaded.plate);
    if (i_loaded.nozzle && !(*i_loaded.nozzle > 0 && *i_loaded.nozzle <= 10))
        throw ManagerError(Kind::BadInput, "The nozzle's diameter is a number of millimetres, at most 10.");
    _impl->store.EditMachine(i_id, i_actor.name, "loaded", [&](MachineEntry& io_entry) { io_entry.loaded = i_loaded; });
    return GetMachine(i_actor, i_id);
}

MachineView JobDesk::SetPrinter(const Actor& i_actor, const boost::uuids::uuid& i_id, const std::string& i_printer)
{
    Impl::Require(i_actor, Role::Operate);
    if (i_printer.size() > MaxPrinter)
        throw ManagerError(Kind::BadInput, "The description of a printer has at most 20,000 bytes.");
    if (!i_printer.empty())
        MakePrinterLink(i_printer);
    _impl->store.EditMachine(i_id, i_actor.name, "printer",
                             [&](MachineEntry& io_entry) { io_entry.printer = i_printer; });
    return GetMachine(i_actor, i_id);
}

std::uint64_t JobDesk::GetDiskUse(const Actor& i_actor) const
{
    Impl::Require(i_actor, Role::See);
    return _impl->files.GetDiskUse();
}

} // namespace MachineService::MachineManager
