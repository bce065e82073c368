#include "machineconfig/ConfigurationSections.h"

#include <algorithm>
#include <array>

namespace MachineService::ConfigurationFormat {

namespace {

constexpr std::string_view Base = "https://www.vexlor.example";
constexpr std::size_t VersionSize = std::string_view("2022/09").size();

} // namespace

// Each in the file of its name.
const IConfigurationSection& SupportProfilesSection();
const IConfigurationSection& NestingSection();
const IConfigurationSection& BaseplateSection();
const IConfigurationSection& ZBraceSection();
const IConfigurationSection& ZCompensationSection();
const IConfigurationSection& PartExportSection();

std::span<const IConfigurationSection* const> ConfigurationSections()
{
    static const std::array sections = {&SupportProfilesSection(), &NestingSection(),       &BaseplateSection(),
                                        &ZBraceSection(),          &ZCompensationSection(), &PartExportSection()};
    return sections;
}

PlatformMachineConfiguration TakeConfiguration(const MachineLayer::Data::Machine& i_machine)
{
    PlatformMachineConfiguration configuration;
    configuration.machineName = i_machine.properties.name;
    configuration.manufacturer = i_machine.properties.manufacturer;
    configuration.modelId = i_machine.properties.modelId;
    for (const IConfigurationSection* section : ConfigurationSections())
        section->Take(i_machine, configuration);
    return configuration;
}

bool HasSection(const PlatformMachineConfiguration& i_configuration)
{
    const auto sections = ConfigurationSections();
    return std::any_of(sections.begin(), sections.end(),
                       [&](const IConfigurationSection* ip_section) { return ip_section->Has(i_configuration); });
}

std::string MakeNamespace(std::string_view i_path)
{
    return std::string(Base).append(i_path);
}

std::string_view GetTag(std::string_view i_path)
{
    i_path.remove_suffix(VersionSize + 1);
    return i_path.substr(i_path.rfind('/') + 1);
}

std::string_view GetVersion(std::string_view i_path)
{
    return i_path.substr(i_path.size() - VersionSize);
}

} // namespace MachineService::ConfigurationFormat
