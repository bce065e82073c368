#include "buildprocessor/platform/PlatformRules.h"

#include "buildprocessor/base/NameList.h"
#include "buildprocessor/geometry/CollisionCheck.h"
#include "buildprocessor/machines/MachineSettings.h"
#include "buildprocessor/platform/ReceivedConfiguration.h"
#include "contract/Failure.h"
#include "tavsdk/Text.h"
#include "tavsdk/Utf8.h"

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
std::vector<Data::SupportType> GetEngineKinds(Technology i_technology)
{
    if (i_technology == Technology::Fff)
        return {Data::SupportType::Block, Data::SupportType::Line, Data::SupportType::Contour};
    return {Data::SupportType::Point, Data::SupportType::Tree};
}

/// The profile that says how the engine makes supports; null when there is none of its kinds.
const Data::SupportProfile* FindSupport(const std::optional<Data::Supports>& i_supports, Technology i_technology)
{
    if (!i_supports)
        return nullptr;
    const auto& profiles = i_supports->surfaceTypes;
    const auto kinds = GetEngineKinds(i_technology);
    for (const Data::SupportType kind : kinds) {
        if (!i_supports->inUse || !i_supports->inUse->profiles.contains(kind))
            continue;
        if (const auto used = profiles.find(i_supports->inUse->profiles.at(kind)); used != profiles.end())
            return &used->second;
    }
    for (const Data::SupportType kind : kinds) {
        const auto first = std::find_if(profiles.begin(), profiles.end(),
                                        [kind](const auto& i_profile) { return i_profile.second.type == kind; });
        if (first != profiles.end())
            return &first->second;
    }
    return nullptr;
}

template <class Value>
void Prefer(std::optional<Value>& io_value, const std::optional<Value>& i_other)
{
    if (!io_value)
        io_value = i_other;
}

/// All that one of them says, the first before the second; with a contact.
Data::SupportProfile MergeSupports(const std::optional<Data::Supports>& i_first,
                                   const std::optional<Data::Supports>& i_second, Technology i_technology)
{
    Data::SupportProfile merged;
    Data::SupportContact& contact = merged.contact.emplace();
    for (const auto* supports : {&i_first, &i_second}) {
        const Data::SupportProfile* const found = FindSupport(*supports, i_technology);
        if (!found)
            continue;
        Prefer(merged.spacing, found->spacing);
        Prefer(merged.criticalAngle, found->criticalAngle);
        const Data::SupportContact other = found->contact.value_or(Data::SupportContact());
        Prefer(contact.width, other.width);
        Prefer(contact.penetration, other.penetration);
        Prefer(contact.gap, other.gap);
    }
    return merged;
}

void AddEngineSettings(const Data::SupportProfile& i_support, Technology i_technology, PlatformRules& io_rules)
{
    const auto add = [&](const char* ip_name, const std::optional<double>& i_value) {
        if (i_value)
            io_rules.engineSettings.emplace_back(ip_name, TavSDK::NumberToText(*i_value));
    };
    if (i_technology == Technology::Sla) {
        add("support_points_minimal_distance", i_support.spacing);
        add("support_head_front_diameter", i_support.contact->width);
        add("support_head_penetration", i_support.contact->penetration);
        return;
    }
    // The engine arranges nothing here; it keeps with the machine file what the parts were arranged with.
    add("duplicate_distance", io_rules.clearances.partToPart);
    add("support_material_spacing", i_support.spacing);
    add("support_material_contact_distance", i_support.contact->gap);
    if (!i_support.criticalAngle)
        return;
    // Whole degrees up to 90. To the engine 0 means that it looks for the angle itself, and not that nothing needs
    // support.
    if (const double angle = std::round(*i_support.criticalAngle); angle >= 1)
        add("support_material_threshold", std::min(angle, 90.0));
    else
        io_rules.notes.push_back("The slicing engine knows no critical angle of " +
                                 TavSDK::NumberToText(*i_support.criticalAngle) + "°; it is not applied.");
}

void AddMargins(const Data::Baseplate& i_plate, const MachineProfile& i_profile, std::vector<NoBuildZone>& io_zones)
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
    const auto add = [&](const std::optional<double>& i_margin, const wchar_t* ip_name, double NoBuildZone::*ip_side,
                         double i_value) {
        if (!i_margin || *i_margin == 0)
            return;
        io_zones.push_back(whole);
        io_zones.back().name = ip_name;
        io_zones.back().*ip_side = i_value;
    };
    add(i_plate.marginLeft, L"left margin", &NoBuildZone::maxX, bed.min.x + i_plate.marginLeft.value_or(0));
    add(i_plate.marginRight, L"right margin", &NoBuildZone::minX, bed.max.x - i_plate.marginRight.value_or(0));
    add(i_plate.marginFront, L"front margin", &NoBuildZone::maxY, bed.min.y + i_plate.marginFront.value_or(0));
    add(i_plate.marginBack, L"back margin", &NoBuildZone::minY, bed.max.y - i_plate.marginBack.value_or(0));
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
                               const Clearances& i_clearances)
{
    auto [received, notes] = ReadReceivedConfiguration(i_platform);
    const Data::MachineConfiguration& own = i_profile.configuration;
    Data::Nesting nesting = received.nesting.value_or(Data::Nesting());
    Data::Baseplate plate = received.baseplate.value_or(Data::Baseplate());
    if (own.nesting) {
        if (!received.nesting)
            nesting.rotation = own.nesting->rotation;
        Prefer(nesting.rotationStep, own.nesting->rotationStep);
        if (nesting.noBuildZones.empty())
            nesting.noBuildZones = own.nesting->noBuildZones;
    }
    if (own.baseplate) {
        for (const auto member : {&Data::Baseplate::marginLeft, &Data::Baseplate::marginRight,
                                  &Data::Baseplate::marginFront, &Data::Baseplate::marginBack})
            Prefer(plate.*member, (*own.baseplate).*member);
    }

    PlatformRules result;
    result.clearances = {nesting.partToPart.value_or(i_clearances.partToPart),
                         nesting.partToWall.value_or(i_clearances.partToWall)};
    result.turns = nesting.rotation;
    result.turnStep = nesting.rotationStep.value_or(0);
    result.zones = std::move(nesting.noBuildZones);
    AddMargins(plate, i_profile, result.zones);
    for (NoBuildZone& zone : result.zones) {
        if (zone.name.empty())
            zone.name = L"no. " + std::to_wstring(&zone - result.zones.data() + 1);
        Thicken(zone.minX, zone.maxX);
        Thicken(zone.minY, zone.maxY);
        Thicken(zone.minZ, zone.maxZ);
    }
    const auto supports = MergeSupports(received.supportProfiles, own.supportProfiles, i_profile.technology);
    AddEngineSettings(supports, i_profile.technology, result);
    result.notes.insert(result.notes.end(), notes.begin(), notes.end());
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
        const std::string zone = TavSDK::ToUtf8(i_zones[index].name);
        text += (text.empty() ? "" : " ") + ("These parts enter the no-build zone " + JoinNames({zone})) + ": " +
                JoinNames(names[index]) + '.';
    }
    if (!text.empty())
        Fail(ErrorCode::FileError, text);
}

} // namespace MachineService::BuildProcessor
