#include "buildprocessor/platform/PartStrategies.h"

#include "buildprocessor/geometry/PartGeometry.h"
#include "tavsdk/Utf8.h"

#include <algorithm>

namespace MachineService::BuildProcessor {

namespace {

TavAM::Part::Strategies AssignPart(const TavAM::Part& i_part, const std::string& i_label,
                                   const std::vector<PrintStrategy>& i_known, StrategyReport& io_report)
{
    const auto old = i_part.GetStrategies().value_or(TavAM::Part::Strategies());
    TavAM::Part::Strategies strategies;
    for (const PrintStrategy& first : i_known) {
        const std::wstring role = TavSDK::ToWide(first.role);
        if (strategies.contains(role) || (first.role == SupportRole && !i_part.HasSupports()))
            continue;
        const auto own = old.find(role);
        const bool isKnown =
            own != old.end() && std::any_of(i_known.begin(), i_known.end(), [&](const auto& i_candidate) {
                return i_candidate.role == first.role && TavSDK::ToWide(i_candidate.id) == own->second;
            });
        strategies[role] = isKnown ? own->second : TavSDK::ToWide(first.id);
        if (isKnown) {
            ++io_report.kept;
        } else if (own == old.end()) {
            ++io_report.assigned;
        } else {
            io_report.replaced.push_back("The part '" + i_label + "' had the strategy '" + TavSDK::ToUtf8(own->second) +
                                         "' for the role '" + first.role +
                                         "', which the printer does not know; it now has '" + first.name + "'.");
        }
    }
    for (const auto& [role, id] : old) {
        const auto hasThisRole = [&wanted = role](const auto& i_candidate) {
            return TavSDK::ToWide(i_candidate.role) == wanted;
        };
        const bool hasRole = std::any_of(i_known.begin(), i_known.end(), hasThisRole);
        if (!hasRole) {
            io_report.replaced.push_back("The part '" + i_label + "' had the strategy '" + TavSDK::ToUtf8(id) +
                                         "' for the role '" + TavSDK::ToUtf8(role) +
                                         "', which the printer does not have; it was taken away.");
        }
    }
    return strategies;
}

} // namespace

StrategyReport AssignStrategies(TavAM::Platform& io_platform, const std::vector<PrintStrategy>& i_known)
{
    StrategyReport report;
    if (i_known.empty()) {
        report.message = "The printer has no print strategies.";
        return report;
    }
    auto& parts = io_platform.GetParts();
    for (std::size_t index = 0; index < parts.size(); ++index)
        parts[index].SetStrategies(AssignPart(parts[index], GetPartLabel(parts[index], index), i_known, report));
    report.message = "Print strategies assigned: " + std::to_string(report.assigned) +
                     ", kept: " + std::to_string(report.kept) +
                     ", replaced: " + std::to_string(report.replaced.size()) + '.';
    for (const std::string& sentence : report.replaced)
        report.message += '\n' + sentence;
    return report;
}

EngineSettings GetEngineSettings(const TavAM::Part& i_part, const std::vector<PrintStrategy>& i_known)
{
    EngineSettings settings;
    for (const auto& [role, id] : i_part.GetStrategies().value_or(TavAM::Part::Strategies())) {
        const auto known = std::find_if(
            i_known.begin(), i_known.end(), [&, &wantedRole = role, &wantedId = id](const auto& i_strategy) {
                return TavSDK::ToWide(i_strategy.role) == wantedRole && TavSDK::ToWide(i_strategy.id) == wantedId;
            });
        if (known == i_known.end())
            continue;
        for (const auto& setting : known->engineSettings) {
            std::erase_if(settings, [&](const auto& i_earlier) { return i_earlier.first == setting.first; });
            settings.push_back(setting);
        }
    }
    return settings;
}

} // namespace MachineService::BuildProcessor
