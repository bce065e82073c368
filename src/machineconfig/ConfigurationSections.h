#pragma once

#include "machineconfig/IConfigurationSection.h"

#include <span>
#include <string>
#include <string_view>

namespace MachineService::ConfigurationFormat {

inline constexpr char ConfigurationTag[] = "MachineConfiguration";
inline constexpr char ConfigurationPath[] = "/AM/MachineData/MachineConfiguration/2026/11";
inline constexpr char MachineTag[] = "Machine";

/// All sections, in the order in which a document has them.
std::span<const IConfigurationSection* const> ConfigurationSections();

/// What the machine has of them, unchecked.
PlatformMachineConfiguration TakeConfiguration(const MachineLayer::Data::Machine& i_machine);
bool HasSection(const PlatformMachineConfiguration& i_configuration);

/// Full name of the namespace with that path.
std::string MakeNamespace(std::string_view i_path);
/// "Nesting" of "/AM/MachineData/Nesting/2023/03".
std::string_view GetTag(std::string_view i_path);
/// "2023/03" of it.
std::string_view GetVersion(std::string_view i_path);

/// The machine that a document is about.
template <class Fields, class Configuration>
void DescribeMachine(Fields& io_fields, Configuration& io_configuration)
{
    io_fields.Text("Name", io_configuration.machineName);
    io_fields.Text("Manufacturer", io_configuration.manufacturer);
    io_fields.Text("ModelId", io_configuration.modelId);
}

} // namespace MachineService::ConfigurationFormat
