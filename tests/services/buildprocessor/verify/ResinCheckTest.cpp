#include "services/ServiceFiles.h"

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/verify/ResinCheck.h"

#include <libdeflate.h>
#include <zip.h>

#include <functional>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using Testing::GetFailure;
using Testing::MakeBox;
using Testing::MakePart;
using Testing::ToRepresentation;

// Of the display; pixels of 0.1 mm.
constexpr int Columns = 400;
constexpr int Rows = 300;
constexpr int Layers = 10;

using Image = std::vector<std::uint8_t>; ///< rows from the far edge of the bed, a filter byte before each

struct Box
{
    double x, y, width, depth;
};
constexpr Box Boxes[] = {{5, 5, 10, 8}, {25, 15, 6, 6}};

Image MakeImage(const std::vector<Box>& i_boxes)
{
    Image image(static_cast<std::size_t>((Columns + 1) * Rows));
    for (const Box& box : i_boxes) {
        for (int row = 0; row < Rows; ++row) {
            for (int column = 0; column < Columns; ++column) {
                // The mask is seen from below: x runs from right to left.
                const double x = (Columns - column - 0.5) / 10;
                const double y = (Rows - row - 0.5) / 10;
                if (x > box.x && x < box.x + box.width && y > box.y && y < box.y + box.depth)
                    image[static_cast<std::size_t>(row * (Columns + 1) + column + 1)] = 255;
            }
        }
    }
    return image;
}

std::string MakePng(const Image& i_image, std::uint32_t i_columns = Columns)
{
    std::string png = "\x89PNG\r\n\x1a\n";
    const auto number = [](std::uint32_t i_value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += static_cast<char>(i_value >> shift);
        return bytes;
    };
    const auto add = [&](const std::string& i_name, const std::string& i_content) {
        const std::string body = i_name + i_content;
        png += number(static_cast<std::uint32_t>(i_content.size())) + body +
               number(libdeflate_crc32(0, body.data(), body.size()));
    };
    add("IHDR", number(i_columns) + number(Rows) + std::string("\x08\0\0\0\0", 5));
    auto* const packer = libdeflate_alloc_compressor(1);
    std::string packed(libdeflate_zlib_compress_bound(packer, i_image.size()), '\0');
    packed.resize(libdeflate_zlib_compress(packer, i_image.data(), i_image.size(), packed.data(), packed.size()));
    libdeflate_free_compressor(packer);
    add("IDAT", packed);
    add("IEND", "");
    return png;
}

class ResinCheckTest : public ::testing::Test
{
protected:
    ResinCheckTest()
    {
        profile.technology = Technology::Sla;
        profile.bed.outline = {{0, 0}, {40, 0}, {40, 30}, {0, 30}};
        profile.displayWidth = Columns;
        profile.displayHeight = Rows;
        for (const Box& box : Boxes)
            parts.push_back(GetGeometry(
                MakePart(parts.empty() ? L"clip" : L"lid",
                         ToRepresentation(MakeBox(static_cast<float>(box.x), static_cast<float>(box.y), 0,
                                                  static_cast<float>(box.width), static_cast<float>(box.depth), 1))),
                0));
    }

    Testing::Failure Check(const std::vector<std::string>& i_layers, const std::string& i_settings = "")
    {
        const auto path = dir.GetAbsoluteFileNameInTempDir("job.sl1");
        std::filesystem::remove(path);
        zip_t* const archive = zip_open(path.c_str(), ZIP_CREATE, nullptr);
        const auto add = [&](const std::string& i_name, const std::string& i_text) {
            zip_file_add(archive, i_name.c_str(), zip_source_buffer(archive, i_text.data(), i_text.size(), 0),
                         ZIP_FL_ENC_UTF_8);
        };
        const std::string settings =
            "display_mirror_x = 1\ninitial_layer_height = 0.1\nlayer_height = 0.1\nfaded_layers = 3\n" + i_settings;
        add("prusaslicer.ini", settings);
        const std::string job = "numFast = " + std::to_string(i_layers.size()) +
                                "\nlayerHeight = 0.1\nprintTime = 60\nusedMaterial = 0.1\n";
        add("config.ini", job);
        for (std::size_t layer = 0; layer < i_layers.size(); ++layer)
            add("job" + std::to_string(10000 + layer) + ".png", i_layers[layer]);
        EXPECT_EQ(zip_close(archive), 0);
        SectionsAhead sections = ExpectResin(profile, parts);
        return GetFailure([&] { CheckResin(path, profile, parts, sections, stop.get_token()); });
    }

    ScopedTempDir dir;
    MachineProfile profile = ReadProfile(Testing::MakeProfile(), "test").profile;
    std::vector<PartGeometry> parts;
    std::stop_source stop;
};

