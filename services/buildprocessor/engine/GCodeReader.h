#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <stop_token>
#include <string_view>

namespace MachineService::BuildProcessor {

/// One straight move of the nozzle. Units: mm.
struct GCodeMove
{
    double fromX, fromY, x, y;
    double z;
    double pushed; ///< filament beyond the furthest that was ever pushed: what comes out; pulling back takes none
    bool travels;  ///< along x or y
};

/// What a reader of G-code meets, in the file's order.
class IGCodeVisitor
{
public:
    virtual ~IGCodeVisitor() = default;
    virtual void OnMove(const GCodeMove& i_move) = 0;
    /// An arc that pushes filament: the engine writes none.
    virtual void OnArc() {}
    /// A command other than moves. \param i_words what follows its name, without a comment.
    virtual void OnCommand(std::string_view /*i_name*/, std::string_view /*i_words*/) {}
    /// What follows belongs to the part of this number; to none when there is none.
    virtual void OnPart(std::optional<std::size_t> i_part) = 0;
    /// Text behind a semicolon that begins a line, but for the labels of parts.
    virtual void OnComment(std::string_view i_text) = 0;
};

/// Follows the machine through the file: absolute and relative positions and extrusion, positions that are set, axes E
/// and A. Each visitor meets a line before the next line is read.
/// \throws CommunicationException InternalError for a file that cannot be read or words that are no numbers;
///         ProcessingAborted when the token asks; and what the visitor throws.
void ReadGCode(const std::filesystem::path& i_path, std::span<IGCodeVisitor* const> i_visitors,
               const std::stop_token& i_stop);

/// The number after a letter in the words of a command, "S0" for one; false when there is none.
bool FindWord(std::string_view i_words, char i_letter, double& o_value);
bool ReadNumber(std::string_view i_text, double& o_value);

} // namespace MachineService::BuildProcessor
