#pragma once

#include "workbench/preview/GCodeParser.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <stop_token>
#include <vector>

namespace Workbench {

/// What is known of a layer without keeping its moves. Units: mm, seconds.
struct LayerSummary
{
    std::uint64_t begin = 0; ///< in the file, bytes
    std::uint64_t end = 0;
    GCodeState state; ///< that its moves begin with
    double z = 0;     ///< top
    double height = 0;
    double seconds = 0;
    double filament = 0;                             ///< that comes out
    double minX = 1, minY = 1, maxX = -1, maxY = -1; ///< of moves that push material; empty when min is above max
    std::array<double, MoveKindCount> lengths{};     ///< of the ways, by kind
};

/// A machine file by its layers.
struct MachineFileIndex
{
    std::vector<LayerSummary> layers;
    double preparation = 0;            ///< seconds before the first layer
    std::optional<double> toldSeconds; ///< what the file itself says that it takes
    MotionLimits limits;               ///< that the machine begins with

    double GetSeconds() const;
    double GetFilament() const;
};

/// More layers than any machine makes.
inline constexpr std::size_t MostLayers = 200'000;

/// Reads a file once from beginning to end; memory goes by the number of layers. Layers are where labels say so; in a
/// file without labels, where material comes out at another height.
///
/// Thread: any. \param i_on_progress 0 to 1; may be empty.
/// \throws TavSDK::FileError for what cannot be read, holds no move that pushes material, or too many layers.
/// \return empty when the token asked.
std::optional<MachineFileIndex> IndexMachineFile(const std::filesystem::path& i_path, const std::stop_token& i_stop,
                                                 const std::function<void(double)>& i_on_progress);

/// A move as it is drawn. Units: mm.
struct LayerMove
{
    float fromX, fromY, x, y;
    float width;
    MoveKind kind;
};

/// The moves of one layer along x and y.
/// Thread: any.
/// \throws TavSDK::FileError when the file cannot be read any more.
/// \return what was read until the token asked.
std::vector<LayerMove> ReadLayerMoves(const std::filesystem::path& i_path, const LayerSummary& i_layer,
                                      const std::stop_token& i_stop);

} // namespace Workbench
