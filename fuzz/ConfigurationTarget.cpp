#include "Fuzz.h"

#include "client/interface/CommunicationException.h"
#include "machineconfig/MachineConfiguration.h"
#include "machinelayer/ConfigurationXml.h"

#include <optional>
#include <stdexcept>

namespace {

using Configuration = MachineLayer::Data::MachineConfiguration;

/// As the ground reads it.
std::optional<Configuration> ReadBelow(std::string_view i_document)
{
    std::vector<std::string> remarks;
    try {
        auto configuration = MachineLayer::ReadConfiguration(i_document, remarks);
        for (const std::string& remark : remarks)
            Fuzz::RequireSentence(remark);
        return configuration;
    } catch (const std::invalid_argument& failure) {
        Fuzz::RequireSentence(failure);
        return std::nullopt;
    }
}

/// As the library reads it.
std::optional<Configuration> ReadAbove(std::string_view i_document)
{
    std::vector<std::string> remarks;
    try {
        return MachineService::ReadMachineConfiguration(i_document, &remarks);
    } catch (const MachineService::CommunicationException& failure) {
        Fuzz::RequireSentence(failure);
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const std::string_view document = Fuzz::ToText(ip_data, i_size);
    const auto configuration = ReadBelow(document);
    Fuzz::Require(ReadAbove(document) == configuration, "both readers read the same");
    if (configuration)
        Fuzz::Require(ReadAbove(MachineService::WriteMachineConfiguration(*configuration)) == configuration,
                      "a configuration reads back the same");
    return 0;
}
