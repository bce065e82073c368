#pragma once

#include "tavam/Geometry.h"

#include <string>
#include <string_view>
#include <vector>

// One function for each mesh format. They run in the process that reads (see IsolatedCall): no locks, no Qt, no files.
// All of them throw std::runtime_error with the reason, without the file's name; where there are lines, with the line.

namespace VexlorCore {

/// What becomes one part, in mm, where the file places it.
struct ReadPart
{
    std::string name; ///< as the file gives it, maybe not UTF-8; empty when it gives none
    TavAM::Mesh mesh;
};

/// Has the file the size that the count in a binary header asks for?
bool IsExactBinaryStl(std::string_view i_bytes);
bool IsTextStl(std::string_view i_bytes);
/// Either kind; all solids of a file are one part.
ReadPart ReadStl(std::string_view i_bytes);

bool IsPly(std::string_view i_bytes);
/// Either byte order, or text. Reads vertices, faces and strips, skips what else the header describes.
ReadPart ReadPly(std::string_view i_bytes);

/// All objects and groups of a file are one part: the format has no build section that would tell parts from bodies.
ReadPart ReadObj(std::string_view i_bytes);

/// One part for each build item of the package.
std::vector<ReadPart> Read3mf(std::string_view i_bytes);

} // namespace VexlorCore
