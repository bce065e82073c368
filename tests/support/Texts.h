#pragma once

#include <stdexcept>
#include <string>

namespace TestSupport {

inline std::string Repeat(const std::string& i_text, std::size_t i_count)
{
    std::string text;
    for (std::size_t index = 0; index < i_count; ++index)
        text += i_text;
    return text;
}

/// With the first place changed, which has to be there.
inline std::string Replaced(std::string i_text, const std::string& i_what, const std::string& i_by)
{
    const auto at = i_text.find(i_what);
    if (at == std::string::npos)
        throw std::logic_error("'" + i_what + "' is not there to be replaced");
    return i_text.replace(at, i_what.size(), i_by);
}

/// A mesh file whose reader works for minutes: 200 polygons of 9,000 corners that have to be split.
inline std::string MakeSlowObj()
{
    std::string text;
    std::string face = "f";
    for (int i = 0; i < 9'000; ++i) {
        text += "v " + std::to_string(i % 1000) + " " + std::to_string(i * i % 1009) + " 0\n";
        face += " " + std::to_string(i + 1);
    }
    return text + Repeat(face + "\n", 200);
}

} // namespace TestSupport
