#include "commands/CommandIcon.h"

#include "commands/IconFormats.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QPixmap>

#include <exception>

namespace MachineService {

QIcon LoadCommandIcon(const std::vector<std::uint8_t>& i_bytes)
try {
    std::optional<BoundedImage> bounded = BoundImage(i_bytes);
    if (!bounded)
        return QIcon();
    QBuffer buffer(&bounded->bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return QIcon();
    QImageReader reader(&buffer, bounded->format);
    // No other decoder may find something of its own in the bytes.
    reader.setAutoDetectImageFormat(false);
    const QImage image = reader.read();
    return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
} catch (const std::exception&) {
    // A command is worth more than its icon.
    return QIcon();
}

} // namespace MachineService
