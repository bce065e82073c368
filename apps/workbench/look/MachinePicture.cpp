#include "workbench/look/MachinePicture.h"

#include <QBuffer>
#include <QImageReader>

namespace Workbench {

namespace {

constexpr std::size_t LargestPicture = 1 << 20; ///< bytes
constexpr int LargestSide = 1024;               ///< pixels

} // namespace

QPixmap DecodePicture(std::span<const unsigned char> i_png)
{
    if (i_png.empty() || i_png.size() > LargestPicture)
        return {};
    QByteArray content =
        QByteArray::fromRawData(reinterpret_cast<const char*>(i_png.data()), static_cast<int>(i_png.size()));
    QBuffer buffer(&content);
    QImageReader reader(&buffer, "PNG");
    // Before it is decoded: few bytes can claim, and take, a gigabyte.
    const QSize size = reader.size();
    if (size.width() > LargestSide || size.height() > LargestSide)
        return {};
    return QPixmap::fromImage(reader.read());
}

} // namespace Workbench
