#include "buildprocessor/MachineProfile.h"

#include <algorithm>

namespace MachineService::BuildProcessor {

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

MachineChanges FindChanges(const MachineProfile& i_old, const MachineProfile& i_new)
{
    if (i_old == i_new)
        return MachineChanges::None;
    // Whatever was edited, the file has a new time, and with it the machine's configuration.
    auto changes = MachineChanges::ConfigurationChanged;
    if (i_old.name != i_new.name)
        changes = changes | MachineChanges::NameChanged;
    if (i_old.queueState != i_new.queueState)
        changes = changes | MachineChanges::StateChanged;
    if (i_old.configuresConnection != i_new.configuresConnection)
        changes = changes | MachineChanges::CommandsChanged;
    return changes;
}

ErrorCode GetRefusal(QueueState i_state)
{
    switch (i_state) {
    case QueueState::Running:
        break;
    case QueueState::Paused:
        return ErrorCode::QueuePaused;
    case QueueState::Error:
        return ErrorCode::QueueError;
    case QueueState::Offline:
        return ErrorCode::QueueOffline;
    }
    return ErrorCode::None;
}

} // namespace MachineService::BuildProcessor
