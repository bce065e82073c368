#pragma once

#include "client/interface/ServiceTypes.h"
#include "machineservice_export.h"

#include "vexlorcore/IVexlorApiProvider.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace TavAM {
class Platform;
}
namespace VexlorCore {
class DataSet;
}

namespace MachineService {

/// Brings the files that a machine left into a scene (formats 1 to 5) or opens them beside it (6 to 8).
///
/// \param i_files full paths; passed on as they are, also when there are none.
/// \param i_on_platform_loaded handed to the host, which calls it for each platform taken into the scene.
/// Thread: any; the host brings itself to the UI thread.
/// \throws CommunicationException UnsupportedOutputFormat "Unsupported input file format." for any other format; what
/// the host throws; std::bad_function_call for an empty i_api_provider.
MACHINESERVICE_EXPORT void
LoadProcessorOutput(VexlorCore::DataSet* ip_data_set, DataFormat i_format, const std::vector<std::wstring>& i_files,
                    VexlorCore::ApiProviderGetter i_api_provider,
                    std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded);

} // namespace MachineService
