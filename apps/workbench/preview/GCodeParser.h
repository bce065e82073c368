#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Workbench {

/// What a move is for, as slicers label moves.
enum class MoveKind : std::uint8_t
{
    OuterWall,
    InnerWall,
    Overhang,
    Infill,
    SolidInfill,
    TopSurface,
    Bridge,
    GapFill,
    Skirt,
    Support,
    SupportInterface,
    PrimeTower,
    Other,  ///< pushes material and has no label that is known
    Travel, ///< pushes none
};
inline constexpr std::size_t MoveKindCount = 14;

/// One straight move of the machine. Units: mm, seconds.
struct GCodeMove
{
    std::array<double, 3> from;
    std::array<double, 3> to;
    double filament; ///< by which it is driven, back below zero
    double pushed;   ///< beyond the furthest that was ever driven: what comes out
    double speed;    ///< asked for, mm/s
    double width;    ///< of the thread, as labelled; 0 when nothing is
    MoveKind kind;
};

/// How fast a machine gets up to speed. Units: mm/s, mm/s².
struct MotionLimits
{
    std::array<double, 4> speed = {500, 500, 12, 120}; ///< x, y, z, filament
    std::array<double, 4> acceleration = {9000, 9000, 500, 10'000};
    std::array<double, 4> jerk = {10, 10, 0.2, 2.5}; ///< a change of speed that needs no time
    double printing = 1500;                          ///< acceleration while material comes out
    double retracting = 1500;                        ///< of the filament alone
    double travelling = 1500;
    bool operator==(const MotionLimits&) const = default;
};

/// What G-code before a line has made of the machine: with it reading may begin there.
struct GCodeState
{
    std::array<double, 3> position{};
    double filament = 0; ///< as the file counts
    double driven = 0;   ///< since the beginning
    double furthest = 0; ///< that it was ever driven
    double speed = 20;   ///< mm/s
    double width = 0;
    MotionLimits limits;
    std::uint32_t limitsRevision = 0; ///< another one when they were set
    MoveKind kind = MoveKind::Other;
    bool isRelative = false;
    bool isRelativeFilament = false;
    bool isInch = false;
};

/// What a parser meets, in the file's order.
class IGCodeSink
{
public:
    virtual ~IGCodeSink() = default;
    virtual void OnMove(const GCodeMove& i_move, const GCodeState& i_state) = 0;
    virtual void OnDwell(double i_seconds) = 0;
    /// A label that a layer begins.
    virtual void OnLayer() = 0;
};

/// Follows a machine through G-code, line by line: straight moves and arcs, absolute and relative, mm and inches,
/// positions that are set, limits that are changed, labels of layers, kinds and widths. What it does not know it passes
/// over: machine files of every slicer hold words of their own.
class GCodeParser
{
public:
    explicit GCodeParser(IGCodeSink& io_sink, const GCodeState& i_state = {})
        : _sink(io_sink)
        , _state(i_state)
    {}

    /// \param i_line without its end.
    void ReadLine(std::string_view i_line);
    const GCodeState& GetState() const { return _state; }

private:
    struct Words;

    void _ReadComment(std::string_view i_text);
    void _Move(const Words& i_words);
    void _Arc(const Words& i_words, bool i_is_clockwise);
    void _MoveTo(const std::array<double, 3>& i_to, double i_filament);
    void _SetPosition(const Words& i_words);
    void _SetLimits(int i_number, const Words& i_words);
    void _RunCommand(char i_letter, int i_number, const Words& i_words);

    IGCodeSink& _sink;
    GCodeState _state;
};

/// Takes up a setting that engines leave as a comment in their files, "machine_max_jerk_x = 10,10" for one.
void TakeMotionSetting(std::string_view i_text, MotionLimits& io_limits);

} // namespace Workbench
