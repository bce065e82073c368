#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace MachineService {

/// An encoded image of which only that is left which makes the picture, and which is known to be cheap to decode.
struct BoundedImage
{
    const char* format; ///< for QImageReader
    QByteArray bytes;
};

/// Reads from the bytes of an image, without decoding it, what decoding would cost.
///
/// PNG, BMP and JPEG tell it: their sides, and how often a JPEG goes over its picture. Texts, profiles and other
/// additions, which a few bytes may make megabytes of, are left out. Damage within the picture is for the decoder to
/// find, which can only come to an end earlier then.
/// Thread: any.
/// \return nothing for another format, for an image without its end, and for one that would take longer than an icon
/// may.
std::optional<BoundedImage> BoundImage(const std::vector<std::uint8_t>& i_bytes);

} // namespace MachineService
