#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace VexlorCore {

/// Of ASCII letters; no other character has a case here.
char ToLower(char i_character);

/// Compares as the text formats do, where some tools write SOLID and others solid.
bool IsSameWord(std::string_view i_word, std::string_view i_lower_case);
bool BeginsWithWord(std::string_view i_text, std::string_view i_lower_case);

/// A finite number, with a decimal point or, as tools write it that follow the user's language, a comma.
std::optional<double> ParseCoordinate(std::string_view i_word);

/// A word of a file between quotation marks for a message: short, valid UTF-8, without control characters.
std::string ShowWord(std::string_view i_word);

/// Without the byte-order mark, if there is one.
std::string_view SkipByteOrderMark(std::string_view i_text);

/// Holds the beginning what only a binary file would?
bool IsBinary(std::string_view i_bytes);

/// The words of a text one after the other, with the lines that they stand in. A line ends with LF, CR LF or CR.
class WordScanner
{
public:
    explicit WordScanner(std::string_view i_text, std::size_t i_first_line = 1)
        : _text(i_text)
        , _line(i_first_line)
    {}

    /// Empty at the end of the text.
    std::string_view Next();
    /// Empty at the end of the line.
    std::string_view NextOfLine();
    /// What is left of the line of the last word, without spaces around it; the scanner then stands behind it.
    std::string_view TakeRestOfLine();
    /// Of the last word.
    std::size_t GetLine() const { return _line; }
    /// \throws std::runtime_error with the line and the reason.
    [[noreturn]] void Fail(const std::string& i_reason) const;
    /// The next word as a coordinate.
    /// \throws std::runtime_error with the line.
    double NextCoordinate();

private:
    void _SkipSpaces();
    bool _SkipLineEnd();
    std::string_view _TakeWord();

    std::string_view _text;
    std::size_t _line;
};

} // namespace VexlorCore
