#pragma once

#include "machineservice_export.h"
#include "platform/VexlorPlatformInformation.h"
#include "tavsdk/XmlReader.h"

#include <cstddef>
#include <string_view>

namespace MachineService {

class PlatformParameterChoice;

/// Reads a platform information document into a record; docs/platform-information.md describes the format.
///
/// Lists are appended to and texts overwritten; machine data are not touched. What was read before a failure stays in
/// the record. A document with another root reads well and changes nothing.
///
/// Thread: any; one reader on one thread at a time.
class MACHINESERVICE_EXPORT PlatformInformationReader : public TavSDK::XmlReader<PlatformInformationReader>
{
public:
    /// \param io_target must outlive the reader.
    explicit PlatformInformationReader(VexlorPlatformInformation& io_target);
    ~PlatformInformationReader() override;

private:
    friend class TavSDK::XmlReader<PlatformInformationReader>;

    Answer _ReadRoot(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes);
    Answer _ReadInformation(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes);
    Answer _ReadMaterial(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes);
    Answer _ReadChoice(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes);
    Answer _ReadItem(std::string_view i_name, const TavSDK::XmlAttributes& i_attributes);
    void _ReadText(std::wstring& o_text);
    void _Count();

    VexlorPlatformInformation& _target;
    PlatformParameterChoice* _choice = nullptr; // the open one; owned by _target
    std::size_t _count = 0;
};

} // namespace MachineService
