#include "commands/CommandIcon.h"
#include "support/Test.h"

#include <QBuffer>
#include <QColorSpace>
#include <QImage>
#include <QImageWriter>

#include <ctime>

namespace {

using Bytes = QByteArray;

QImage MakeImage(int i_side, QImage::Format i_format = QImage::Format_ARGB32)
{
    QImage image(i_side, i_side, i_format);
    image.fill(Qt::red);
    return image;
}

Bytes Encode(const QImage& i_image, const char* ip_format, bool i_in_passes = false)
{
    Bytes bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter writer(&buffer, ip_format);
    writer.setProgressiveScanWrite(i_in_passes);
    EXPECT_TRUE(writer.write(i_image)) << ip_format;
    return bytes;
}

template <class Number>
void Append(Bytes& io_bytes, Number i_number)
{
    for (std::size_t byte = 0; byte < sizeof(Number); ++byte)
        io_bytes.append(static_cast<char>(i_number >> (8 * byte)));
}

/// A screen of one pixel whose first frame claims many.
Bytes MakeGif(quint16 i_side)
{
    Bytes bytes("GIF89a\1\0\1\0\x80\0\0\0\0\0\xFF\xFF\xFF", 19);
    bytes.append(",\0\0\0\0", 5);
    Append(bytes, i_side);
    Append(bytes, i_side);
    return bytes + Bytes("\0\2\2D\1\0;", 7);
}

/// An entry that claims 16 pixels and holds a PNG of many more.
Bytes MakeIco(int i_side)
{
    const Bytes png = Encode(MakeImage(i_side, QImage::Format_Mono), "png");
    Bytes bytes("\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0", 14);
    Append(bytes, static_cast<quint32>(png.size()));
    Append(bytes, quint32{22});
    return bytes + png;
}

/// Repeats the last pass until the JPEG is as large as may be.
Bytes MakeJpegOfManyPasses(int i_side, int i_bytes)
{
    const Bytes one = Encode(MakeImage(i_side), "jpg", true);
    const Bytes end("\xFF\xD9");
    const Bytes pass = one.mid(one.lastIndexOf("\xFF\xDA")).chopped(end.size());
    Bytes many = one.chopped(end.size());
    while (many.size() + pass.size() + end.size() <= i_bytes)
        many += pass;
    return many + end;
}

Bytes MakeChunk(const char* ip_type, const Bytes& i_body)
{
    Bytes checked = ip_type + i_body;
    quint32 sum = 0xFFFFFFFF;
    for (const char byte : checked) {
        sum ^= static_cast<quint8>(byte);
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 1) != 0 ? (sum >> 1) ^ 0xEDB88320 : sum >> 1;
    }
    Bytes chunk;
    for (const quint32 number : {static_cast<quint32>(i_body.size()), ~sum})
        for (int shift = 24; shift >= 0; shift -= 8)
            chunk.append(static_cast<char>(number >> shift));
    return chunk.insert(4, checked);
}

/// A PNG with texts that unpack to 8 MB each.
Bytes MakePngOfManyTexts()
{
    const Bytes text = MakeChunk("zTXt", Bytes("k\0\0", 3) + qCompress(Bytes(7'900'000, 'x'), 9).mid(4));
    Bytes png = Encode(MakeImage(16), "png");
    const int header = 33;
    while (png.size() + text.size() < 1'000'000)
        png.insert(header, text);
    return png;
}

Bytes MakePngOfNoise(int i_side, QImage::Format i_format)
{
    QImage image(i_side, i_side, i_format);
    quint32 state = 1;
    for (int y = 0; y < i_side; ++y)
        for (int x = 0; x < image.bytesPerLine(); ++x)
            image.scanLine(y)[x] = static_cast<uchar>((state = state * 1664525 + 1013904223) >> 28);
    return Encode(image, "png");
}

Bytes Cut(Bytes i_bytes, int i_size)
{
    return i_bytes.left(i_size);
}

Bytes Replace(Bytes i_bytes, int i_at, const Bytes& i_with)
{
    return i_bytes.replace(i_at, i_with.size(), i_with);
}

Bytes Pad(Bytes i_bytes, int i_size)
{
    return i_bytes + Bytes(i_size - i_bytes.size(), '\0');
}

Bytes InOtherCoding(const Bytes& i_jpeg, char i_frame)
{
    return Replace(i_jpeg, i_jpeg.indexOf("\xFF\xC0") + 1, Bytes(1, i_frame));
}

