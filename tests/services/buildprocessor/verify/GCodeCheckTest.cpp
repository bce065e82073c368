#include "services/ServiceFiles.h"

#include "buildprocessor/geometry/PartGeometry.h"
#include "buildprocessor/machines/ProfileReader.h"
#include "buildprocessor/verify/GCodeCheck.h"
#include "buildprocessor/verify/LayerRules.h"

#include <cmath>
#include <numbers>
#include <sstream>

using namespace MachineService;
using namespace MachineService::BuildProcessor;

namespace {

using Testing::GetFailure;
using Testing::MakeBox;
using Testing::MakePart;
using Testing::MakeProfile;
using Testing::ToRepresentation;

constexpr double Width = 0.45;
constexpr double Height = 0.25;
constexpr int Layers = 12;

struct Box
{
    double x, y, size;
};
constexpr Box Boxes[] = {{10, 10, 8}, {40, 30, 6}};

/// What goes wrong in a machine file of two boxes.
struct Damage
{
    std::string end = "M104 S0\nM140 S0\nM84\n";
    int skippedLayer = -1; ///< of the first box
    int skippedFrom = Layers;
    int emptyLayer = -1; ///< of the first box: material beside it, labelled as a skirt
    int halfLayer = -1;
    int raisedLayer = -1;
    int strayLayer = -1;
    int doubledLayer = -1; ///< comes again as a layer of its own
    bool skipsSecond = false;
    double shift = 0; ///< mm
    double flow = 1;
    int unlabelledLayer = -1;
    int arcLayer = -1;
    double lift = 0; ///< of all heights
    double firstHeight = Height;
};

/// Writes what a slicing engine would: a wall and an infill of lines for each box and layer.
class GCodeWriter
{
public:
    explicit GCodeWriter(const Damage& i_damage)
        : _damage(i_damage)
    {}

    std::string Write()
    {
        _text << "; external perimeters extrusion width = " << Width << "mm\nM140 S60\nM104 S210\nG28\nG90\nM83\n"
              << ";TYPE:Custom\nG1 X5 Y5 E3\n";
        for (int layer = 0; layer < Layers; ++layer) {
            _WriteLayer(layer);
            if (layer == _damage.doubledLayer)
                _WriteLayer(layer);
        }
        _text << ";TYPE:Custom\n"
              << _damage.end
              << "; filament used [mm] = 200\n; estimated printing time (normal mode) = 1m 2s\n"
                 "; prusaslicer_config = begin\n; perimeters = 1\n; prusaslicer_config = end\n";
        return _text.str();
    }

private:
    void _WriteLayer(int i_layer)
    {
        _height = i_layer == 0 ? _damage.firstHeight : Height;
        const double top = _damage.lift + _damage.firstHeight + Height * i_layer;
        _text << ";LAYER_CHANGE\n;Z:" << top << "\n;HEIGHT:" << _height << "\nG1 Z"
              << top + (i_layer == _damage.raisedLayer ? 0.1 : 0) << "\n";
        for (int index = 0; index < 2; ++index) {
            const bool isFirst = index == 0;
            if ((isFirst && (i_layer == _damage.skippedLayer || i_layer >= _damage.skippedFrom)) ||
                (!isFirst && _damage.skipsSecond))
                continue;
            _text << "; printing object box id:" << index << " copy 0\n";
            Box box = Boxes[index];
            if (isFirst) {
                box.x += _damage.shift;
                if (i_layer == _damage.emptyLayer)
                    _WriteSquare("Skirt/Brim", {box.x - 2, box.y - 2, box.size + 4}, 0);
                else
                    _WriteBox(box, i_layer == _damage.halfLayer);
                if (i_layer == _damage.strayLayer)
                    _Line(box.x - 1, box.y, box.x - 1, box.y + 1);
            } else {
                _WriteBox(box, false);
            }
            _text << "; stop printing object box id:" << index << " copy 0\n";
        }
        if (i_layer == _damage.unlabelledLayer)
            _Line(70, 70, 71, 71);
        if (i_layer == _damage.arcLayer)
            _text << "G2 X10 Y11 I1 J1 E0.1\n";
    }
    void _WriteSquare(const char* ip_type, const Box& i_box, double i_inset)
    {
        _text << ";TYPE:" << ip_type << "\n;WIDTH:" << Width << '\n';
        const double low = i_inset;
        const double high = i_box.size - i_inset;
        const double corners[][2] = {{low, low}, {high, low}, {high, high}, {low, high}, {low, low}};
        for (int side = 0; side < 4; ++side)
            _Line(i_box.x + corners[side][0], i_box.y + corners[side][1], i_box.x + corners[side + 1][0],
                  i_box.y + corners[side + 1][1]);
    }
    void _WriteBox(const Box& i_box, bool i_half)
    {
        if (!i_half)
            _WriteSquare("External perimeter", i_box, Width / 2);
        _text << ";TYPE:Internal infill\n";
        for (double y = 1; y < (i_half ? i_box.size / 3 : i_box.size - 0.5); y += i_half ? Width : 1.5)
            _Line(i_box.x + 0.6, i_box.y + y, i_box.x + i_box.size - 0.6, i_box.y + y);
    }
    void _Line(double i_x0, double i_y0, double i_x1, double i_y1)
    {
        constexpr double filament = 1.75 * 1.75 * std::numbers::pi / 4;
        const double area = _height * (Width - _height * (1 - std::numbers::pi / 4));
        _text << "G1 X" << i_x0 << " Y" << i_y0 << "\nG1 X" << i_x1 << " Y" << i_y1 << " E"
              << std::hypot(i_x1 - i_x0, i_y1 - i_y0) * area / filament * _damage.flow << '\n';
    }

