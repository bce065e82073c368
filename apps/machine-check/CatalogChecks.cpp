#include "hashing/Sha256.h"
#include "machine-check/Session.h"
#include "tavsdk/Text.h"
#include "wire/Conversions.h"

#include <map>
#include <set>

namespace MachineCheck {

namespace {

constexpr std::size_t IdBytes = 16;
/// A heartbeat that is a little late is no finding.
constexpr auto Patience = std::chrono::milliseconds(1000);
/// Nobody waits for more to see whether a heartbeat comes.
constexpr std::uint32_t LongestHeartbeatMs = 10'000;

bool IsId(const std::string& i_id)
{
    return i_id.size() == IdBytes && i_id != std::string(IdBytes, '\0');
}

void CheckPlace(const pb::CatalogEvent& i_event, std::string& io_epoch, std::uint64_t& io_revision, Report& io_report)
{
    io_report.Expect(i_event.epoch().size() == IdBytes && (io_epoch.empty() || io_epoch == i_event.epoch()), "C2",
                     "An event has another epoch, or one of " + std::to_string(i_event.epoch().size()) + " bytes.");
    io_report.Expect(i_event.revision() >= io_revision, "C3",
                     "Revision " + std::to_string(i_event.revision()) + " follows " + std::to_string(io_revision) +
                         '.');
    io_epoch = i_event.epoch();
    io_revision = i_event.revision();
}

/// \return the machines; empty as well when no snapshot came.
std::vector<pb::Machine> ReadSnapshot(Session& io_session, Report& io_report)
{
    std::vector<pb::Machine> machines;
    std::string epoch;
    std::uint64_t revision = 0;
    bool isWhole = false;
    const auto status = io_session.Read<pb::WatchCatalogRequest, pb::CatalogEvent>(
        &pb::MachineService::Stub::WatchCatalog, {}, [&](const pb::CatalogEvent& i_event) {
            CheckPlace(i_event, epoch, revision, io_report);
            machines.insert(machines.end(), i_event.snapshot().machines().begin(), i_event.snapshot().machines().end());
            isWhole = i_event.snapshot().is_last();
            return !isWhole;
        });
    io_report.Expect(isWhole, "C1",
                     "No last page came within " + std::to_string(io_session.GetTarget().longestCall.count()) +
                         " s; the call said " + TavSDK::Quote(status.error_message(), 200) + '.');
    return machines;
}

void CheckLanguages(const pb::Machine& i_machine, Report& io_report)
{
    const auto check = [&](const pb::Text& i_text) {
        io_report.Expect(i_text.language().empty() || MachineService::Wire::IsLanguageTag(i_text.language()), "C11",
                         "The text " + TavSDK::Quote(i_text.text(), 100) + " of " +
                             TavSDK::Quote(i_machine.name(), 100) + " is in the language " +
                             TavSDK::Quote(i_text.language(), 100) + '.');
    };
    for (const auto& reason : i_machine.state_reasons())
        check(reason);
    for (const auto& command : i_machine.commands()) {
        check(command.name());
        check(command.description());
    }
}

void CheckMachine(const pb::Machine& i_machine, Report& io_report)
{
    const auto name = TavSDK::Quote(i_machine.name(), 100);
    io_report.Expect(!i_machine.name().empty(), "C5", "A machine has no name.");
    std::set<std::string> ids;
    for (const auto& command : i_machine.commands())
        io_report.Expect(IsId(command.id()) && ids.insert(command.id()).second && !command.name().text().empty(), "C6",
                         "The command " + TavSDK::Quote(command.name().text(), 100) + " of " + name +
                             " has no id, one that another has as well, or no name.");
    CheckLanguages(i_machine, io_report);
    if (!i_machine.has_build_volume())
        return;
    const auto& volume = i_machine.build_volume();
    io_report.Expect(volume.max_x_mm() > volume.min_x_mm() && volume.max_y_mm() > volume.min_y_mm() &&
                         volume.height_mm() > 0,
                     "C10", "The build volume of " + name + " has no size.");
}

void CheckIcons(Session& io_session, const std::vector<pb::Machine>& i_machines, Report& io_report)
{
    pb::GetIconsRequest request;
    for (const auto& machine : i_machines) {
        if (!machine.picture_sha256().empty())
            request.add_sha256(machine.picture_sha256());
        for (const auto& command : machine.commands()) {
            if (!command.icon_sha256().empty())
                request.add_sha256(command.icon_sha256());
        }
    }
    if (request.sha256_size() == 0)
        return;
    std::set<std::string> come;
    io_session.Read<pb::GetIconsRequest, pb::Icon>(&pb::MachineService::Stub::GetIcons, request,
                                                   [&](const pb::Icon& i_icon) {
                                                       if (MachineService::HashOf(i_icon.content()) == i_icon.sha256())
                                                           come.insert(i_icon.sha256());
                                                       return true;
                                                   });
    for (const auto& hash : request.sha256())
        io_report.Expect(come.contains(hash), "C7", "An icon that was named did not come, or was another one.");
}

/// Listens after the snapshot for as long as it takes.
void CheckHeartbeat(Session& io_session, std::uint32_t i_interval_ms, Report& io_report)
{
    if (i_interval_ms == 0 || i_interval_ms > LongestHeartbeatMs)
        return;
    const auto context = io_session.MakeContext();
    context->set_deadline(std::chrono::system_clock::now() + Patience + 2 * std::chrono::milliseconds(i_interval_ms));
    const auto reader = io_session.Get().WatchCatalog(context.get(), {});
    pb::CatalogEvent event;
    bool isWhole = false;
    bool hasBeaten = false;
    while (!hasBeaten && reader->Read(&event)) {
        hasBeaten = isWhole;
        isWhole = isWhole || event.snapshot().is_last();
    }
    context->TryCancel();
    reader->Finish();
    io_report.Expect(hasBeaten, "C8", "Nothing came for " + std::to_string(i_interval_ms) + " ms.");
}

} // namespace

Seen CheckCatalog(Session& io_session, std::uint32_t i_heartbeat_ms, Report& io_report)
{
    Seen seen;
    seen.machines = ReadSnapshot(io_session, io_report);
    std::set<std::string> ids;
    for (const auto& machine : seen.machines) {
        io_report.Expect(IsId(machine.id()) && ids.insert(machine.id()).second, "C4",
                         "The id of " + TavSDK::Quote(machine.name(), 100) + " is none, or that of another machine.");
        CheckMachine(machine, io_report);
    }
    CheckIcons(io_session, seen.machines, io_report);
    CheckHeartbeat(io_session, i_heartbeat_ms, io_report);
    Session other(io_session.GetTarget());
    std::set<std::string> again;
    for (const auto& machine : ReadSnapshot(other, io_report))
        again.insert(machine.id());
    io_report.Expect(again == ids, "C9", "A second connection saw other machines.");
    return seen;
}

} // namespace MachineCheck
