#pragma once

#include <QPixmap>

#include <cstddef>
#include <span>

namespace Workbench {

/// A machine's picture of its PNG; none for what is damaged, larger than 1 MiB or than 1,024 pixels a side.
///
/// Thread: UI thread.
QPixmap DecodePicture(std::span<const unsigned char> i_png);

} // namespace Workbench
