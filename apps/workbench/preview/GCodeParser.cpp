#include "workbench/preview/GCodeParser.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <utility>

namespace Workbench {

namespace {

constexpr double MillimetresPerInch = 25.4;
constexpr double Largest = 1e7; ///< beyond it a number is a mistake

bool IsBlank(char i_character)
{
    return i_character == ' ' || i_character == '\t';
}

std::string_view Trimmed(std::string_view i_text)
{
    while (!i_text.empty() && IsBlank(i_text.front()))
        i_text.remove_prefix(1);
    while (!i_text.empty() && (IsBlank(i_text.back()) || i_text.back() == '\r'))
        i_text.remove_suffix(1);
    return i_text;
}

constexpr std::ptrdiff_t WordSize = sizeof(std::uint64_t);

/// A place in a text, and the text's borders.
struct Reader
{
    const char* at;
    const char* const begin;
    const char* const end;

    explicit Reader(std::string_view i_text)
        : at(i_text.data())
        , begin(at)
        , end(at + i_text.size())
    {}
    bool IsAt(char i_character) const { return at != end && *at == i_character; }
    bool IsAtDigit() const { return at != end && static_cast<unsigned>(*at) - '0' < 10; }
};

/// The next eight characters, with zeros behind the end. Copying as many as there are is a call into a library, which
/// takes longer than all else that is done with a number.
std::uint64_t LoadEight(const Reader& i_reader)
{
    std::uint64_t word = 0;
    const std::ptrdiff_t left = i_reader.end - i_reader.at;
    if (left >= WordSize) {
        std::memcpy(&word, i_reader.at, WordSize);
    } else if (left > 0 && i_reader.end - i_reader.begin >= WordSize) {
        std::memcpy(&word, i_reader.end - WordSize, WordSize);
        word >>= 8 * (WordSize - left);
    } else {
        std::memcpy(&word, i_reader.at, static_cast<std::size_t>(left));
    }
    return word;
}

/// A number of up to eight digits, the first one lowest.
std::uint64_t PutTogether(std::uint64_t i_digits, std::ptrdiff_t i_count)
{
    if (i_count == 0)
        return 0;
    // The last digit comes to the top, zeros before the first: then pairs, fours and eights are put together.
    std::uint64_t word = i_digits << (8 * (WordSize - i_count));
    word = word * 10 + (word >> 8);
    word = ((word & 0x000000FF000000FFU) * 0x000F424000000064U +
            ((word >> 16) & 0x000000FF000000FFU) * 0x0000271000000001U) >>
           32;
    return word & 0xFFFFFFFFU;
}

/// Eight characters, as far as they are digits.
struct Digits
{
    std::uint64_t values; ///< of the digits, the first one lowest
    std::uint64_t others; ///< the top bit of each that is none; beyond the first of them only after '.'

