#include "vexlorcore/MeshFileCheck.h"

#include "vexlorcore/Package3mf.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <stdexcept>

namespace VexlorCore {

namespace {

constexpr std::size_t StlHeader = 84;
constexpr std::size_t StlTriangle = 50;

std::size_t GetStlTriangleCount(std::string_view i_bytes)
{
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < 4; ++i)
        count |= static_cast<std::uint32_t>(static_cast<unsigned char>(i_bytes[80 + i])) << (8 * i);
    return count;
}

bool IsExactBinaryStl(std::string_view i_bytes)
{
    return i_bytes.size() >= StlHeader && i_bytes.size() == StlHeader + StlTriangle * GetStlTriangleCount(i_bytes);
}

bool IsTextStl(std::string_view i_bytes)
{
    const auto begin = i_bytes.substr(0, 1024);
    return begin.substr(std::min(begin.find_first_not_of(" \t\r\n"), begin.size())).starts_with("solid") &&
           (begin.find("facet") != begin.npos || begin.find("endsolid") != begin.npos);
}

std::size_t CountWords(std::string_view i_text, std::string_view i_word)
{
    std::size_t count = 0;
    for (auto found = i_text.find(i_word); found != i_text.npos; found = i_text.find(i_word, found + i_word.size()))
        ++count;
    return count;
}

void CheckStl(std::string_view i_bytes, MeshFileFacts& io_facts)
{
    if (IsTextStl(i_bytes) && !IsExactBinaryStl(i_bytes)) {
        const auto end = i_bytes.rfind("endsolid");
        // The solid's name stands on the rest of that line.
        if (end == i_bytes.npos ||
            i_bytes.find("facet", std::min(i_bytes.find('\n', end), i_bytes.size())) != i_bytes.npos)
            throw std::runtime_error("it breaks off before the end of its solid");
        io_facts.faces = CountWords(i_bytes, "endfacet");
    } else {
        if (i_bytes.size() < StlHeader)
            throw std::runtime_error("it is too short for an STL file");
        const auto announced = GetStlTriangleCount(i_bytes);
        const auto held = (i_bytes.size() - StlHeader) / StlTriangle;
        if (!IsExactBinaryStl(i_bytes))
            throw std::runtime_error("it announces " + std::to_string(announced) + " triangles and holds " +
                                     std::to_string(held));
        io_facts.faces = announced;
    }
}

std::size_t CountLines(std::string_view i_text)
{
    std::size_t count = 0;
    bool isInLine = false;
    for (const char character : i_text) {
        const bool isEnd = character == '\n' || character == '\r';
        if (!isEnd && !isInLine)
            ++count;
        isInLine = !isEnd;
    }
    return count;
}

/// The header: what "element" lines announce.
void CheckPly(std::string_view i_bytes, MeshFileFacts& io_facts)
{
    const auto header = i_bytes.substr(0, 65536);
    const auto end = header.find("end_header");
    if (end == header.npos)
        throw std::runtime_error("its header has no end");
    const auto count = [&](std::string_view i_element) -> std::size_t {
        const auto line = header.substr(0, end).find("element " + std::string(i_element) + " ");
        if (line == header.npos)
            throw std::runtime_error("it announces no element '" + std::string(i_element) + "'");
        const auto* begin = header.data() + line + i_element.size() + 9;
        std::size_t value = 0;
        if (std::from_chars(begin, header.data() + end, value).ec != std::errc())
            throw std::runtime_error("the count of its element '" + std::string(i_element) + "' is no number");
        return value;
    };
    io_facts.vertices = count("vertex");
    io_facts.faces = count("face");
    // An element takes a byte at least; what the header announces is allocated before it is read.
    if (*io_facts.vertices > i_bytes.size() || *io_facts.faces > i_bytes.size())
        throw std::runtime_error("it announces more than it holds");
    const auto data = i_bytes.substr(end + std::strlen("end_header"));
    if (header.substr(0, end).find("format ascii") != header.npos &&
        CountLines(data) < *io_facts.vertices + *io_facts.faces)
        throw std::runtime_error("it breaks off before the last of its elements");
}

MeshFormat FindFormat(std::string_view i_bytes, const std::string& i_extension)
{
    if (i_bytes.starts_with("PK\x03\x04"))
        return MeshFormat::ThreeMf;
    if (i_bytes.starts_with("ply\n") || i_bytes.starts_with("ply\r"))
        return MeshFormat::Ply;
    if (i_extension == ".stl" || IsExactBinaryStl(i_bytes) || IsTextStl(i_bytes))
        return MeshFormat::Stl;
    if (i_extension == ".obj")
        return MeshFormat::Obj;
    throw std::runtime_error(i_extension == ".3mf" || i_extension == ".ply" ? "it is damaged from its beginning"
                                                                            : "it is not an STL, 3MF, OBJ or PLY file");
}

} // namespace

MeshFileFacts CheckMeshFile(std::string_view i_bytes, const std::string& i_extension)
{
    if (i_bytes.empty())
        throw std::runtime_error("it is empty");
    MeshFileFacts facts;
    facts.format = FindFormat(i_bytes, i_extension);
    switch (facts.format) {
    case MeshFormat::Stl:
        CheckStl(i_bytes, facts);
        break;
    case MeshFormat::ThreeMf:
        CheckPackage3mf(i_bytes, facts);
        break;
    case MeshFormat::Ply:
        CheckPly(i_bytes, facts);
        break;
    case MeshFormat::Obj:
        break;
    }
    if (facts.faces.value_or(1) == 0)
        throw std::runtime_error("it holds no triangle");
    if (facts.faces.value_or(0) > MeshBounds::Triangles || facts.vertices.value_or(0) > MeshBounds::Vertices)
        throw std::runtime_error("it holds more than " + std::to_string(MeshBounds::Triangles) + " triangles");
    return facts;
}

} // namespace VexlorCore
