#pragma once

#include "machineconfig/PlatformMachineConfiguration.h"
#include "machineservice_export.h"

#include <string>
#include <string_view>
#include <vector>

namespace MachineLayer {
class IMachineData;
}

namespace MachineService {

/// What a machine's data say about preparing platforms for it.
/// \throws CommunicationException InternalError when the data have no section at all, or hold what no configuration
/// can: numbers that are no numbers or out of range, texts that XML cannot carry. The text names the field.
MACHINESERVICE_EXPORT PlatformMachineConfiguration
MachineConfigurationFromMachineData(const MachineLayer::IMachineData& i_machine_data);

/// The machine's parameters as an XML document in UTF-8; docs/machine-configuration.md describes the format.
///
/// \code
/// const auto configuration = MachineService::MachineConfigurationFromMachineData(machineData);
/// const std::string text = MachineService::WriteMachineConfiguration(configuration);
/// assert(MachineService::ReadMachineConfiguration(text) == configuration);
/// \endcode
///
/// \throws CommunicationException InternalError as above, and for a document that were too long to be read again.
MACHINESERVICE_EXPORT std::string WriteMachineConfiguration(const PlatformMachineConfiguration& i_configuration);

/// The configuration in such a document.
/// \param i_document at most TavSDK::XmlBounds::Document bytes.
/// \param op_remarks gets a sentence, without its full stop, for each of the first things that depart from the schemas
/// and do no harm: what is not known and passed over, and what is not in its place. When null, they are warnings
/// of the logging category machineservice.machineconfig.
/// \throws CommunicationException FileError for what is no such document, a section whose version is not known, a
/// document without any section; the text names line and field.
MACHINESERVICE_EXPORT PlatformMachineConfiguration
ReadMachineConfiguration(std::string_view i_document, std::vector<std::string>* op_remarks = nullptr);

/// The schemas that a configuration's document keeps to: that of the document, then those of the sections that it has.
/// \throws CommunicationException InternalError as above.
MACHINESERVICE_EXPORT std::vector<ConfigurationSchema>
GetConfigurationSchemas(const PlatformMachineConfiguration& i_configuration);

} // namespace MachineService
