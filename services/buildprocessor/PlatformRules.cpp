#include "buildprocessor/PlatformRules.h"

#include "buildprocessor/CollisionCheck.h"
#include "buildprocessor/Failure.h"
#include "buildprocessor/ReceivedConfiguration.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace MachineService::BuildProcessor {

namespace {

// A zone without a volume, such as a wall, could be entered without anybody noticing: it gets one of this thickness,
// which is more than two parts may overlap.
constexpr double LeastThickness = 0.015;

void Thicken(double& io_min, double& io_max)
{
    if (io_max - io_min >= LeastThickness)
        return;
    const double middle = (io_min + io_max) / 2;
    io_min = middle - LeastThickness / 2;
    io_max = middle + LeastThickness / 2;
}

/// Kinds of support that the engine makes, the one that is most like it first: walls under filament, struts in resin.
std::vector<SupportKind> GetEngineKinds(Technology i_technology)
{
    if (i_technology == Technology::Fff)
        return {SupportKind::Block, SupportKind::Line, SupportKind::Contour};
    return {SupportKind::Point, SupportKind::Tree};
}

/// The profile that says how the engine makes supports; null when there is none of its kinds.
const SupportProfile* FindSupport(const PreparationRules& i_rules, Technology i_technology)
{
    const auto find = [&](const auto& i_condition) {
        const auto found = std::find_if(i_rules.supports.begin(), i_rules.supports.end(), i_condition);
        return found == i_rules.supports.end() ? nullptr : &*found;
    };
    const auto kinds = GetEngineKinds(i_technology);
    for (const SupportKind kind : kinds) {
        const auto use = i_rules.supportsInUse.find(kind);
        if (use == i_rules.supportsInUse.end())
            continue;
        if (const auto* const used = find([&](const auto& i_known) { return i_known.surfaceType == use->second; }))
            return used;
    }
    for (const SupportKind kind : kinds) {
        if (const auto* const first = find([&](const auto& i_known) { return i_known.kind == kind; }))
            return first;
    }
    return nullptr;
}

template <class Value>
void Prefer(std::optional<Value>& io_value, const std::optional<Value>& i_other)
{
    if (!io_value)
        io_value = i_other;
}

SupportProfile MergeSupports(const PreparationRules& i_first, const PreparationRules& i_second, Technology i_technology)
{
    SupportProfile merged;
    for (const PreparationRules* rules : {&i_first, &i_second}) {
        const SupportProfile* const found = FindSupport(*rules, i_technology);
        if (!found)
            continue;
        for (const auto member :
             {&SupportProfile::spacing, &SupportProfile::criticalAngle, &SupportProfile::contactWidth,
              &SupportProfile::contactPenetration, &SupportProfile::contactGap})
            Prefer(merged.*member, (*found).*member);
    }
    return merged;
}

void AddEngineSettings(const SupportProfile& i_support, Technology i_technology, PlatformRules& io_rules)
{
    const auto add = [&](const char* ip_name, const std::optional<double>& i_value) {
        if (i_value)
            io_rules.engineSettings.emplace_back(ip_name, ToNumberText(*i_value));
    };
    if (i_technology == Technology::Sla) {
        add("support_points_minimal_distance", i_support.spacing);
        add("support_head_front_diameter", i_support.contactWidth);
        add("support_head_penetration", i_support.contactPenetration);
        return;
    }
    // The engine arranges nothing here; it keeps with the machine file what the parts were arranged with.
    add("duplicate_distance", io_rules.partToPart);
    add("support_material_spacing", i_support.spacing);
    add("support_material_contact_distance", i_support.contactGap);
    if (!i_support.criticalAngle)
        return;
    // Whole degrees up to 90. To the engine 0 means that it looks for the angle itself, and not that nothing needs
    // support.
    if (const double angle = std::round(*i_support.criticalAngle); angle >= 1)
        add("support_material_threshold", std::min(angle, 90.0));
    else
        io_rules.notes.push_back("The slicing engine knows no critical angle of " +
                                 ToNumberText(*i_support.criticalAngle) + "°; it is not applied.");
}

void AddMargins(const PreparationRules& i_rules, const MachineProfile& i_profile, std::vector<NoBuildZone>& io_zones)
{
    constexpr double beyond = 1000;
    TavAM::BoundingBox bed;
    for (const BedPoint& point : i_profile.bed.outline)
        bed.Add(TavAM::Point3d{point.x, point.y, 0});
    const NoBuildZone whole{{},
                            bed.min.x - beyond,
                            bed.min.y - beyond,
                            -beyond,
                            bed.max.x + beyond,
                            bed.max.y + beyond,
                            i_profile.height + beyond};
    const auto add = [&](const std::optional<double>& i_margin, const char* ip_name, double NoBuildZone::*ip_side,
                         double i_value) {
        if (!i_margin || *i_margin == 0)
            return;
        io_zones.push_back(whole);
        io_zones.back().name = ip_name;
        io_zones.back().*ip_side = i_value;
    };
    add(i_rules.marginLeft, "left margin", &NoBuildZone::maxX, bed.min.x + i_rules.marginLeft.value_or(0));
    add(i_rules.marginRight, "right margin", &NoBuildZone::minX, bed.max.x - i_rules.marginRight.value_or(0));
    add(i_rules.marginFront, "front margin", &NoBuildZone::maxY, bed.min.y + i_rules.marginFront.value_or(0));
    add(i_rules.marginBack, "back margin", &NoBuildZone::minY, bed.max.y - i_rules.marginBack.value_or(0));
}

PartGeometry MakeGeometry(const NoBuildZone& i_zone)
{
    PartGeometry geometry;
    for (int corner = 0; corner < 8; ++corner) {
        geometry.vertices.push_back({(corner & 4) != 0 ? i_zone.maxX : i_zone.minX,
                                     (corner & 2) != 0 ? i_zone.maxY : i_zone.minY,
                                     (corner & 1) != 0 ? i_zone.maxZ : i_zone.minZ});
        geometry.box.Add(geometry.vertices.back());
    }
    geometry.triangles = {{0, 1, 3}, {0, 3, 2}, {4, 6, 7}, {4, 7, 5}, {0, 4, 5}, {0, 5, 1},
                          {2, 3, 7}, {2, 7, 6}, {0, 2, 6}, {0, 6, 4}, {1, 5, 7}, {1, 7, 3}};
    return geometry;
}

} // namespace

