#include "buildprocessor/machines/MachineProfile.h"

#include "buildprocessor/machines/MachinePictures.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace MachineService::BuildProcessor {

namespace {

template <class Item, class Condition>
std::optional<std::size_t> FindIndex(const std::vector<Item>& i_items, const Condition& i_condition)
{
    const auto found = std::find_if(i_items.begin(), i_items.end(), i_condition);
    return found == i_items.end() ? std::nullopt : std::optional(static_cast<std::size_t>(found - i_items.begin()));
}

std::optional<std::size_t> FindLength(const std::vector<double>& i_lengths, double i_length)
{
    return FindIndex(i_lengths, [&](double i_known) { return std::abs(i_known - i_length) < 1e-6; });
}

template <class Named>
std::optional<std::size_t> FindName(const std::vector<Named>& i_items, std::string_view i_name)
{
    return FindIndex(i_items, [&](const Named& i_known) { return i_known.name == i_name; });
}

/// What a queue's state is in profiles, in the catalog, for commands and for users.
struct StateRow
{
    const char* name;
    MachineState machineState;
    ErrorCode refusal;
    const char* sentence;
};

constexpr StateRow StateRows[] = {
    {"running", MachineState::Ready, ErrorCode::None, ""},
    {"paused", MachineState::Paused, ErrorCode::QueuePaused, "The printer's queue is paused."},
    {"error", MachineState::Failed, ErrorCode::QueueError, "The printer's queue has an error."},
    {"offline", MachineState::Offline, ErrorCode::QueueOffline, "The printer is offline."},
};
static_assert(std::size(StateRows) == static_cast<std::size_t>(QueueState::Offline) + 1);

const StateRow& GetRow(QueueState i_state)
{
    return StateRows[static_cast<std::size_t>(i_state)];
}

} // namespace

std::optional<std::size_t> MachineProfile::FindLayerHeight(double i_height) const
{
    return FindLength(layerHeights, i_height);
}

std::optional<std::size_t> MachineProfile::FindMaterial(std::string_view i_name) const
{
    return FindName(materials, i_name);
}

std::optional<std::size_t> MachineProfile::FindNozzle(double i_diameter) const
{
    return FindLength(nozzles, i_diameter);
}

std::optional<std::size_t> MachineProfile::FindPlate(std::string_view i_name) const
{
    return FindName(plates, i_name);
}

double MachineProfile::GetBedTemperature() const
{
    const double temperature = GetDefaultMaterial().bedTemperature;
    // A bed that is not heated for a material stays cold on every plate.
    if (plates.empty() || temperature == 0)
        return temperature;
    return std::clamp(temperature + plates[defaultPlate].bedTemperatureOffset, 0.0, MaxBedTemperature);
}

double MachineProfile::GetFirstExposureTime() const
{
    const double time = GetDefaultMaterial().firstExposureTime;
    return plates.empty() ? time : std::min(time * plates[defaultPlate].firstExposureFactor, MaxFirstExposureTime);
}

bool MachineProfile::MakesSupports() const
{
    return std::any_of(engineSettings.begin(), engineSettings.end(), [](const auto& i_setting) {
        return (i_setting.first == "support_material" || i_setting.first == "supports_enable") &&
               i_setting.second == "1";
    });
}

MachineData ToMachineData(const DatedProfile& i_profile)
{
    const MachineProfile& profile = i_profile.profile;
    MachineData data;
    data.id = profile.id;
    data.name = profile.name;
    data.configuresConnection = profile.configuresConnection;
    data.acceptsImplicitData = profile.acceptsImplicitData;
    data.acceptsComposedParts = profile.acceptsComposedParts;
    data.serviceId = ServiceId::BuildProcessors;
    data.representation = MachineRepresentation::Machine;
    data.modelId = profile.modelId;
    data.manufacturer = profile.manufacturer;
    data.driverId = profile.driverId;
    data.comment = profile.comment;
    data.configurationTime = i_profile.time;
    data.technology = profile.technology == Technology::Sla ? MachineTechnology::VatPhotopolymer
                                                            : MachineTechnology::MaterialExtrusion;
    data.picture = GetPicture(profile);
    data.state = GetRow(profile.queueState).machineState;
    if (auto sentence = GetStateSentence(profile.queueState); !sentence.empty())
        data.stateReasons.push_back(std::move(sentence));
    // The folder is watched: what is known of the queue holds at the moment at which it is asked for.
    data.stateTime = std::chrono::system_clock::now();

    const auto& outline = profile.bed.outline;
    const auto [minX, maxX] = std::minmax_element(outline.begin(), outline.end(),
                                                  [](const auto& i_a, const auto& i_b) { return i_a.x < i_b.x; });
    const auto [minY, maxY] = std::minmax_element(outline.begin(), outline.end(),
                                                  [](const auto& i_a, const auto& i_b) { return i_a.y < i_b.y; });
    BuildVolume volume{minX->x, minY->y, maxX->x, maxY->y, profile.height, profile.bed.shape == BedShape::Circle};
    if (volume.isCircular) {
        const double radius = profile.bed.diameter / 2;
        volume.minX = profile.bed.centre.x - radius;
        volume.maxX = profile.bed.centre.x + radius;
        volume.minY = profile.bed.centre.y - radius;
        volume.maxY = profile.bed.centre.y + radius;
    }
    data.buildVolume = volume;
    return data;
}

MachineChanges FindChanges(const DatedProfile& i_old, const DatedProfile& i_new)
{
    const MachineProfile& from = i_old.profile;
    const MachineProfile& to = i_new.profile;
    if (from == to)
        return MachineChanges::None;
    auto changes = MachineChanges::None;
    // A state that was set beside the profile leaves the configuration and its time as they were.
    MachineProfile sameState = to;
    sameState.queueState = from.queueState;
    if (from != sameState || i_old.time != i_new.time)
        changes = changes | MachineChanges::ConfigurationChanged;
    if (from.name != to.name)
        changes = changes | MachineChanges::NameChanged;
    if (from.queueState != to.queueState)
        changes = changes | MachineChanges::StateChanged;
    if (from.configuresConnection != to.configuresConnection)
        changes = changes | MachineChanges::CommandsChanged;
    return changes;
}

const char* GetStateName(QueueState i_state)
{
    return GetRow(i_state).name;
}

std::string GetStateSentence(QueueState i_state)
{
    return GetRow(i_state).sentence;
}

ErrorCode GetRefusal(QueueState i_state)
{
    return GetRow(i_state).refusal;
}

} // namespace MachineService::BuildProcessor
