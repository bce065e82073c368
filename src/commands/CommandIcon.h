#pragma once

#include <QIcon>

#include <cstdint>
#include <vector>

namespace MachineService {

/// Decodes the icon that a machine sent, a PNG, BMP or JPEG; the content tells which.
///
/// The bytes come from outside. What decoding them costs is read from them first: more than 1 MiB, more than 1,024
/// pixels a side, or more than about 20 ms of work are refused before anything is decoded. Throws nothing.
///
/// Thread: UI thread.
/// \return a null icon when the bytes are refused or are not a whole image.
QIcon LoadCommandIcon(const std::vector<std::uint8_t>& i_bytes);

} // namespace MachineService
