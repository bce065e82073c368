#include "Fuzz.h"

#include "client/interface/CommunicationException.h"
#include "contract/PlatformChoices.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const std::vector<MachineService::PlatformChoice> choices = {
        {.id = "B", .name = "Plate", .items = {{.id = "steel", .name = "Steel"}, {.id = "glass", .name = "Glass"}}}};
    try {
        const auto values =
            MachineService::ReadChosenValues(std::string(Fuzz::ToText(ip_data, i_size)), "Seed", choices);
        for (const auto& [id, value] : values)
            Fuzz::Require(id == "B" && (value == "steel" || value == "glass"), "only what is offered is chosen");
    } catch (const MachineService::CommunicationException& failure) {
        Fuzz::RequireSentence(failure);
    }
    return 0;
}