PlatformRules GetPlatformRules(const TavAM::Platform& i_platform, const MachineProfile& i_profile,
                               const MachineSettings& i_settings)
{
    const auto [received, notApplied] = ReadReceivedConfiguration(i_platform);
    PreparationRules rules = received;
    const PreparationRules& own = i_profile.rules;
    for (const auto member :
         {&PreparationRules::marginLeft, &PreparationRules::marginRight, &PreparationRules::marginFront,
          &PreparationRules::marginBack, &PreparationRules::turnStep})
        Prefer(rules.*member, own.*member);
    Prefer(rules.turns, own.turns);
    if (rules.zones.empty())
        rules.zones = own.zones;

    PlatformRules result;
    result.partToPart = rules.partToPart.value_or(i_settings.clearance);
    result.partToWall = rules.partToWall.value_or(i_settings.wallClearance);
    result.turns = rules.turns.value_or(Turns::AroundZ);
    result.turnStep = rules.turnStep.value_or(0);
    result.zones = std::move(rules.zones);
    AddMargins(rules, i_profile, result.zones);
    for (NoBuildZone& zone : result.zones) {
        if (zone.name.empty())
            zone.name = "no. " + std::to_string(&zone - result.zones.data() + 1);
        Thicken(zone.minX, zone.maxX);
        Thicken(zone.minY, zone.maxY);
        Thicken(zone.minZ, zone.maxZ);
    }
    AddEngineSettings(MergeSupports(received, own, i_profile.technology), i_profile.technology, result);
    for (const std::string& name : notApplied)
        result.notes.push_back("The slicing engine has no setting for the configuration's " + name +
                               "; it is not applied.");
    return result;
}

void CheckNoBuildZones(const std::vector<PartGeometry>& i_parts, const std::vector<NoBuildZone>& i_zones,
                       const std::stop_token& i_stop)
{
    std::vector<PartGeometry> bodies;
    for (const NoBuildZone& zone : i_zones)
        bodies.push_back(MakeGeometry(zone));
    const auto names = FindCollidingParts(i_parts, bodies, i_stop);
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (names[index].empty())
            continue;
        const std::string& zone = i_zones[index].name;
        text += (text.empty() ? "" : " ") + ("These parts enter the no-build zone " + JoinNames({zone})) + ": " +
                JoinNames(names[index]) + '.';
    }
    if (!text.empty())
        Fail(ErrorCode::FileError, text);
}

} // namespace MachineService::BuildProcessor