    explicit Digits(std::uint64_t i_word)
        : values(i_word ^ 0x3030303030303030U)
        , others(((values + 0x7676767676767676U) | values) & 0x8080808080808080U)
    {
        static_assert(std::endian::native == std::endian::little);
    }
    std::ptrdiff_t Count() const { return others == 0 ? WordSize : std::countr_zero(others) / 8; }
};

constexpr double Tenths[] = {1, 1e-1, 1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7, 1e-8};

/// Of digits and a point that are more than eight characters; rare, and kept out of what is not.
[[gnu::noinline]] double ReadLong(Reader& io_reader)
{
    // What is finer than 1e-8 is not counted; what is larger than any machine comes out as larger.
    const Digits whole(LoadEight(io_reader));
    double value = static_cast<double>(PutTogether(whole.values, whole.Count()));
    io_reader.at += whole.Count();
    for (; whole.Count() == WordSize && io_reader.IsAtDigit(); ++io_reader.at)
        value = 10 * value + (*io_reader.at - '0');
    if (io_reader.IsAt('.')) {
        ++io_reader.at;
        const Digits part(LoadEight(io_reader));
        value += static_cast<double>(PutTogether(part.values, part.Count())) * Tenths[part.Count()];
        io_reader.at += part.Count();
        while (part.Count() == WordSize && io_reader.IsAtDigit())
            ++io_reader.at;
    }
    return value;
}

/// Of the form that machine files have, "-12.345"; several times faster than what reads every form. Moves the text on.
/// Without a branch that would depend on the digits: a file has millions of numbers, and a processor cannot guess their
/// lengths.
inline double ReadDecimal(Reader& io_reader)
{
    const bool isNegative = io_reader.IsAt('-');
    if (isNegative || io_reader.IsAt('+'))
        ++io_reader.at;
    const Digits digits(LoadEight(io_reader));
    const std::ptrdiff_t whole = digits.Count();
    const bool hasPoint = whole < WordSize && (digits.values >> (8 * whole) & 0xFFU) == ('.' ^ '0');
    const std::uint64_t behind = digits.others & (digits.others - 1);
    double value = 0;
    if (whole < WordSize && !hasPoint) {
        value = static_cast<double>(PutTogether(digits.values, whole));
        io_reader.at += whole;
    } else if (hasPoint && behind != 0) {
        // All of it is here: the point is taken out.
        const std::ptrdiff_t size = std::countr_zero(behind) / 8;
        const std::uint64_t mask = (std::uint64_t{1} << (8 * whole)) - 1;
        const std::uint64_t joined = (digits.values & mask) | (digits.values >> 8 & ~mask);
        value = static_cast<double>(PutTogether(joined, size - 1)) * Tenths[size - 1 - whole];
        io_reader.at += size;
    } else {
        value = ReadLong(io_reader);
    }
    return isNegative ? -value : value;
}

struct KindName
{
    std::string_view name;
    MoveKind kind;
};

// Names that slicers label moves with.
constexpr KindName KindNames[] = {
    {"External perimeter", MoveKind::OuterWall},
    {"Perimeter", MoveKind::InnerWall},
    {"Overhang perimeter", MoveKind::Overhang},
    {"Internal infill", MoveKind::Infill},
    {"Solid infill", MoveKind::SolidInfill},
    {"Top solid infill", MoveKind::TopSurface},
    {"Ironing", MoveKind::TopSurface},
    {"Bridge infill", MoveKind::Bridge},
    {"Gap fill", MoveKind::GapFill},
    {"Skirt", MoveKind::Skirt},
    {"Skirt/Brim", MoveKind::Skirt},
    {"Support material", MoveKind::Support},
    {"Support material interface", MoveKind::SupportInterface},
    {"Wipe tower", MoveKind::PrimeTower},
    {"WALL-OUTER", MoveKind::OuterWall},
    {"WALL-INNER", MoveKind::InnerWall},
    {"FILL", MoveKind::Infill},
    {"SKIN", MoveKind::SolidInfill},
    {"SKIRT", MoveKind::Skirt},
    {"SUPPORT", MoveKind::Support},
    {"SUPPORT-INTERFACE", MoveKind::SupportInterface},
    {"PRIME-TOWER", MoveKind::PrimeTower},
    {"Outer wall", MoveKind::OuterWall},
    {"Inner wall", MoveKind::InnerWall},
    {"Overhang wall", MoveKind::Overhang},
    {"Sparse infill", MoveKind::Infill},
    {"Internal solid infill", MoveKind::SolidInfill},
    {"Bottom surface", MoveKind::SolidInfill},
    {"Top surface", MoveKind::TopSurface},
    {"Bridge", MoveKind::Bridge},
    {"Support", MoveKind::Support},
    {"Support interface", MoveKind::SupportInterface},
    {"Prime tower", MoveKind::PrimeTower},
};

} // namespace

struct GCodeParser::Words
{
    double values[26];
    std::uint32_t mask = 0; ///< bit by letter

    bool Has(char i_letter) const { return (mask >> (i_letter - 'A') & 1U) != 0; }
    double Get(char i_letter, double i_default = 0) const { return Has(i_letter) ? values[i_letter - 'A'] : i_default; }

