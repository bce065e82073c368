#include "buildprocessor/engine/EngineFailure.h"

#include "buildprocessor/base/NameList.h"
#include "contract/Failure.h"
#include "tavsdk/Text.h"

#include <algorithm>
#include <charconv>
#include <functional>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view NameMark = "Object name: ";

template <class Visit>
void ForEachLine(std::string_view i_text, const Visit& i_visit)
{
    while (!i_text.empty()) {
        const std::size_t end = std::min(i_text.find('\n'), i_text.size());
        i_visit(i_text.substr(0, end));
        i_text.remove_prefix(std::min(end + 1, i_text.size()));
    }
}

/// Without "[2026-01-31 10:00:00.000000] [0x00007f00] [error]  ".
std::string_view CutLogMarks(std::string_view i_line)
{
    const auto skipSpace = [&] {
        i_line.remove_prefix(std::min(i_line.find_first_not_of(" \t"), i_line.size()));
    };
    skipSpace();
    while (i_line.starts_with('[') && i_line.find(']') != std::string_view::npos) {
        i_line.remove_prefix(i_line.find(']') + 1);
        skipSpace();
    }
    return i_line;
}

/// Lines that mean nothing to a user: progress, the program's own traces, files of a folder that goes with the job.
bool IsForNobody(std::string_view i_line)
{
    constexpr std::string_view marks[] = {" => ",
                                          "[trace]",
                                          "[debug]",
                                          "[info]",
                                          "Please inspect the file",
                                          "!!!!!",
                                          "for all macro processing errors",
                                          "Object name:"};
    return i_line == "and" || std::any_of(std::begin(marks), std::end(marks), [&](std::string_view i_mark) {
               return i_line.find(i_mark) != std::string_view::npos;
           });
}

/// Addresses and absolute paths mean nothing to a user, and are not the same twice.
bool IsPlainWord(std::string_view i_word)
{
    return !i_word.starts_with("0x") && !(i_word.starts_with('/') && i_word.size() > 1);
}

std::vector<std::string> FindNamed(const std::string& i_output, const std::vector<PartGeometry>& i_parts)
{
    std::vector<std::string> names;
    ForEachLine(i_output, [&](std::string_view i_line) {
        const std::size_t at = i_line.find(NameMark);
        if (at == std::string_view::npos)
            return;
        i_line.remove_prefix(at + NameMark.size());
        std::size_t number = 0;
        if (std::from_chars(i_line.data(), i_line.data() + i_line.size(), number).ec == std::errc() && number >= 1 &&
            number <= i_parts.size())
            names.push_back(i_parts[number - 1].name);
    });
    return names;
}

std::vector<std::string> Select(const std::vector<PartGeometry>& i_parts,
                                const std::function<bool(const PartGeometry&)>& i_condition)
{
    std::vector<std::string> names;
    for (const PartGeometry& part : i_parts) {
        if (i_condition(part))
            names.push_back(part.name);
    }
    return names;
}

/// The parts that nothing can be made of as far as their boxes tell; all of them when the boxes do not.
std::string NameThin(const MachineProfile& i_profile, const std::vector<PartGeometry>& i_parts)
{
    const double layer = i_profile.layerHeights.front();
    auto names = Select(i_parts, [&](const PartGeometry& i_part) {
        const auto& [min, max] = i_part.box;
        return max.z - min.z < layer || std::min(max.x - min.x, max.y - min.y) < i_profile.nozzleDiameter;
    });
    if (names.empty())
        names = Select(i_parts, [](const PartGeometry&) { return true; });
    return JoinNames(names);
}

/// Empty when the reason lies in no part that is known here.
std::string DescribeParts(const std::string& i_output, const MachineProfile& i_profile,
                          const std::vector<PartGeometry>& i_parts)
{
    const auto says = [&](const char* ip_words) {
        return i_output.find(ip_words) != std::string::npos;
    };
    const std::string nozzle = TavSDK::NumberToText(i_profile.nozzleDiameter) + " mm";
    const std::string layer = TavSDK::NumberToText(i_profile.layerHeights.front()) + " mm";
    if (says("The print is empty") || says("No layers were detected") || says("No extrusions were generated"))
        return "Nothing can be printed of these parts, which are too thin or too small for a nozzle of " + nozzle +
               " and layers of " + layer + ": " + NameThin(i_profile, i_parts) +
               ". Turn them, scale them, or choose a finer nozzle or lower layers.";
    if (says("no extrusions in the first layer")) {
        auto names = FindNamed(i_output, i_parts);
        if (names.empty())
            names = Select(i_parts, [&](const PartGeometry& i_part) {
                const auto [min, max] = GetBoxBelow(i_part, i_part.box.min.z + i_profile.layerHeights.front() / 2);
                return std::min(max.x - min.x, max.y - min.y) < i_profile.nozzleDiameter;
            });
        if (names.empty())
            names = Select(i_parts, [](const PartGeometry&) { return true; });
        return "These parts touch the plate in a point or an edge, and nothing of them can be printed in the first "
               "layer: " +
               JoinNames(names) + ". Turn them onto a flat side, or add supports or a raft.";
    }
    if (says("Empty layer")) {
        const auto names = FindNamed(i_output, i_parts);
        if (!names.empty())
            return "These parts have layers in which nothing can be printed, because they are too thin there or hang "
                   "in the air: " +
                   JoinNames(names) + ". Turn them, scale them, or add supports.";
    }
    return {};
}

} // namespace

std::string ToEngineName(const PartGeometry& i_part, std::size_t i_index)
{
    constexpr std::size_t longest = 60;
    std::string name = std::to_string(i_index + 1) + ' ';
    for (const char character : i_part.name.substr(0, longest)) {
        const bool plain = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                           (character >= '0' && character <= '9') || character == '.' || character == '-' ||
                           character == ' ';
        name += plain ? character : '_';
    }
    return name;
}

std::string CleanEngineText(std::string_view i_text)
{
    constexpr std::size_t longest = 400;
    std::string cleaned;
    ForEachLine(i_text, [&](std::string_view i_line) {
        if (IsForNobody(i_line))
            return;
        std::string_view rest = CutLogMarks(i_line);
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(' '), rest.size());
            std::string word(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
            std::erase_if(word, [](char i_character) {
                return static_cast<unsigned char>(i_character) < 0x20 || i_character == 0x7f;
            });
            // The output can be anything.
            std::replace_if(
                word.begin(), word.end(),
                [](char i_character) { return static_cast<unsigned char>(i_character) >= 0x80; }, '?');
            if (!word.empty() && IsPlainWord(word))
                cleaned += (cleaned.empty() ? "" : " ") + word;
        }
    });
    return cleaned.size() > longest ? cleaned.substr(cleaned.size() - longest) : cleaned;
}

void FailWithEngineReason(const std::string& i_what, const std::string& i_output, const MachineProfile& i_profile,
                          const std::vector<PartGeometry>& i_parts)
{
    const std::string ofParts = i_parts.empty() ? std::string() : DescribeParts(i_output, i_profile, i_parts);
    if (!ofParts.empty())
        Fail(ErrorCode::FileError, ofParts);
    std::string reason = CleanEngineText(i_output);
    if (!reason.empty() && std::string_view(".!?").find(reason.back()) == std::string_view::npos)
        reason += '.';
    Fail(ErrorCode::InternalError, reason.empty() ? i_what + '.' : i_what + ": " + reason);
}

void FailMachineFile(const std::string& i_what)
{
    Fail(ErrorCode::InternalError, "The slicing engine's machine file is not usable: " + i_what + '.');
}

} // namespace MachineService::BuildProcessor
