#pragma once

#include "machinelayer/IMachineData.h"
#include "machineservice_export.h"
#include "platform/IPlatformParameterChoice.h"

#include <memory>
#include <string>
#include <vector>

namespace MachineService {

/// What a machine can build on and what the user may choose of it.
///
/// Copies have machine data of their own and share the parameters, which never change.
struct MACHINESERVICE_EXPORT VexlorPlatformInformation
{
    /// With empty machine data.
    VexlorPlatformInformation();
    VexlorPlatformInformation(const VexlorPlatformInformation& i_other);
    VexlorPlatformInformation& operator=(const VexlorPlatformInformation& i_other);
    ~VexlorPlatformInformation();

    /// For a machine that sent no texts: takes name, comment and the one material from the machine data, if there are
    /// any. There are no parameters afterwards.
    void PopulatePropertiesUsingMachineInformation();

    std::unique_ptr<MachineLayer::IMachineData> machineData;
    std::wstring name;
    std::wstring comment;
    std::vector<std::wstring> materials;
    std::vector<std::shared_ptr<IPlatformParameterChoice>> parameters;
};

} // namespace MachineService
