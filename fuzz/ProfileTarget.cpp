#include "Fuzz.h"

#include "buildprocessor/machines/ProfileReader.h"

/// Qt 5.15's reader of JSON loses memory where a document breaks off.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libQt5Core";
}

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