    /// Up to the comment, if there is one.
    void Read(Reader& io_reader)
    {
        while (io_reader.at != io_reader.end) {
            const char character = *io_reader.at++;
            if (character == ';')
                return;
            const unsigned letter = (static_cast<unsigned char>(character) | 0x20U) - 'a'; // large or small
            if (letter >= 26)
                continue;
            const double value = ReadDecimal(io_reader);
            if (std::abs(value) <= Largest) {
                values[letter] = value;
                mask |= 1U << letter;
            }
        }
    }
};

void GCodeParser::ReadLine(std::string_view i_line)
{
    while (!i_line.empty() && IsBlank(i_line.front()))
        i_line.remove_prefix(1);
    if (i_line.empty())
        return;
    if (i_line.front() == ';') {
        _ReadComment(Trimmed(i_line.substr(1)));
        return;
    }
    const char letter = i_line.front();
    if (letter != 'G' && letter != 'M' && letter != 'g' && letter != 'm')
        return;
    Reader reader(i_line);
    ++reader.at;
    if (!reader.IsAtDigit())
        return;
    int number = 0;
    for (; reader.IsAtDigit() && number < 1000; ++reader.at)
        number = 10 * number + (*reader.at - '0');
    // "G92.1" and the like are other commands.
    if (reader.IsAt('.'))
        return;
    const bool isKnown = letter == 'G' || letter == 'g'
                             ? number <= 4 || number == 20 || number == 21 || (number >= 90 && number <= 92)
                             : number == 82 || number == 83 || (number >= 201 && number <= 205);
    if (!isKnown)
        return;
    Words words;
    words.Read(reader);
    _RunCommand(letter == 'g' ? 'G' : letter == 'm' ? 'M' : letter, number, words);
}

void GCodeParser::_RunCommand(char i_letter, int i_number, const Words& i_words)
{
    if (i_letter == 'M') {
        if (i_number == 82 || i_number == 83)
            _state.isRelativeFilament = i_number == 83;
        else
            _SetLimits(i_number, i_words);
        return;
    }
    switch (i_number) {
    case 0:
    case 1:
        _Move(i_words);
        break;
    case 2:
    case 3:
        _Arc(i_words, i_number == 2);
        break;
    case 4:
        _sink.OnDwell(std::max(0.0, i_words.Get('S') + i_words.Get('P') / 1000));
        break;
    case 20:
    case 21:
        _state.isInch = i_number == 20;
        break;
    case 90:
    case 91:
        _state.isRelative = _state.isRelativeFilament = i_number == 91;
        break;
    case 92:
        _SetPosition(i_words);
        break;
    default:
        break;
    }
}

void GCodeParser::_ReadComment(std::string_view i_text)
{
    if (i_text.starts_with("TYPE:")) {
        const std::string_view name = i_text.substr(5);
        const auto* const found = std::find_if(std::begin(KindNames), std::end(KindNames),
                                               [&](const KindName& i_kind) { return i_kind.name == name; });
        _state.kind = found == std::end(KindNames) ? MoveKind::Other : found->kind;
    } else if (i_text.starts_with("WIDTH:")) {
        Reader width(i_text.substr(6));
        _state.width = std::min(ReadDecimal(width), 100.0);
    } else if (i_text == "LAYER_CHANGE" || i_text.starts_with("LAYER:") || i_text == "CHANGE_LAYER") {
        _sink.OnLayer();
    }
}

void GCodeParser::_Move(const Words& i_words)
{
    const double unit = _state.isInch ? MillimetresPerInch : 1;
    if (i_words.Has('F'))
        _state.speed = std::max(0.001, i_words.Get('F') * unit / 60);
    std::array<double, 3> to = _state.position;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const char letter = static_cast<char>('X' + axis);
        if (i_words.Has(letter))
            to[axis] = (_state.isRelative ? to[axis] : 0) + i_words.Get(letter) * unit;
    }
    double filament = 0;
    for (const char letter : {'E', 'A'}) {
        if (i_words.Has(letter))
            filament = i_words.Get(letter) * unit - (_state.isRelativeFilament ? 0 : _state.filament);
    }
    _MoveTo(to, filament);
}

void GCodeParser::_Arc(const Words& i_words, bool i_is_clockwise)
{
    const double unit = _state.isInch ? MillimetresPerInch : 1;
    const std::array<double, 3> from = _state.position;
    std::array<double, 3> to = from;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const char letter = static_cast<char>('X' + axis);
        if (i_words.Has(letter))
            to[axis] = (_state.isRelative ? to[axis] : 0) + i_words.Get(letter) * unit;
    }
    double x = i_words.Get('I') * unit;
    double y = i_words.Get('J') * unit;
    const double dx = to[0] - from[0];
    const double dy = to[1] - from[1];
    if (const double radius = i_words.Get('R') * unit; radius != 0) {
        // The centre lies beside the chord; a radius below zero asks for the longer way round.
        const double chord = std::hypot(dx, dy);
        const double away = std::sqrt(std::max(0.0, radius * radius - chord * chord / 4));
        const double side = ((radius < 0) != i_is_clockwise ? -1 : 1) * (chord > 0 ? away / chord : 0);
        x = dx / 2 - side * dy;
        y = dy / 2 + side * dx;
    }
    const double radius = std::hypot(x, y);
    const double begin = std::atan2(-y, -x);
    double sweep = std::atan2(dy - y, dx - x) - begin;
    if (i_is_clockwise && sweep >= -1e-9)
        sweep -= 2 * std::numbers::pi;
    if (!i_is_clockwise && sweep <= 1e-9)
        sweep += 2 * std::numbers::pi;
    if (radius < 1e-6 || radius > 1e5) {
        _Move(i_words);
        return;
    }
    Words rest = i_words;
    if (rest.Has('F'))
        _state.speed = std::max(0.001, rest.Get('F') * unit / 60);
    double filament = 0;
    if (rest.Has('E'))
        filament = rest.Get('E') * unit - (_state.isRelativeFilament ? 0 : _state.filament);
    const int steps = std::clamp(static_cast<int>(std::ceil(std::abs(sweep) * radius / 0.5)), 4, 720);
    for (int step = 1; step <= steps; ++step) {
        const double part = static_cast<double>(step) / steps;
        std::array<double, 3> at = to;
        if (step < steps) {
            at = {from[0] + x + radius * std::cos(begin + part * sweep),
                  from[1] + y + radius * std::sin(begin + part * sweep), from[2] + part * (to[2] - from[2])};
        }
        _MoveTo(at, filament / steps);
    }
}

