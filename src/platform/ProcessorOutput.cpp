#include "platform/ProcessorOutput.h"

#include "client/interface/CommunicationException.h"

#include "vexlorcore/IVexlorApiProvider.h"

#include <cstdint>
#include <utility>

namespace MachineService {

void LoadProcessorOutput(VexlorCore::DataSet* ip_data_set, DataFormat i_format,
                         const std::vector<std::wstring>& i_files, VexlorCore::ApiProviderGetter i_api_provider,
                         std::function<void(std::shared_ptr<TavAM::Platform>)> i_on_platform_loaded)
{
    switch (i_format) {
    case DataFormat::Platform:
    case DataFormat::Placement:
    case DataFormat::Properties:
    case DataFormat::Strategies:
    case DataFormat::AdditionalParts: {
        // The host's import kinds have the numbers of the formats.
        const auto kind = static_cast<std::int32_t>(i_format);
        try {
            i_api_provider().LoadProcessorFiles(ip_data_set, i_files, kind, std::move(i_on_platform_loaded), 0);
        } catch (const VexlorCore::JobCancelled&) {
            throw CommunicationException(ErrorCode::ProcessingAborted);
        }
        return;
    }
    case DataFormat::Document:
    case DataFormat::MachineFile:
    case DataFormat::Other:
        i_api_provider().OpenProcessorFiles(ip_data_set, i_files);
        return;
    case DataFormat::None:
    case DataFormat::Undefined:
        break;
    }
    // Services may send numbers that the enumeration does not have.
    throw CommunicationException(ErrorCode::UnsupportedOutputFormat, "Unsupported input file format.");
}

} // namespace MachineService
