#include "catalog/PldfTimestamps.h"

#include "tavam/PropertyNames.h"
#include "vexlorcore/Database.h"
#include "vexlorcore/Time.h"

#include <chrono>
#include <optional>
#include <string>

namespace MachineService::Utilities {

namespace {

using TavAM::PropertyNames::Print3D::MachineInformationTimestamp;

// Writing a configuration takes a moment: times this close are those of one and the same writing.
constexpr long long MaxSecondsOfOneWriting = 5;

std::optional<long long> GetConfigurationSeconds(const Machine& i_machine)
{
    const std::optional<ConfigurationTime> time = i_machine.GetMachineData().configurationTime;
    if (!time || time->time_since_epoch().count() == AbsentConfigurationTicks)
        return std::nullopt;
    return std::chrono::duration_cast<std::chrono::seconds>(time->time_since_epoch()).count();
}

void Write(TavAM::Object& io_object, long long i_seconds)
{
    io_object.GetAMXProperties(false).SetText(MachineInformationTimestamp,
                                              VexlorCore::GetUtcTimeAsIso8601WString(i_seconds));
}

} // namespace

void SetPldfTimeStampToCurrentTime(VexlorCore::DataSet* ip_data_set)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    Write(ip_data_set->GetAMObject(), std::chrono::duration_cast<std::chrono::seconds>(now).count());
}

void SetPldfTimestampFromMachine(TavAM::Object& io_object, const Machine& i_machine)
{
    try {
        if (const auto seconds = GetConfigurationSeconds(i_machine))
            Write(io_object, *seconds);
    } catch (...) {
        // A time that cannot be written is one that the scene does not know; attaching goes on without it.
    }
}

std::optional<long long> GetPldfTimestamp(VexlorCore::DataSet* ip_data_set)
{
    const auto text = ip_data_set->GetAMObject().GetAMXProperties(false).GetText(MachineInformationTimestamp);
    return text && !text->empty() ? std::optional(VexlorCore::GetUtcTimeFromIso8601String(*text)) : std::nullopt;
}

void UpdatePldfTimestamp(VexlorCore::DataSet* ip_data_set, const Machine& i_machine)
{
    const auto machineSeconds = GetConfigurationSeconds(i_machine);
    if (!machineSeconds)
        return;
    const auto storedSeconds = GetPldfTimestamp(ip_data_set);
    if (storedSeconds && *machineSeconds - *storedSeconds <= MaxSecondsOfOneWriting)
        return;
    Write(ip_data_set->GetAMObject(), *machineSeconds);
    if (auto* const database = ip_data_set->GetDatabase())
        database->Send(VexlorCore::BPPlatformRevisionChanged(ip_data_set));
}

} // namespace MachineService::Utilities
