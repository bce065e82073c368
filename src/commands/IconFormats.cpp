#include "commands/IconFormats.h"

#include <QtEndian>

#include <cstddef>
#include <span>
#include <string_view>

namespace MachineService {

namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::size_t MaxEncodedBytes = 1024 * 1024;
constexpr std::int64_t MaxSide = 1024;

// Measured on two cores at 3 GHz that were busy otherwise, an icon may take 20 ms: a decoded byte of a PNG takes 3 ns
// and an encoded one 12; a JPEG takes 4 ms for its pixels and, in passes over the whole, 35 ns for an encoded byte and
// 0.6 ms for a pass over a million pixels.
constexpr std::size_t MaxPngWork = 6 * 1024 * 1024; // decoded bytes, an encoded one counts as four
constexpr std::size_t MaxBytesInPasses = 256 * 1024;
constexpr std::int64_t MaxPixelsInPasses = 10 * 1024 * 1024;
constexpr int MaxPasses = 64;

bool BeginsWith(Bytes i_bytes, std::string_view i_start)
{
    return i_bytes.size() >= i_start.size() &&
           std::string_view(reinterpret_cast<const char*>(i_bytes.data()), i_start.size()) == i_start;
}

void Append(QByteArray& io_target, Bytes i_bytes)
{
    io_target.append(reinterpret_cast<const char*>(i_bytes.data()), static_cast<int>(i_bytes.size()));
}

bool AreSides(std::int64_t i_width, std::int64_t i_height)
{
    return i_width > 0 && i_width <= MaxSide && i_height > 0 && i_height <= MaxSide;
}

/// Bytes that the picture of a PNG unpacks to, by the body of its header; 0 for one that is refused.
std::size_t GetDecodedBytes(Bytes i_header)
{
    const auto width = qFromBigEndian<quint32>(i_header.data());
    const auto height = qFromBigEndian<quint32>(i_header.data() + 4);
    const std::size_t depth = i_header[8];
    const std::uint8_t colorType = i_header[9];
    const bool isInterlaced = i_header[12] != 0;
    constexpr std::size_t channels[] = {1, 0, 3, 1, 2, 0, 4};
    if (!AreSides(width, height) || colorType >= std::size(channels) || depth > 16)
        return 0;
    const std::size_t row = (width * channels[colorType] * depth + 7) / 8;
    return row * height * (isInterlaced ? 2 : 1); // its rows are gone over twice
}

std::optional<BoundedImage> BoundPng(Bytes i_bytes)
{
    constexpr std::size_t signatureSize = 8;
    constexpr std::size_t frameSize = 12; // length, type and check sum of a chunk
    constexpr std::uint32_t headerSize = 13;
    BoundedImage image{"png", {}};
    Append(image.bytes, i_bytes.first(signatureSize));
    std::size_t decoded = 0;
    for (Bytes rest = i_bytes.subspan(signatureSize); rest.size() >= frameSize;) {
        const auto length = qFromBigEndian<quint32>(rest.data());
        if (length > rest.size() - frameSize)
            return std::nullopt;
        const Bytes chunk = rest.first(frameSize + length);
        const Bytes typed = chunk.subspan(4);
        rest = rest.subspan(chunk.size());
        const bool isHeader = BeginsWith(typed, "IHDR");
        if (isHeader != (decoded == 0) || (isHeader && length != headerSize))
            return std::nullopt;
        if (isHeader && (decoded = GetDecodedBytes(typed.subspan(4))) == 0)
            return std::nullopt;
        const bool isEnd = BeginsWith(typed, "IEND");
        if (isHeader || isEnd || BeginsWith(typed, "PLTE") || BeginsWith(typed, "tRNS") || BeginsWith(typed, "IDAT"))
            Append(image.bytes, chunk);
        if (isEnd)
            return decoded + 4 * static_cast<std::size_t>(image.bytes.size()) <= MaxPngWork ? std::optional(image)
                                                                                            : std::nullopt;
    }
    return std::nullopt;
}

std::optional<BoundedImage> BoundBmp(Bytes i_bytes)
{
    constexpr std::size_t smallestHeader = 26;
    constexpr std::uint32_t oldestForm = 12;
    if (i_bytes.size() < smallestHeader)
        return std::nullopt;
    const std::uint8_t* const sides = i_bytes.data() + 18;
    std::int64_t width = qFromLittleEndian<qint32>(sides);
    std::int64_t height = qFromLittleEndian<qint32>(sides + 4);
    if (qFromLittleEndian<quint32>(i_bytes.data() + 14) == oldestForm) {
        width = qFromLittleEndian<quint16>(sides);
        height = qFromLittleEndian<quint16>(sides + 2);
    }
    if (!AreSides(width, height < 0 ? -height : height)) // a negative one tells that the first row comes first
        return std::nullopt;
    BoundedImage image{"bmp", {}};
    Append(image.bytes, i_bytes);
    return image;
}

namespace Jpeg {

constexpr std::uint8_t Escape = 0xFF;
constexpr std::uint8_t Frame = 0xC0; // baseline; then extended and progressive
constexpr std::uint8_t ProgressiveFrame = 0xC2;
constexpr std::uint8_t HuffmanTable = 0xC4;
constexpr std::uint8_t FirstRestart = 0xD0;
constexpr std::uint8_t LastRestart = 0xD7;
constexpr std::uint8_t End = 0xD9;
constexpr std::uint8_t Scan = 0xDA;
constexpr std::uint8_t QuantizationTable = 0xDB;
constexpr std::uint8_t RestartInterval = 0xDD;
constexpr std::uint8_t FirstAddition = 0xE0;
constexpr std::uint8_t LastAddition = 0xEF;
constexpr std::uint8_t AdobeAddition = 0xEE; // tells what the colours mean
constexpr std::uint8_t Comment = 0xFE;

bool IsFrame(std::uint8_t i_marker)
{
    return i_marker >= Frame && i_marker <= ProgressiveFrame;
}

bool IsLeftOut(std::uint8_t i_marker)
{
    return i_marker == Comment || (i_marker > FirstAddition && i_marker <= LastAddition && i_marker != AdobeAddition);
}

bool IsKept(std::uint8_t i_marker)
{
    return IsFrame(i_marker) || i_marker == HuffmanTable || i_marker == Scan || i_marker == QuantizationTable ||
           i_marker == RestartInterval || i_marker == FirstAddition || i_marker == AdobeAddition;
}

/// How many bytes of a scan stand before the next marker.
std::size_t CountScanBytes(Bytes i_bytes)
{
    for (std::size_t index = 0; index + 1 < i_bytes.size(); ++index) {
        const std::uint8_t next = i_bytes[index + 1];
        const bool isData = next == 0 || (next >= FirstRestart && next <= LastRestart);
        if (i_bytes[index] == Escape && !isData)
            return index;
    }
    return i_bytes.size();
}

/// Pixels of the picture, by the body of a frame's segment; 0 for one that is refused.
std::int64_t CountPixels(Bytes i_frame)
{
    if (i_frame.size() < 6 || i_frame[0] != 8)
        return 0;
    const auto height = qFromBigEndian<quint16>(i_frame.data() + 1);
    const auto width = qFromBigEndian<quint16>(i_frame.data() + 3);
    return AreSides(width, height) ? std::int64_t{width} * height : 0;
}

} // namespace Jpeg

std::optional<BoundedImage> BoundJpeg(Bytes i_bytes)
{
    using namespace Jpeg;
    BoundedImage image{"jpeg", {}};
    Append(image.bytes, i_bytes.first(2));
    std::int64_t pixels = 0;
    int passes = 0;
    for (Bytes rest = i_bytes.subspan(2); rest.size() >= 2 && rest[0] == Escape;) {
        const std::uint8_t marker = rest[1];
        if (marker == Escape) { // any number of them may stand before a marker
            rest = rest.subspan(1);
            continue;
        }
        if (marker == End) {
            Append(image.bytes, rest.first(2));
            const bool isCheap = passes == 1 || (passes <= MaxPasses && passes * pixels <= MaxPixelsInPasses &&
                                                 static_cast<std::size_t>(image.bytes.size()) <= MaxBytesInPasses);
            return pixels > 0 && passes > 0 && isCheap ? std::optional(image) : std::nullopt;
        }
        if (rest.size() < 4 || !(IsKept(marker) || IsLeftOut(marker)))
            return std::nullopt;
        std::size_t size = 2 + std::size_t{qFromBigEndian<quint16>(rest.data() + 2)};
        if (size < 4 || size > rest.size())
            return std::nullopt;
        if (IsFrame(marker) && (pixels != 0 || (pixels = CountPixels(rest.first(size).subspan(4))) == 0))
            return std::nullopt;
        if (marker == Scan) {
            ++passes;
            size += CountScanBytes(rest.subspan(size));
        }
        if (IsKept(marker))
            Append(image.bytes, rest.first(size));
        rest = rest.subspan(size);
    }
    return std::nullopt;
}

} // namespace

std::optional<BoundedImage> BoundImage(const std::vector<std::uint8_t>& i_bytes)
{
    using namespace std::string_view_literals;
    if (i_bytes.size() > MaxEncodedBytes)
        return std::nullopt;
    if (BeginsWith(i_bytes, "\x89PNG\r\n\x1A\n"sv))
        return BoundPng(i_bytes);
    if (BeginsWith(i_bytes, "BM"sv))
        return BoundBmp(i_bytes);
    if (BeginsWith(i_bytes, "\xFF\xD8"sv))
        return BoundJpeg(i_bytes);
    return std::nullopt;
}

} // namespace MachineService
