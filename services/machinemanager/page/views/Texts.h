#pragma once

#include <span>
#include <string>
#include <string_view>

namespace MachineService::MachineManager {

/// One text of the page in all its languages.
struct Text
{
    const char* english; ///< also its name
    const char* german;
};

std::span<const Text> GetTexts();

/// A text in a language ("en", "de"), with %1 and %2 filled in.
/// \throws std::logic_error when the table has no such text.
std::string Translate(std::string_view i_english, std::string_view i_language, std::string_view i_first = {},
                      std::string_view i_second = {});

/// The best language of ours by `Accept-Language`.
std::string ChooseLanguage(std::string_view i_accepted);

} // namespace MachineService::MachineManager