TEST_F(ResinCheckTest, DamagedImagesAreRefusedWithPartHeightAndReason)
{
    const std::string clip = "The slicing engine's machine file is not the part 'clip': ";
    const std::string lid = "The slicing engine's machine file is not the part 'lid': ";
    const std::string all = "The slicing engine's machine file is not the platform: ";
    const std::string file = "The slicing engine's machine file is not usable: ";
    const std::string good = MakePng(MakeImage({Boxes[0], Boxes[1]}));
    const auto moved = [](double i_by) {
        return MakePng(MakeImage({{Boxes[0].x + i_by, Boxes[0].y, Boxes[0].width, Boxes[0].depth}, Boxes[1]}));
    };
    const auto grown = [](double i_by) {
        return MakePng(MakeImage(
            {{Boxes[0].x - i_by, Boxes[0].y - i_by, Boxes[0].width + 2 * i_by, Boxes[0].depth + 2 * i_by}, Boxes[1]}));
    };
    Image inverted = MakeImage({Boxes[0], Boxes[1]});
    for (std::size_t index = 0; index < inverted.size(); ++index)
        inverted[index] = index % (Columns + 1) == 0 ? 0 : static_cast<std::uint8_t>(255 - inverted[index]);
    std::string cut = good;
    cut.resize(cut.size() - 40);
    using Layers_ = std::vector<std::string>;
    struct Row
    {
        const char* what;
        std::function<void(Layers_&)> damage;
        std::string sentence; ///< the beginning; empty: nothing is wrong
        const char* settings = "";
    };
    const Row rows[] = {
        {"nothing", [](Layers_&) {}, ""},
        {"moved by a pixel", [&](Layers_& io_layers) { io_layers[4] = moved(0.1); }, ""},
        {"a pixel less all round", [&](Layers_& io_layers) { io_layers[4] = grown(-0.1); },
         clip + "in the layer at 0.50 mm 4 % of it are dark."},
        {"a pixel more all round", [&](Layers_& io_layers) { io_layers[4] = grown(0.1); },
         all + "in the layer at 0.50 mm there is light outside of the parts."},
        {"the same where the light is dimmed", [&](Layers_& io_layers) { io_layers[4] = grown(0.1); }, "",
         "gamma_correction = 0.5\n"},
        {"two pixels missing far inside",
         [&](Layers_& io_layers) {
             Image holed = MakeImage({Boxes[0], Boxes[1]});
             for (const std::size_t column : {300, 301})
                 holed[200 * (Columns + 1) + column] = 0;
             io_layers[4] = MakePng(holed);
         },
         clip + "in the layer at 0.50 mm 0 % of it are dark."},
        {"a layer missing", [](Layers_& io_layers) { io_layers.resize(8); },
         all + "it ends at 0.80 mm, and the parts at 1.00 mm."},
        {"two layers too many", [&](Layers_& io_layers) { io_layers.insert(io_layers.end(), 2, good); },
         all + "in the layer at 1.10 mm there is light outside of the parts."},
        {"moved by a millimetre", [&](Layers_& io_layers) { io_layers[4] = moved(1); },
         clip + "in the layer at 0.50 mm 10 % of it are dark."},
        {"inverted", [&](Layers_& io_layers) { io_layers[2] = MakePng(inverted); }, clip + "in the layer at 0.30 mm"},
        {"blank", [](Layers_& io_layers) { io_layers[0] = MakePng(MakeImage({})); }, clip + "in the layer at 0.10 mm"},
        {"all lit",
         [](Layers_& io_layers) {
             io_layers[3] = MakePng(MakeImage({{0, 0, 40, 30}}));
         },
         all + "in the layer at 0.40 mm there is light outside of the parts."},
        {"a part missing", [](Layers_& io_layers) { io_layers[6] = MakePng(MakeImage({Boxes[0]})); },
         lid + "in the layer at 0.70 mm"},
        {"mirrored", [](Layers_&) {}, clip + "in the layer at 0.10 mm", "display_mirror_x = 0\n"},
        {"a speck beside them",
         [](Layers_& io_layers) {
             io_layers[5] = MakePng(MakeImage({Boxes[0], Boxes[1], {20, 25, 3, 3}}));
         },
         all + "in the layer at 0.60 mm there is light outside of the parts."},
        {"the same with supports",
         [](Layers_& io_layers) {
             io_layers[5] = MakePng(MakeImage({Boxes[0], Boxes[1], {20, 25, 3, 3}}));
         },
         "", "supports_enable = 1\n"},
        {"a narrower foot",
         [](Layers_& io_layers) {
             io_layers[1] = MakePng(MakeImage({{5.5, 5.5, 9, 7}, Boxes[1]}));
         },
         "", "elefant_foot_compensation = 0.5\n"},
        {"cut short", [&](Layers_& io_layers) { io_layers[5] = cut; },
         file + "layer 6 is not an image of the display."},
        {"of another size", [](Layers_& io_layers) { io_layers[5] = MakePng(MakeImage({}), Columns + 1); },
         file + "layer 6 is not an image of the display."},
        {"no image", [](Layers_& io_layers) { io_layers[5] = "nothing"; },
         file + "layer 6 is not an image of the display."},
    };
    for (const Row& row : rows) {
        Layers_ layers(Layers, good);
        row.damage(layers);
        const auto failure = Check(layers, row.settings);
        if (row.sentence.empty())
            EXPECT_EQ(failure.text, "") << row.what;
        else
            EXPECT_TRUE(failure.text.starts_with(row.sentence)) << row.what << ": " << failure.text;
    }
}

TEST_F(ResinCheckTest, StopsWhenAsked)
{
    stop.request_stop();
    EXPECT_EQ(Check({MakePng(MakeImage({Boxes[0], Boxes[1]}))}).code, ErrorCode::ProcessingAborted);
}

} // namespace