void GCodeParser::_MoveTo(const std::array<double, 3>& i_to, double i_filament)
{
    GCodeMove move{_state.position, i_to, i_filament, 0, _state.speed, _state.width, MoveKind::Travel};
    _state.filament += i_filament;
    _state.driven += i_filament;
    if (_state.driven > _state.furthest) {
        move.pushed = _state.driven - _state.furthest;
        _state.furthest = _state.driven;
        if (move.from[0] != move.to[0] || move.from[1] != move.to[1])
            move.kind = _state.kind;
    }
    _sink.OnMove(move, _state);
    _state.position = i_to;
}

void GCodeParser::_SetPosition(const Words& i_words)
{
    const double unit = _state.isInch ? MillimetresPerInch : 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const char letter = static_cast<char>('X' + axis);
        if (i_words.Has(letter))
            _state.position[axis] = i_words.Get(letter) * unit;
    }
    for (const char letter : {'E', 'A'}) {
        if (i_words.Has(letter))
            _state.filament = i_words.Get(letter) * unit;
    }
}

void GCodeParser::_SetLimits(int i_number, const Words& i_words)
{
    MotionLimits& limits = _state.limits;
    ++_state.limitsRevision;
    constexpr char letters[] = {'X', 'Y', 'Z', 'E'};
    const auto take = [&](double& io_value, char i_letter, double i_factor = 1) {
        if (i_words.Get(i_letter) > 0)
            io_value = i_words.Get(i_letter) * i_factor;
    };
    for (std::size_t axis = 0; axis < 4; ++axis) {
        if (i_number == 201)
            take(limits.acceleration[axis], letters[axis]);
        else if (i_number == 203)
            take(limits.speed[axis], letters[axis]);
        else if (i_number == 205)
            take(limits.jerk[axis], letters[axis]);
    }
    if (i_number == 204) {
        // An older word for all of them.
        take(limits.printing, 'S');
        take(limits.travelling, 'S');
        take(limits.printing, 'P');
        take(limits.retracting, 'R');
        take(limits.travelling, 'T');
    }
}

void TakeMotionSetting(std::string_view i_text, MotionLimits& io_limits)
{
    const std::size_t equals = i_text.find('=');
    if (equals == std::string_view::npos)
        return;
    const std::string_view name = Trimmed(i_text.substr(0, equals));
    Reader reader(Trimmed(i_text.substr(equals + 1)));
    const double value = ReadDecimal(reader);
    if (!(value > 0))
        return;
    const std::pair<std::string_view, double*> values[] = {
        {"machine_max_acceleration_extruding", &io_limits.printing},
        {"machine_max_acceleration_retracting", &io_limits.retracting},
        {"machine_max_acceleration_travel", &io_limits.travelling},
    };
    for (const auto& [known, target] : values) {
        if (name == known)
            *target = value;
    }
    const std::pair<std::string_view, std::array<double, 4>*> axes[] = {
        {"machine_max_feedrate_", &io_limits.speed},
        {"machine_max_acceleration_", &io_limits.acceleration},
        {"machine_max_jerk_", &io_limits.jerk},
    };
    for (const auto& [prefix, target] : axes) {
        if (!name.starts_with(prefix) || name.size() != prefix.size() + 1)
            continue;
        if (const std::size_t axis = std::string_view("xyze").find(name.back()); axis != std::string_view::npos)
            (*target)[axis] = value;
    }
}

} // namespace Workbench
