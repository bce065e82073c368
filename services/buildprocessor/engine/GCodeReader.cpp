#include "buildprocessor/engine/GCodeReader.h"

#include "buildprocessor/base/Cancellation.h"
#include "buildprocessor/engine/EngineFailure.h"
#include "tavsdk/FileError.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <fstream>
#include <string>
#include <vector>

namespace MachineService::BuildProcessor {

namespace {

template <class Visit>
void ForEachWord(std::string_view i_words, const Visit& i_visit)
{
    while (!i_words.empty()) {
        if (i_words.front() == ' ') {
            i_words.remove_prefix(1);
            continue;
        }
        const std::size_t end = std::min(i_words.find(' '), i_words.size());
        i_visit(i_words.front(), i_words.substr(1, end - 1));
        i_words.remove_prefix(end);
    }
}

class Machine
{
public:
    explicit Machine(std::span<IGCodeVisitor* const> i_visitors)
        : _visitors(i_visitors)
    {}

    void ReadLine(std::string_view i_line)
    {
        if (i_line.starts_with(';')) {
            _ReadComment(i_line.substr(1));
            return;
        }
        const std::string_view text = i_line.substr(0, i_line.find(';'));
        const std::size_t nameEnd = std::min(text.find(' '), text.size());
        const std::string_view name = text.substr(0, nameEnd);
        const std::string_view words = text.substr(nameEnd);
        if (name == "G1" || name == "G0" || name == "G2" || name == "G3") {
            _Move(words, name == "G2" || name == "G3");
        } else if (name == "G92") {
            _SetPosition(words);
        } else if (!name.empty()) {
            if (name == "M82" || name == "M83")
                _isRelativeE = name == "M83";
            else if (name == "G90" || name == "G91")
                _isRelative = _isRelativeE = name == "G91";
            _ForEach([&](IGCodeVisitor& io_visitor) { io_visitor.OnCommand(name, words); });
        }
    }

private:
    template <class Visit>
    void _ForEach(const Visit& i_visit) const
    {
        for (IGCodeVisitor* const visitor : _visitors)
            i_visit(*visitor);
    }

    void _ReadComment(std::string_view i_text) const
    {
        const bool begins = i_text.starts_with(" printing object ");
        if (!begins && !i_text.starts_with(" stop printing object ")) {
            _ForEach([&](IGCodeVisitor& io_visitor) { io_visitor.OnComment(i_text); });
            return;
        }
        std::optional<std::size_t> part;
        if (begins) {
            // The name is a user's: the number is behind the last "id:".
            constexpr std::string_view mark = " id:";
            const std::size_t at = i_text.rfind(mark);
            if (at == std::string_view::npos ||
                std::from_chars(i_text.data() + at + mark.size(), i_text.data() + i_text.size(), part.emplace()).ec !=
                    std::errc())
                FailMachineFile("it names a part that was not sent");
        }
        _ForEach([&](IGCodeVisitor& io_visitor) { io_visitor.OnPart(part); });
    }

    template <class Set>
    static void _ForEachAxis(std::string_view i_words, const Set& i_set)
    {
        ForEachWord(i_words, [&](char i_letter, std::string_view i_text) {
            double value = 0;
            // A letter alone is a flag, as in "G28 X".
            if (!i_text.empty() && !ReadNumber(i_text, value))
                FailMachineFile("it holds something that is not a number");
            i_set(i_letter, value);
        });
    }

    void _Move(std::string_view i_words, bool i_is_arc)
    {
        GCodeMove move{_x, _y, _x, _y, _z, 0, false};
        double extruded = 0;
        _ForEachAxis(i_words, [&](char i_letter, double i_value) {
            switch (i_letter) {
            case 'X':
                move.x = _isRelative ? _x + i_value : i_value;
                move.travels = true;
                break;
            case 'Y':
                move.y = _isRelative ? _y + i_value : i_value;
                move.travels = true;
                break;
            case 'Z':
                move.z = _isRelative ? _z + i_value : i_value;
                break;
            case 'E':
            case 'A':
                extruded = _isRelativeE ? i_value : i_value - _e;
                break;
            default:
                break;
            }
        });
        _x = move.x;
        _y = move.y;
        _z = move.z;
        _e += extruded;
        _pushed += extruded;
        if (_pushed > _furthest) {
            move.pushed = _pushed - _furthest;
            _furthest = _pushed;
        }
        _ForEach([&](IGCodeVisitor& io_visitor) {
            if (i_is_arc && extruded > 0)
                io_visitor.OnArc();
            io_visitor.OnMove(move);
        });
    }

    void _SetPosition(std::string_view i_words)
    {
        _ForEachAxis(i_words, [&](char i_letter, double i_value) {
            if (i_letter == 'E' || i_letter == 'A')
                _e = i_value;
            else if (i_letter == 'X')
                _x = i_value;
            else if (i_letter == 'Y')
                _y = i_value;
            else if (i_letter == 'Z')
                _z = i_value;
        });
    }

    const std::span<IGCodeVisitor* const> _visitors;
    double _x = 0;
    double _y = 0;
    double _z = 0;
    double _e = 0;
    double _pushed = 0;
    double _furthest = 0;
    bool _isRelative = false;
    bool _isRelativeE = false;
};

} // namespace

bool ReadNumber(std::string_view i_text, double& o_value)
{
    while (!i_text.empty() && i_text.front() == ' ')
        i_text.remove_prefix(1);
    return std::from_chars(i_text.data(), i_text.data() + i_text.size(), o_value).ec == std::errc() &&
           std::isfinite(o_value);
}

bool FindWord(std::string_view i_words, char i_letter, double& o_value)
{
    bool found = false;
    ForEachWord(i_words, [&](char i_word, std::string_view i_text) {
        if (i_word == i_letter && !found)
            found = ReadNumber(i_text, o_value);
    });
    return found;
}

void ReadGCode(const std::filesystem::path& i_path, std::span<IGCodeVisitor* const> i_visitors,
               const std::stop_token& i_stop)
{
    std::ifstream file(i_path, std::ios::binary);
    if (!file)
        FailMachineFile("it cannot be read: " + TavSDK::ErrnoText(errno));
    constexpr std::size_t pieceSize = 1 << 20;
    Machine machine(i_visitors);
    std::vector<char> piece(pieceSize);
    std::string rest;
    const auto read = [&](std::string_view i_line) {
        if (i_line.ends_with('\r'))
            i_line.remove_suffix(1);
        machine.ReadLine(i_line);
    };
    while (file.read(piece.data(), pieceSize), file.gcount() > 0) {
        ThrowIfStopped(i_stop);
        std::string_view text(piece.data(), static_cast<std::size_t>(file.gcount()));
        for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n')) {
            if (rest.empty()) {
                read(text.substr(0, end));
            } else {
                rest.append(text.substr(0, end));
                read(rest);
                rest.clear();
            }
            text.remove_prefix(end + 1);
        }
        rest.append(text);
        if (rest.size() > pieceSize)
            FailMachineFile("a line of it has no end");
    }
    if (file.bad())
        FailMachineFile("it cannot be read to its end");
    if (!rest.empty())
        read(rest);
}

} // namespace MachineService::BuildProcessor
