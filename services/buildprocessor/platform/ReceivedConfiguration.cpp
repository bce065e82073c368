#include "buildprocessor/platform/ReceivedConfiguration.h"

#include "contract/Failure.h"
#include "machinelayer/ConfigurationXml.h"
#include "tavam/PropertyNames.h"
#include "tavsdk/Utf8.h"

#include <stdexcept>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::size_t MaxZones = 1000; // each is compared with each part

[[noreturn]] void FailReading(const std::string& i_reason)
{
    Fail(ErrorCode::FileError, "The machine configuration of the platform cannot be read: " + i_reason);
}

} // namespace

ReceivedConfiguration ReadReceivedConfiguration(const TavAM::Platform& i_platform)
{
    ReceivedConfiguration received;
    const auto text = i_platform.GetAMXProperties().GetText(TavAM::PropertyNames::Print3D::MachineConfiguration);
    if (!text)
        return received;
    std::vector<std::string> remarks;
    try {
        received.configuration = MachineLayer::ReadConfiguration(TavSDK::ToUtf8(*text), remarks);
    } catch (const std::invalid_argument& error) {
        FailReading(error.what());
    }
    const auto& nesting = received.configuration.nesting;
    if (nesting && nesting->noBuildZones.size() > MaxZones)
        FailReading("There are more than " + std::to_string(MaxZones) + " no-build zones.");
    const auto add = [&](bool i_is_there, const std::string& i_name) {
        if (i_is_there)
            received.notes.push_back("The slicing engine has no setting for the configuration's " + i_name +
                                     "; it is not applied.");
    };
    add(received.configuration.zBrace.has_value(), "Z braces");
    add(received.configuration.zCompensation.has_value(), "Z compensation");
    for (const std::string& remark : remarks)
        received.notes.push_back("In the platform's machine configuration " + remark + '.');
    return received;
}

} // namespace MachineService::BuildProcessor
