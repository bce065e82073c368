#pragma once

#include "buildprocessor/engine/UsedSettings.h"
#include "buildprocessor/verify/RowSpans.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace TavSDK {
class ZipReader;
}

namespace MachineService::BuildProcessor {

/// How the pixels of a mask lie on the bed.
struct MaskGrid
{
    std::size_t columns = 0;
    std::size_t rows = 0;
    double width = 0;  ///< mm, of a pixel
    double height = 0; ///< mm
    bool mirrorsX = false;
    bool mirrorsY = false; ///< false: the first row of an image lies at the far edge of the bed

    /// mm, the longer side of a pixel.
    double GetPixel() const { return std::max(width, height); }
    /// Rows through the middles of the pixels.
    RowGrid GetRows() const { return {height / 2, height}; }
};

/// The archive of a resin printer: an image for each layer and the settings that they were made with.
///
/// Thread: one at a time.
class LayerImages
{
public:
    /// \throws CommunicationException InternalError for a file that is not such an archive.
    explicit LayerImages(const std::filesystem::path& i_path);
    ~LayerImages();

    std::size_t GetCount() const { return _names.size(); }
    /// Of the engine; empty when there are none.
    const UsedSettings& GetSettings() const { return _settings; }
    /// What the archive tells its printer of the job, such as "printTime"; empty when there is nothing.
    const UsedSettings& GetJob() const { return _job; }
    /// The packed image of a layer.
    /// \throws as above.
    std::string Read(std::size_t i_layer) const;

private:
    std::unique_ptr<TavSDK::ZipReader> _archive;
    std::vector<std::string> _names; ///< by layer
    UsedSettings _settings;
    UsedSettings _job;
};

/// Where at least half of the light comes through, in mm on the bed. The image must be of the mask's size, one byte a
/// pixel, without filters, as the engine writes it.
/// Thread: any.
/// \throws CommunicationException InternalError otherwise.
RowSpans FindLight(const std::string& i_png, const MaskGrid& i_mask, std::size_t i_layer);

} // namespace MachineService::BuildProcessor
