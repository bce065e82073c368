#include "vexlorcore/meshimport/MeshFile.h"

#include "vexlorcore/meshimport/MeshText.h"

#include <stdexcept>
#include <utility>

namespace VexlorCore {

namespace {

std::vector<ReadPart> ToList(ReadPart i_part)
{
    std::vector<ReadPart> parts;
    parts.push_back(std::move(i_part));
    return parts;
}

} // namespace

std::vector<ReadPart> ReadMeshFile(std::string_view i_bytes, std::string_view i_extension)
{
    if (i_bytes.empty())
        throw std::runtime_error("it is empty");
    if (i_bytes.starts_with("PK\x03\x04"))
        return Read3mf(i_bytes);
    if (IsPly(i_bytes))
        return ToList(ReadPly(i_bytes));
    if (IsExactBinaryStl(i_bytes) || IsTextStl(i_bytes))
        return ToList(ReadStl(i_bytes));
    if (i_bytes.starts_with("\xFF\xFE") || i_bytes.starts_with("\xFE\xFF"))
        throw std::runtime_error("it is a text in UTF-16, and only UTF-8 is read");
    if (i_extension == ".stl")
        return ToList(ReadStl(i_bytes));
    if (i_extension == ".obj")
        return ToList(ReadObj(i_bytes));
    if (i_extension == ".3mf")
        throw std::runtime_error("it is no 3MF file: it does not begin as a package does");
    if (i_extension == ".ply")
        throw std::runtime_error("it is no PLY file: it does not begin with the word 'ply'");
    throw std::runtime_error("it is not an STL, 3MF, OBJ or PLY file");
}

} // namespace VexlorCore
