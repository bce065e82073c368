#pragma once

#include <string_view>

namespace VexlorCore {

/// Checks a 3MF package before an importer unpacks it: names, count, sizes and ratio of its entries, the depth and the
/// bounds of its XML, and that its objects do not hold themselves or each other beyond measure.
///
/// \return the package's unit in mm. \throws std::runtime_error with the reason, without the file's name.
double CheckPackage3mf(std::string_view i_bytes);

} // namespace VexlorCore