    const Damage& _damage;
    std::ostringstream _text;
    double _height = Height;
};

class GCodeCheckTest : public ::testing::Test
{
protected:
    GCodeCheckTest()
    {
        for (const Box& box : Boxes)
            AddBox(box, 3);
    }

    void AddBox(const Box& i_box, float i_height)
    {
        parts.push_back(
            GetGeometry(MakePart(parts.empty() ? L"clip" : L"lid",
                                 ToRepresentation(MakeBox(static_cast<float>(i_box.x), static_cast<float>(i_box.y), 0,
                                                          static_cast<float>(i_box.size),
                                                          static_cast<float>(i_box.size), i_height))),
                        0));
    }
    Testing::Failure Check(const std::string& i_text)
    {
        const auto path = dir.GetAbsoluteFileNameInTempDir("job.gcode");
        Testing::WriteFile(path, i_text);
        SectionsAhead sections = ExpectGCode(profile, parts);
        return GetFailure([&] { result = CheckGCode(path, profile, parts, sections, stop.get_token()); });
    }

    ScopedTempDir dir;
    MachineProfile profile = ReadProfile(MakeProfile(), "test").profile;
    std::vector<PartGeometry> parts;
    SlicingResult result;
    std::stop_source stop;
};

TEST_F(GCodeCheckTest, DamagedFilesAreRefusedWithPartHeightAndReason)
{
    const std::string clip = "The slicing engine's machine file is not the part 'clip': ";
    const std::string lid = "The slicing engine's machine file is not the part 'lid': ";
    const std::string file = "The slicing engine's machine file is not usable: ";
    struct Row
    {
        const char* what;
        Damage damage;
        std::string sentence; ///< the beginning; empty: nothing is wrong
    };
    const Row rows[] = {
        {"nothing", {}, ""},
        {"a shift of less than half a width", {.shift = 0.15}, ""},
        {"a missing layer", {.skippedLayer = 5}, clip + "nothing of it is there between 1.25 mm and 1.50 mm."},
        {"the first layer missing", {.skippedLayer = 0}, clip + "nothing of it is there between 0.00 mm and 0.25 mm."},
        {"a cut end", {.skippedFrom = 9}, clip + "nothing of it is there between 2.25 mm and 3.00 mm."},
        {"all of a part missing", {.skippedFrom = 0}, clip + "nothing of it is there."},
        {"the other part missing", {.skipsSecond = true}, lid + "nothing of it is there."},
        {"a shifted part", {.shift = 1}, clip + "in the layer at 0.25 mm material lies outside of it, at (18.77 mm"},
        {"a layer beside it", {.emptyLayer = 4}, clip + "nothing of it is there between 1.00 mm and 1.25 mm."},
        {"half a layer", {.halfLayer = 4}, clip + "in the layer at 1.25 mm a side of it is missing."},
        {"too little material", {.flow = 0.7}, clip + "in the layer at 0.25 mm 4.45 mm³ are pushed out where"},
        {"too much material", {.flow = 1.3}, clip + "in the layer at 0.25 mm 8.27 mm³ are pushed out where"},
        {"a layer that comes again", {.doubledLayer = 6}, file + "its layer at 1.75 mm comes again, or too late."},
        {"a nozzle above its layer", {.raisedLayer = 3}, clip + "in the layer at 1.00 mm material is put at 1.10 mm."},
        {"a thread outside",
         {.strayLayer = 7},
         clip + "in the layer at 2.00 mm material lies outside of it, at (9.00 mm"},
        {"all layers too high", {.lift = 0.1}, ""},
        {"layers that begin in the air", {.lift = 1}, "The part 'clip' begins 1.00 mm above the plate"},
        {"material of no part",
         {.unlabelledLayer = 3},
         file + "material that belongs to no part is put at a height of"},
        {"an arc", {.arcLayer = 3}, file + "it holds arcs, which cannot be checked."},
        {"the nozzle's heater on", {.end = "M140 S0\nM84\n"}, file + "it leaves the nozzle's heater on"},
        {"the bed's heater on", {.end = "M104 S0\nM84\n"}, file + "it leaves the bed's heater on"},
        {"motors on again", {.end = "M104 S0\nM140 S0\nM84\nG28 X0\n"}, file + "it leaves the motors on"},
        {"one motor off only", {.end = "M104 S0\nM140 S0\nM84 X\n"}, file + "it leaves the motors on"},
    };
    for (const Row& row : rows) {
        const auto failure = Check(GCodeWriter(row.damage).Write());
        if (row.sentence.empty())
            EXPECT_EQ(failure.text, "") << row.what;
        else
            EXPECT_TRUE(failure.text.starts_with(row.sentence)) << row.what << ": " << failure.text;
    }
}

TEST_F(GCodeCheckTest, HeightsComeFromTheFile)
{
    struct Row
    {
        const char* what;
        Damage damage;
        float height; ///< of the part
        bool holds;
    };
    const Row rows[] = {
        {"a thicker first layer", {.firstHeight = 0.35}, 3.1F, true},
        {"a part that ends within a layer", {}, 2.9F, true},
        {"a part a layer lower", {}, 2.5F, false},
        {"a part two layers higher", {}, 3.5F, false},
    };
    for (const Row& row : rows) {
        parts.clear();
        for (const Box& box : Boxes)
            AddBox(box, row.height);
        const auto failure = Check(GCodeWriter(row.damage).Write());
        EXPECT_EQ(failure.text.empty(), row.holds) << row.what << ": " << failure.text;
    }
}

TEST_F(GCodeCheckTest, LayersAreExpectedOfEachPartThatBeginsOnThePlate)
{
    parts.front().box.min.z = 1;
    const auto layers = ExpectLayers(profile, parts);
    ASSERT_EQ(layers.size(), 2U);
    EXPECT_TRUE(layers.front().empty());
    EXPECT_FALSE(layers.back().empty());
}

TEST_F(GCodeCheckTest, StopsWhenAsked)
{
    stop.request_stop();
    EXPECT_EQ(Check(GCodeWriter({}).Write()).code, ErrorCode::ProcessingAborted);
}

} // namespace
