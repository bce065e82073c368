#pragma once

#include <QIcon>

#include <cstdint>
#include <vector>

namespace MachineService {

/// Decodes the icon that a machine sent; its format is told from its content.
///
/// The bytes come from outside: too many of them, or an image of too many pixels, are refused before anything is
/// decoded. Thread: UI thread. \return a null icon when the bytes are refused or are not an image.
QIcon LoadCommandIcon(const std::vector<std::uint8_t>& i_bytes);

} // namespace MachineService