double GetMilliseconds()
{
    std::timespec now = {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

struct Row
{
    const char* name;
    std::function<Bytes()> make;
    bool isShown;
};

const Row mgp_rows[] = {
    {"PNG at the bound", [] { return Encode(MakeImage(1024), "png"); }, true},
    {"PNG beyond it", [] { return Encode(MakeImage(1025), "png"); }, false},
    {"PNG with a palette", [] { return Encode(MakeImage(64, QImage::Format_Indexed8), "png"); }, true},
    {"PNG padded to 1 MiB", [] { return Pad(Encode(MakeImage(16), "png"), 1 << 20); }, true},
    {"PNG padded beyond it", [] { return Pad(Encode(MakeImage(16), "png"), (1 << 20) + 1); }, false},
    {"PNG of texts that unpack to hundreds of megabytes", MakePngOfManyTexts, true},
    {"PNG of 16 bits at the bound", [] { return Encode(MakeImage(1024, QImage::Format_RGBA64), "png"); }, false},
    {"PNG of 16 bits", [] { return Encode(MakeImage(512, QImage::Format_RGBA64), "png"); }, true},
    {"PNG that is hard to unpack", [] { return MakePngOfNoise(1024, QImage::Format_RGB32); }, false},
    {"PNG whose sides were changed", [] { return Replace(Encode(MakeImage(16), "png"), 16, Bytes(8, '\1')); }, false},
    {"PNG without its end", [] { return Encode(MakeImage(64), "png").chopped(12); }, false},
    {"PNG with a damaged picture", [] { return Replace(Encode(MakeImage(64), "png"), 50, "damage"); }, false},
    {"PNG without a picture", [] { return Cut(Encode(MakeImage(16), "png"), 33).append(MakeChunk("IEND", {})); },
     false},
    {"BMP", [] { return Encode(MakeImage(256), "bmp"); }, true},
    {"BMP whose first row comes first",
     [] { return Replace(Encode(MakeImage(16), "bmp"), 22, Bytes("\xF0\xFF\xFF\xFF")); }, true},
    {"BMP of many pixels", [] { return Replace(Encode(MakeImage(16), "bmp"), 18, Bytes(4, '\x22')); }, false},
    {"BMP of no pixels", [] { return Replace(Encode(MakeImage(16), "bmp"), 22, Bytes(4, '\0')); }, false},
    {"BMP of the smallest height", [] { return Replace(Encode(MakeImage(16), "bmp"), 22, Bytes("\0\0\0\x80", 4)); },
     false},
    {"JPEG at the bound", [] { return Encode(MakeImage(1024), "jpg"); }, true},
    {"JPEG beyond it", [] { return Encode(MakeImage(1025), "jpg"); }, false},
    {"JPEG in passes", [] { return Encode(MakeImage(1024), "jpg", true); }, true},
    {"JPEG of many thousands of passes", [] { return MakeJpegOfManyPasses(1024, 1 << 20); }, false},
    {"small JPEG of many thousands of passes", [] { return MakeJpegOfManyPasses(16, 1 << 20); }, false},
    {"JPEG of another coding", [] { return InOtherCoding(Encode(MakeImage(64), "jpg"), '\xC9'); }, false},
    {"JPEG without its end", [] { return Encode(MakeImage(64), "jpg").chopped(2); }, false},
    {"GIF of 16,383 pixels a side", [] { return MakeGif(16383); }, false},
    {"ICO with a PNG of 20,000 pixels a side", [] { return MakeIco(20000); }, false},
    {"other bytes", [] { return Bytes("no image"); }, false},
    {"no bytes", [] { return Bytes(); }, false},
};

// Milliseconds of the processor. What is bounded costs 20 on a machine that does nothing else; sanitizers and busy
// machines take several times as long, what is not bounded takes seconds.
constexpr double LongestDecoding = 200;

TEST(CommandIconTest, OnlyWhatIsCheapToDecodeIsDecoded)
{
    for (const Row& row : mgp_rows) {
        SCOPED_TRACE(row.name);
        const Bytes made = row.make();
        const std::vector<std::uint8_t> bytes(made.begin(), made.end());
        double best = std::numeric_limits<double>::max();
        for (int round = 0; round < 3; ++round) {
            const double start = GetMilliseconds();
            EXPECT_EQ(row.isShown, !MachineService::LoadCommandIcon(bytes).isNull());
            best = std::min(best, GetMilliseconds() - start);
        }
        EXPECT_LT(best, LongestDecoding) << "ms of the processor";
    }
}

TEST(CommandIconTest, WhatStandsBehindTheBytesIsNotRead)
{
    const std::pair<const char*, std::size_t> rows[] = {{"png", 60}, {"bmp", 20}, {"jpg", 100}};
    for (const auto& [format, size] : rows) {
        const Bytes whole = Encode(MakeImage(64), format);
        std::vector<std::uint8_t> bytes(whole.begin(), whole.end());
        bytes.resize(size); // keeps the rest in its place
        EXPECT_TRUE(MachineService::LoadCommandIcon(bytes).isNull()) << format;
    }
}

TEST(CommandIconTest, PictureIsTheOneThatWasSent)
{
    QImage image(3, 1, QImage::Format_ARGB32);
    image.setPixelColor(0, 0, Qt::red);
    image.setPixelColor(1, 0, Qt::blue);
    image.setPixelColor(2, 0, Qt::transparent);
    image.setColorSpace(QColorSpace::SRgb);
    image.setText(QStringLiteral("key"), QStringLiteral("text"));
    const Bytes png = Encode(image, "png");
    const QImage shown = MachineService::LoadCommandIcon({png.begin(), png.end()}).pixmap(3, 1).toImage();
    EXPECT_EQ(shown.pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(shown.pixelColor(1, 0), QColor(Qt::blue));
    EXPECT_EQ(shown.pixelColor(2, 0).alpha(), 0);
}

} // namespace
