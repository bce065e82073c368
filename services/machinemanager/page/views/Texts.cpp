#include "machinemanager/page/views/Texts.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <unordered_map>

namespace MachineService::MachineManager {

namespace {

std::string Fill(std::string i_text, const char* ip_place, std::string_view i_value)
{
    const auto place = i_text.find(ip_place);
    return place == std::string::npos ? i_text : i_text.replace(place, 2, i_value);
}

} // namespace

std::string Translate(std::string_view i_english, std::string_view i_language, std::string_view i_first,
                      std::string_view i_second)
{
    static const auto rows = [] {
        std::unordered_map<std::string_view, const Text*> all;
        for (const auto& text : GetTexts())
            all.emplace(text.english, &text);
        return all;
    }();
    const auto found = rows.find(i_english);
    if (found == rows.end())
        throw std::logic_error("The page has no text '" + std::string(i_english) + '\'');
    const auto* const text = i_language == "de" ? found->second->german : found->second->english;
    return Fill(Fill(text, "%2", i_second), "%1", i_first);
}

std::string ChooseLanguage(std::string_view i_accepted)
{
    std::string best = "en";
    double bestWeight = 0;
    while (!i_accepted.empty()) {
        auto entry = i_accepted.substr(0, i_accepted.find(','));
        i_accepted.remove_prefix(std::min(entry.size() + 1, i_accepted.size()));
        entry.remove_prefix(std::min(entry.find_first_not_of(' '), entry.size()));
        double weight = 1;
        if (const auto quality = entry.find(";q="); quality != std::string_view::npos) {
            const auto digits = entry.substr(quality + 3);
            std::from_chars(digits.data(), digits.data() + digits.size(), weight);
        }
        const auto language = entry.substr(0, entry.find_first_of("-;"));
        if ((language == "en" || language == "de") && weight > bestWeight) {
            best = language;
            bestWeight = weight;
        }
    }
    return best;
}

} // namespace MachineService::MachineManager
