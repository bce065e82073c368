#include "Fuzz.h"

#include "buildprocessor/machines/ProfileReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    using namespace MachineService::BuildProcessor;
    try {
        ReadProfile(std::string(Fuzz::ToText(ip_data, i_size)), "profiles/seed.json");
    } catch (const ProfileError& failure) {
        Fuzz::RequireSentence(failure);
    }
    return 0;
}
