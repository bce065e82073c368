#pragma once

#include "machinelayer/ConfigurationNamespaces.h"
#include "machinelayer/NodeBuilder.h"

#include "tavsdk/XmlReader.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace MachineLayer {

/// Elements that a document may have.
inline constexpr std::size_t MostConfigurationElements = 1'000'000;

/// Reads a document with sections into nodes.
class ConfigurationReader final : public TavSDK::XmlReader<ConfigurationReader>
{
public:
    ConfigurationReader()
        : XmlReader(&ConfigurationReader::_ReadRoot)
        , _builder(GetConfigurationDescription())
    {}

    /// Whether the document had a section that is known.
    bool HasSection() const { return _hasSection; }
    NodeBuilder& GetBuilder() { return _builder; }

private:
    using Attributes = TavSDK::XmlAttributes;

    Answer _ReadRoot(std::string_view i_tag, const Attributes& i_attributes);
    Answer _ReadElement(std::string_view i_tag, const Attributes& i_attributes);
    void _EndElement();

    const Field* _Find(std::string_view i_tag);
    void _CheckVersion(const Field& i_field, std::string_view i_namespace);
    void _CheckAttributes(const Field& i_field, const Attributes& i_attributes);
    void _RemarkStrayContent(std::string_view i_name);
    template <class Action>
    void _Guard(const Action& i_action);

    NodeBuilder _builder;
    XmlNamespaces _namespaces;
    std::vector<std::string> _openNamespaces; ///< of the records that are open
    std::size_t _elementCount = 0;
    bool _hasSection = false;
};

} // namespace MachineLayer
