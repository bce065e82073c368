#include "Fuzz.h"

#include "tavsdk/Utf8.h"
#include "vexlorcore/Time.h"

#include <stdexcept>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* ip_data, std::size_t i_size)
{
    const auto text = TavSDK::FromUtf8(Fuzz::ToText(ip_data, i_size));
    if (!text)
        return 0;
    try {
        const long long seconds = VexlorCore::GetUtcTimeFromIso8601String(*text);
        const std::wstring written = VexlorCore::GetUtcTimeAsIso8601WString(seconds);
        Fuzz::Require(VexlorCore::GetUtcTimeFromIso8601String(written) == seconds, "a time reads back the same");
    } catch (const std::invalid_argument& failure) {
        Fuzz::RequireSentence(failure);
    } catch (const std::out_of_range& failure) {
        // An offset may lead out of the years that the form has.
        Fuzz::RequireSentence(failure);
    }
    return 0;
}
