#include "commands/CommandIcon.h"

#include <QBuffer>
#include <QByteArray>
#include <QImage>
#include <QImageReader>
#include <QPixmap>

namespace MachineService {

namespace {

constexpr std::size_t MaxEncodedBytes = 1024 * 1024;
constexpr int MaxSide = 1024;

} // namespace

QIcon LoadCommandIcon(const std::vector<std::uint8_t>& i_bytes)
{
    if (i_bytes.empty() || i_bytes.size() > MaxEncodedBytes)
        return QIcon();
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(i_bytes.data()), static_cast<int>(i_bytes.size()));
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::ReadOnly))
        return QIcon();
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    // A format that does not tell its size beforehand cannot be bounded: size() is then invalid.
    const QSize size = reader.size();
    if (!size.isValid() || size.width() > MaxSide || size.height() > MaxSide)
        return QIcon();
    const QImage image = reader.read();
    return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}

} // namespace MachineService
