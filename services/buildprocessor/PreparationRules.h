#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

/// How parts may be turned when they are placed.
enum class Turns
{
    None,
    AroundZ,
    Any,
};

/// A box that no part may enter, in the coordinates of the platform. Units: mm.
struct NoBuildZone
{
    std::string name; ///< may be empty
    double minX = 0;
    double minY = 0;
    double minZ = 0;
    double maxX = 0;
    double maxY = 0;
    double maxZ = 0;
    bool operator==(const NoBuildZone&) const = default;
};

/// In the order of the formats' names.
enum class SupportKind
{
    Point,
    Line,
    Block,
    Contour,
    Gusset,
    Tree,
};

/// How surfaces of one type are supported. Units: mm, degrees.
struct SupportProfile
{
    std::string surfaceType;
    SupportKind kind = SupportKind::Block;
    std::optional<double> spacing;
    std::optional<double> criticalAngle; ///< from the horizontal; a surface below it is supported
    std::optional<double> contactWidth;
    std::optional<double> contactPenetration;
    std::optional<double> contactGap;
    bool operator==(const SupportProfile&) const = default;
};

/// What parts are arranged and supported with: what this service knows to do something with, of a machine's profile or
/// of the configuration that a platform carries. What is absent was not said; it is never zero. Texts are UTF-8.
struct PreparationRules
{
    std::optional<double> partToPart; ///< mm, between two parts
    std::optional<double> partToWall; ///< mm, to the edge of the bed
    std::optional<Turns> turns;
    std::optional<double> turnStep; ///< degrees; parts are turned by multiples of it
    std::vector<NoBuildZone> zones;
    /// Strips along the edges of the bed that carry no part. Units: mm.
    std::optional<double> marginLeft;
    std::optional<double> marginRight;
    std::optional<double> marginFront;
    std::optional<double> marginBack;
    std::vector<SupportProfile> supports;
    std::map<SupportKind, std::string> supportsInUse; ///< surface types
    bool operator==(const PreparationRules&) const = default;
};

} // namespace MachineService::BuildProcessor
