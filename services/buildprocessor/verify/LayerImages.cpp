#include "buildprocessor/verify/LayerImages.h"

#include "buildprocessor/engine/EngineFailure.h"
#include "tavsdk/FileError.h"
#include "tavsdk/ZipReader.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace MachineService::BuildProcessor {

namespace {

constexpr std::string_view Signature = "\x89PNG\r\n\x1a\n";
constexpr std::size_t MaxSettings = 1'000'000;
constexpr std::size_t MaxImage = 400'000'000;
constexpr std::uint8_t HalfLight = 128;

template <class Work>
void Guarded(const Work& i_work)
{
    try {
        i_work();
    } catch (const TavSDK::FileError& failure) {
        FailMachineFile(failure.what());
    }
}

std::uint32_t ReadBigEndian(std::string_view i_bytes)
{
    std::uint32_t value = 0;
    for (const char byte : i_bytes.substr(0, sizeof value))
        value = value << 8U | static_cast<std::uint8_t>(byte);
    return value;
}

/// The packed pixels of an image, once its head is what is expected.
std::string CollectPixels(std::string_view i_png, const MaskGrid& i_mask, const std::string& i_refusal)
{
    constexpr std::size_t frame = 12; // length, name, checksum
    constexpr std::string_view plain("\x08\0\0\0\0", 5);
    std::string pixels;
    bool hasHead = false;
    for (i_png.remove_prefix(std::min(Signature.size(), i_png.size())); i_png.size() >= frame;) {
        const std::size_t length = ReadBigEndian(i_png);
        if (length > i_png.size() - frame)
            FailMachineFile(i_refusal);
        const std::string_view name = i_png.substr(4, 4);
        const std::string_view content = i_png.substr(8, length);
        if (name == "IHDR")
            hasHead = length == 13 && ReadBigEndian(content) == i_mask.columns &&
                      ReadBigEndian(content.substr(4)) == i_mask.rows && content.substr(8) == plain;
        else if (name == "IDAT")
            pixels += content;
        i_png.remove_prefix(frame + length);
    }
    if (!hasHead)
        FailMachineFile(i_refusal);
    return pixels;
}

/// Adds the stretches of light of one row.
void AddRow(const std::uint8_t* ip_pixels, const MaskGrid& i_mask, std::vector<RowSpan>& o_spans)
{
    o_spans.clear();
    for (std::size_t column = 0; column < i_mask.columns;) {
        // Most of a mask is dark: eight pixels at a time.
        std::uint64_t eight = 0;
        if (column + sizeof eight <= i_mask.columns) {
            std::memcpy(&eight, ip_pixels + column, sizeof eight);
            if (eight == 0) {
                column += sizeof eight;
                continue;
            }
        }
        if (ip_pixels[column] < HalfLight) {
            ++column;
            continue;
        }
        const std::size_t begin = column;
        while (column < i_mask.columns && ip_pixels[column] >= HalfLight)
            ++column;
        const auto x = [&](std::size_t i_column) {
            return static_cast<double>(i_mask.mirrorsX ? i_mask.columns - i_column : i_column) * i_mask.width;
        };
        o_spans.push_back(i_mask.mirrorsX ? RowSpan{x(column), x(begin)} : RowSpan{x(begin), x(column)});
    }
    if (i_mask.mirrorsX)
        std::reverse(o_spans.begin(), o_spans.end());
}

} // namespace

LayerImages::LayerImages(const std::filesystem::path& i_path)
{
    Guarded([&] {
        _archive = std::make_unique<TavSDK::ZipReader>(i_path, TavSDK::ZipBounds{.entries = 100'000, .ratio = 1'000});
        for (const std::string& name : _archive->GetNames()) {
            if (name.ends_with(".png") && name.find('/') == std::string::npos)
                _names.push_back(name);
            else if (name == "prusaslicer.ini")
                _settings = ReadSettingLines(_archive->ReadBytes(name, MaxSettings));
            else if (name == "config.ini")
                _job = ReadSettingLines(_archive->ReadBytes(name, MaxSettings));
        }
    });
    // Their numbers have leading zeros.
    std::sort(_names.begin(), _names.end());
}

LayerImages::~LayerImages() = default;

std::string LayerImages::Read(std::size_t i_layer) const
{
    std::string png;
    Guarded([&] { png = _archive->ReadBytes(_names[i_layer], MaxImage); });
    return png;
}

RowSpans FindLight(const std::string& i_png, const MaskGrid& i_mask, std::size_t i_layer)
{
    const std::string refusal = "layer " + std::to_string(i_layer + 1) + " is not an image of the display";
    if (!i_png.starts_with(Signature))
        FailMachineFile(refusal);
    const std::string packed = CollectPixels(i_png, i_mask, refusal);
    const std::size_t stride = i_mask.columns + 1;
    const std::size_t size = stride * i_mask.rows;
    const auto pixels = std::make_unique_for_overwrite<std::uint8_t[]>(size);
    const std::unique_ptr<libdeflate_decompressor, decltype(&libdeflate_free_decompressor)> unpacker(
        libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
    if (!unpacker || libdeflate_zlib_decompress(unpacker.get(), packed.data(), packed.size(), pixels.get(), size,
                                                nullptr) != LIBDEFLATE_SUCCESS)
        FailMachineFile(refusal);
    RowSpans light(i_mask.GetRows());
    light.Start(0);
    std::vector<RowSpan> spans;
    for (std::size_t row = 0; row < i_mask.rows; ++row) {
        // From the low edge of the bed upwards.
        const std::uint8_t* const line = pixels.get() + stride * (i_mask.mirrorsY ? row : i_mask.rows - 1 - row);
        if (*line != 0)
            FailMachineFile(refusal);
        AddRow(line + 1, i_mask, spans);
        for (const RowSpan& span : spans)
            light.Add(span);
        light.FinishRow();
    }
    return light;
}

} // namespace MachineService::BuildProcessor
