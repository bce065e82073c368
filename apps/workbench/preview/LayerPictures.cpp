#include "workbench/preview/LayerPictures.h"

#include "tavsdk/FileError.h"
#include "tavsdk/Text.h"
#include "tavsdk/ZipReader.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImageReader>

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace Workbench {

namespace {

constexpr std::uint64_t MostEntries = 100'000;
constexpr std::uint64_t LargestPicture = 64 << 20; ///< bytes, packed
constexpr std::uint64_t LargestSettings = 100'000; ///< bytes
constexpr qint64 MostPixels = 100'000'000;
constexpr std::uint64_t LargestRatio = 5000; ///< pictures are mostly black

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::LayerPictures)
};

/// The number of a line "name = value"; 0 when there is none.
double FindNumber(const std::string& i_settings, std::string_view i_name)
{
    const std::string key = std::string(i_name) + " = ";
    for (std::size_t begin = 0; begin < i_settings.size();) {
        const std::size_t end = std::min(i_settings.find('\n', begin), i_settings.size());
        const std::string line = i_settings.substr(begin, end - begin);
        if (line.starts_with(key))
            return std::max(0.0, TavSDK::ParseNumber(line.substr(key.size())).value_or(0));
        begin = end + 1;
    }
    return 0;
}

} // namespace

LayerPictures::LayerPictures(const std::filesystem::path& i_path)
    : _archive(
          std::make_unique<TavSDK::ZipReader>(i_path, TavSDK::ZipBounds{.entries = MostEntries, .ratio = LargestRatio}))
{
    for (const std::string& name : _archive->GetNames()) {
        // Small pictures of the whole lie in folders of their own.
        if (name.ends_with(".png") && name.find('/') == std::string::npos)
            _names.push_back(name);
    }
    if (_names.empty())
        throw TavSDK::FileError(Texts::tr("The archive holds no layer pictures.").toStdString());
    // Their numbers have as many digits as the last one needs.
    std::sort(_names.begin(), _names.end());
    if (_archive->Has("config.ini")) {
        const std::string settings = _archive->ReadBytes("config.ini", LargestSettings);
        _layerHeight = FindNumber(settings, "layerHeight");
        _seconds = FindNumber(settings, "printTime");
    }
}

LayerPictures::~LayerPictures() = default;

QImage LayerPictures::Read(std::size_t i_layer) const
{
    const std::string bytes = _archive->ReadBytes(_names.at(i_layer), LargestPicture);
    QByteArray data = QByteArray::fromRawData(bytes.data(), static_cast<int>(bytes.size()));
    QBuffer buffer(&data);
    QImageReader reader(&buffer, "png");
    const QSize size = reader.size();
    QImage image;
    // What is decoded is as large as the header claims.
    if (size.isValid() && qint64{size.width()} * size.height() <= MostPixels)
        image = reader.read();
    if (image.isNull())
        throw TavSDK::FileError(Texts::tr("The picture of layer %1 cannot be read.").arg(i_layer + 1).toStdString());
    return image;
}

} // namespace Workbench
