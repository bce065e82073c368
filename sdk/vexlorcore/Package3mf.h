#pragma once

#include <string_view>

namespace VexlorCore {

struct MeshFileFacts;

/// Checks a 3MF package before an importer unpacks it: names, count, sizes and ratio of its entries, the depth and the
/// bounds of its XML, and that its objects do not hold themselves or each other beyond measure.
///
/// \param io_facts receives the package's unit and the names of its objects.
/// \throws std::runtime_error with the reason, without the file's name.
void CheckPackage3mf(std::string_view i_bytes, MeshFileFacts& io_facts);

} // namespace VexlorCore
