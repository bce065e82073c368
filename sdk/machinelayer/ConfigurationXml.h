#pragma once

#include "machinelayer/MachineRecords.h"
#include "machinelayer_export.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// Machine configurations as XML documents of sections, each with a namespace and a schema of its own;
/// docs/machine-configuration.md describes the format. Documents come from anywhere: size, depth, counts, texts and
/// numbers are bounded and checked.
///
/// Thread: any.
namespace MachineLayer {

/// The part of a machine's data that is its configuration, unchecked.
MACHINELAYER_EXPORT Data::MachineConfiguration TakeConfiguration(const Data::Machine& i_machine);
MACHINELAYER_EXPORT bool HasSection(const Data::MachineConfiguration& i_configuration);

/// \throws std::invalid_argument, without a full stop, for what no document can hold: a configuration without any
/// section, numbers out of range, texts that XML cannot carry or that are too long; it begins with the place,
/// for example "Nesting/NoBuildZone[2]/MinX".
MACHINELAYER_EXPORT void CheckConfiguration(const Data::MachineConfiguration& i_configuration);
/// The document in UTF-8.
/// \throws as CheckConfiguration(), and when the document were longer than readers take.
MACHINELAYER_EXPORT std::string WriteConfiguration(const Data::MachineConfiguration& i_configuration);

/// \param o_remarks gets a sentence, without its full stop, for each of the first things that depart from the schemas
/// and do no harm: what is not known and passed over, and what is not in its place.
/// \throws std::invalid_argument, a sentence with line, place and reason, for what is no such document, for another
/// version of a section, for values that a field cannot have, and for a document without any section.
MACHINELAYER_EXPORT Data::MachineConfiguration ReadConfiguration(std::string_view i_document,
                                                                 std::vector<std::string>& o_remarks);
MACHINELAYER_EXPORT Data::MachineConfiguration LoadConfiguration(const std::filesystem::path& i_path,
                                                                 std::vector<std::string>& o_remarks);

/// Describes a document or one of its sections.
struct ConfigurationSchema
{
    std::string element; ///< name of the element that it is for
    std::string nameSpace;
    std::string fileName; ///< in the folder in which the schemas are installed
};

/// The schemas that a configuration's document keeps to: that of the document, then those of the sections that it has.
MACHINELAYER_EXPORT std::vector<ConfigurationSchema>
GetConfigurationSchemas(const Data::MachineConfiguration& i_configuration);

} // namespace MachineLayer
