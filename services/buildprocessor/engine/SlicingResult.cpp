#include "buildprocessor/engine/SlicingResult.h"

#include "tavsdk/Text.h"

#include <charconv>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

/// Takes numbers and lines off a text; once something is not there, nothing is.
class TextReader
{
public:
    explicit TextReader(std::string_view i_text)
        : _rest(i_text)
    {}

    std::string_view Line()
    {
        const std::size_t end = _rest.find('\n');
        _good = _good && end != std::string_view::npos;
        if (!_good)
            return {};
        const std::string_view line = _rest.substr(0, end);
        _rest.remove_prefix(end + 1);
        return line;
    }
    template <class Number>
    Number Read()
    {
        Number number = 0;
        const std::string_view line = Line();
        const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
        _good = _good && error == std::errc() && end == line.data() + line.size();
        return number;
    }
    /// Never more than there can be lines: a text that was cut off there has fewer.
    std::size_t ReadCount()
    {
        const auto count = Read<std::size_t>();
        _good = _good && count <= _rest.size();
        return _good ? count : 0;
    }
    bool IsGood() const { return _good; }
    bool IsAtEnd() const { return _rest.empty(); }

private:
    std::string_view _rest;
    bool _good = true;
};

} // namespace

std::string ToText(const SlicingResult& i_result)
{
    const Estimates& estimates = i_result.estimates;
    std::string text;
    const auto add = [&](const std::string& i_line) {
        text += i_line + '\n';
    };
    add(std::to_string(estimates.layers));
    add(TavSDK::NumberToText(estimates.seconds));
    add(estimates.millimetres ? TavSDK::NumberToText(*estimates.millimetres) : std::string());
    add(TavSDK::NumberToText(estimates.cubicCentimetres));
    add(TavSDK::NumberToText(estimates.grams));
    add(std::to_string(estimates.parts.size()));
    for (const PartEstimates& part : estimates.parts) {
        add(std::to_string(part.layers));
        add(TavSDK::NumberToText(part.millimetres));
    }
    add(std::to_string(i_result.notes.size()));
    for (const std::string& note : i_result.notes)
        add(note);
    return text;
}

std::optional<SlicingResult> ReadSlicingResult(const std::string& i_text)
{
    TextReader reader(i_text);
    SlicingResult result;
    Estimates& estimates = result.estimates;
    estimates.layers = reader.Read<std::size_t>();
    estimates.seconds = reader.Read<double>();
    if (const std::string_view length = reader.Line(); !length.empty())
        estimates.millimetres = TextReader(std::string(length) + '\n').Read<double>();
    estimates.cubicCentimetres = reader.Read<double>();
    estimates.grams = reader.Read<double>();
    for (std::size_t left = reader.ReadCount(); left > 0 && reader.IsGood(); --left) {
        PartEstimates& part = estimates.parts.emplace_back();
        part.layers = reader.Read<std::size_t>();
        part.millimetres = reader.Read<double>();
    }
    for (std::size_t left = reader.ReadCount(); left > 0 && reader.IsGood(); --left)
        result.notes.emplace_back(reader.Line());
    return reader.IsGood() && reader.IsAtEnd() ? std::optional(std::move(result)) : std::nullopt;
}

} // namespace MachineService::BuildProcessor
