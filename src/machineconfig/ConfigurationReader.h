#pragma once

#include "machineconfig/FieldReader.h"
#include "machineconfig/PlatformMachineConfiguration.h"

#include "tavsdk/XmlReader.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace MachineService::ConfigurationFormat {

class IConfigurationSection;

/// Reads a document that describes a machine's configuration into an empty one; what is in it after a failure does not
/// count.
class ConfigurationReader final : public TavSDK::XmlReader<ConfigurationReader>
{
public:
    explicit ConfigurationReader(PlatformMachineConfiguration& o_configuration)
        : XmlReader(&ConfigurationReader::_ReadRoot)
        , _configuration(o_configuration)
    {}

    /// Whether the document had the right root, and a section that is known.
    bool HasSection() const { return _hasSection; }

private:
    using Attributes = TavSDK::XmlAttributes;

    /// An element of fields that is open.
    struct OpenElement
    {
        std::string tag;
        FieldReader fields;
    };

    Answer _ReadRoot(std::string_view i_tag, const Attributes& i_attributes);
    Answer _ReadSection(std::string_view i_tag, const Attributes& i_attributes);
    Answer _ReadField(std::string_view i_tag, const Attributes& i_attributes);
    void _EndElement();

    FieldReader& _Open(std::string_view i_tag);
    void _CheckVersion(std::string_view i_namespace, std::string_view i_path);
    [[noreturn]] void _FailAt(std::string_view i_tag, const std::string& i_reason);

    PlatformMachineConfiguration& _configuration;
    std::string _namespace; ///< of the section that is open
    // A deque: opening an element moves none of those around it.
    std::deque<OpenElement> _open;
    bool _hasMachine = false;
    bool _hasSection = false;
    std::size_t _elementCount = 0;
};

} // namespace MachineService::ConfigurationFormat
