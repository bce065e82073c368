#include "Fuzz.h"

#include "platform/PlatformInformationReader.h"
#include "tavsdk/Utf8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    MachineService::VexlorPlatformInformation information;
    MachineService::PlatformInformationReader reader(information);
    if (!reader.ParseText(Fuzz::ToText(ip_data, i_size)))
        Fuzz::RequireSentence(reader.GetError());
    const auto requireText = [](const std::wstring& i_text) {
        Fuzz::Require(TavSDK::FromUtf8(TavSDK::ToUtf8(i_text)) == i_text, "texts are text");
    };
    requireText(information.name);
    requireText(information.comment);
    for (const std::wstring& material : information.materials)
        requireText(material);
    for (const auto& parameter : information.parameters)
        Fuzz::Require(parameter != nullptr, "there is a parameter for each choice");
    return 0;
}
