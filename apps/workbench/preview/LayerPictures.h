#pragma once

#include <QImage>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace TavSDK {
class ZipReader;
}

namespace Workbench {

/// The archive that a resin printer takes: a picture for each layer, white where there is light.
///
/// Thread: one at a time.
/// Errors: TavSDK::FileError for what cannot be read.
class LayerPictures
{
public:
    /// \throws TavSDK::FileError for a file without layer pictures.
    explicit LayerPictures(const std::filesystem::path& i_path);
    ~LayerPictures();

    std::size_t GetCount() const { return _names.size(); }
    double GetLayerHeight() const { return _layerHeight; } ///< mm; 0 when it is not told
    double GetSeconds() const { return _seconds; }         ///< of all layers; 0 when it is not told
    QImage Read(std::size_t i_layer) const;

private:
    std::unique_ptr<TavSDK::ZipReader> _archive;
    std::vector<std::string> _names; ///< by layer
    double _layerHeight = 0;
    double _seconds = 0;
};

} // namespace Workbench
