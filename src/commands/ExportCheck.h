#pragma once

#include "vexlorcore/IVexlorApiProvider.h"

namespace MachineService {

struct MachineData;

namespace Helpers {

/// True when every part of the host's active scene can go to the machine; otherwise shows one critical message that
/// says what to change. A host without an active scene passes.
/// Thread: UI thread.
bool CheckExport(const MachineData& i_data, const VexlorCore::ApiProviderGetter& i_api_provider);

} // namespace Helpers
} // namespace MachineService
