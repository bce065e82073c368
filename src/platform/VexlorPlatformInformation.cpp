#include "platform/VexlorPlatformInformation.h"

namespace MachineService {

VexlorPlatformInformation::VexlorPlatformInformation()
    : machineData(MachineLayer::CreateMachineData())
{}

VexlorPlatformInformation::VexlorPlatformInformation(const VexlorPlatformInformation& i_other)
    : machineData(i_other.machineData ? i_other.machineData->Clone() : nullptr)
    , name(i_other.name)
    , comment(i_other.comment)
    , materials(i_other.materials)
    , parameters(i_other.parameters)
{}

VexlorPlatformInformation& VexlorPlatformInformation::operator=(const VexlorPlatformInformation& i_other)
{
    if (this == &i_other)
        return *this;
    machineData = i_other.machineData ? i_other.machineData->Clone() : nullptr;
    name = i_other.name;
    comment = i_other.comment;
    materials = i_other.materials;
    parameters = i_other.parameters;
    return *this;
}

VexlorPlatformInformation::~VexlorPlatformInformation() = default;

void VexlorPlatformInformation::PopulatePropertiesUsingMachineInformation()
{
    if (machineData) {
        const MachineLayer::Data::MachineProperties& properties = machineData->Get().properties;
        name = properties.name;
        comment = properties.comment;
        materials.assign(1, properties.material);
    }
    parameters.clear();
}

} // namespace MachineService
