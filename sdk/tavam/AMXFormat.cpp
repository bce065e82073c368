#include "tavam/AMXFormat_p.h"

#include "tavam/FileError.h"

#include "tavsdk/Utf8.h"
#include "tavsdk/ZipBounds.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace TavAM::AMXFormat {

void ShapeCounter::Add(const Mesh* ip_mesh)
{
    if (++_count > LargestShapeCount)
        throw FileError("there are more than " + std::to_string(LargestShapeCount) + " shapes");
    if (!ip_mesh)
        return;
    _bytes += ip_mesh->vertices.size() * sizeof(ip_mesh->vertices[0]) +
              ip_mesh->triangles.size() * sizeof(ip_mesh->triangles[0]);
    if (_bytes > TavSDK::ZipBounds().unpackedSize)
        throw FileError("the meshes of all shapes together take more than " +
                        std::to_string(TavSDK::ZipBounds().unpackedSize) + " bytes");
}

std::string EncodeText(std::wstring_view i_text)
{
    std::string text;
    text.reserve(i_text.size());
    for (const wchar_t unit : i_text) {
        const auto character = static_cast<char32_t>(unit);
        if (character == '\\') {
            text += "\\\\";
        } else if (TavSDK::IsXmlCharacter(character)) {
            TavSDK::AppendUtf8(character, text);
        } else {
            std::array<char, 8> digits = {};
            const auto end =
                std::to_chars(digits.data(), digits.data() + digits.size(), static_cast<std::uint32_t>(character), 16)
                    .ptr;
            text += "\\{";
            text.append(digits.data(), end);
            text += '}';
        }
    }
    return text;
}

std::size_t CountAttributeBytes(std::string_view i_text)
{
    static constexpr std::string_view Escaped = "<>&\"\t\n\r";
    constexpr std::size_t LongestEntity = std::string_view("&quot;").size();
    const auto count = std::count_if(i_text.begin(), i_text.end(),
                                     [](char i_byte) { return Escaped.find(i_byte) != std::string_view::npos; });
    return i_text.size() + static_cast<std::size_t>(count) * (LongestEntity - 1);
}

std::wstring DecodeText(std::string_view i_text)
{
    const auto wide = TavSDK::FromUtf8(i_text);
    if (!wide)
        throw FileError("a text is not UTF-8");
    if (i_text.find('\\') == std::string_view::npos)
        return *wide;
    std::wstring text;
    for (std::size_t position = 0; position < wide->size(); ++position) {
        if ((*wide)[position] != L'\\') {
            text += (*wide)[position];
            continue;
        }
        ++position;
        if (position < wide->size() && (*wide)[position] == L'\\') {
            text += L'\\';
            continue;
        }
        const std::size_t close = wide->find(L'}', position);
        std::uint32_t character = 0;
        bool isValid = position < wide->size() && (*wide)[position] == L'{' && close != std::wstring::npos;
        if (isValid) {
            const std::string digits =
                TavSDK::ToUtf8(std::wstring_view(*wide).substr(position + 1, close - position - 1));
            const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), character, 16);
            isValid = result.ec == std::errc() && result.ptr == digits.data() + digits.size();
        }
        if (!isValid)
            throw FileError("a text has a backslash that introduces no character");
        text += static_cast<wchar_t>(character);
        position = close;
    }
    return text;
}

} // namespace TavAM::AMXFormat
