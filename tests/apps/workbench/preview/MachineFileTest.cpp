#include "buildprocessor/engine/GCodeReader.h"
#include "tavsdk/FileError.h"
#include "workbench/preview/MachineFileIndex.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <numbers>
#include <optional>

namespace {

using namespace Workbench;

/// What an independent reader finds of each layer.
class LayerReader final : public MachineService::BuildProcessor::IGCodeVisitor
{
public:
    struct Layer
    {
        double minX = 1e9, minY = 1e9, maxX = -1e9, maxY = -1e9, filament = 0;
    };
    std::vector<Layer> layers;

    void OnMove(const MachineService::BuildProcessor::GCodeMove& i_move) override
    {
        if (layers.empty())
            return;
        Layer& layer = layers.back();
        layer.filament += i_move.pushed;
        if (i_move.pushed <= 0 || (i_move.x == i_move.fromX && i_move.y == i_move.fromY))
            return;
        layer.minX = std::min({layer.minX, i_move.fromX, i_move.x});
        layer.maxX = std::max({layer.maxX, i_move.fromX, i_move.x});
        layer.minY = std::min({layer.minY, i_move.fromY, i_move.y});
        layer.maxY = std::max({layer.maxY, i_move.fromY, i_move.y});
    }
    void OnArc() override { ADD_FAILURE(); }
    void OnPart(std::optional<std::size_t>) override {}
    void OnComment(std::string_view i_text) override
    {
        if (i_text == "LAYER_CHANGE")
            layers.emplace_back();
    }
};

class MachineFileTest : public ::testing::Test
{
protected:
    std::filesystem::path GetPath(const char* i_name) const
    {
        return _dir.filePath(QString::fromLatin1(i_name)).toStdString();
    }

    std::filesystem::path Write(const std::string& i_text)
    {
        std::ofstream(GetPath("file.gcode"), std::ios::binary) << i_text;
        return GetPath("file.gcode");
    }

    MachineFileIndex Index(const std::string& i_text) { return *IndexMachineFile(Write(i_text), {}, {}); }

    /// A cone of 24 mm on a tube, sliced by the engine.
    void Slice(const QStringList& i_options)
    {
        std::ofstream stl(GetPath("cone.stl"));
        stl << "solid cone\n";
        const auto triangle = [&](const std::array<double, 3>& i_a, const std::array<double, 3>& i_b,
                                  const std::array<double, 3>& i_c) {
            stl << "facet normal 0 0 0\nouter loop\n";
            for (const auto& point : {i_a, i_b, i_c})
                stl << "vertex " << point[0] << ' ' << point[1] << ' ' << point[2] << '\n';
            stl << "endloop\nendfacet\n";
        };
        for (int side = 0; side < 48; ++side) {
            const double a = 2 * std::numbers::pi * side / 48, b = 2 * std::numbers::pi * (side + 1) / 48;
            const std::array from{12 * std::cos(a), 12 * std::sin(a), 0.0}, to{12 * std::cos(b), 12 * std::sin(b), 0.0};
            triangle({0, 0, 0}, to, from);
            triangle(from, to, {0, 0, 15});
        }
        stl << "endsolid\n";
        stl.close();
        QProcess engine;
        engine.start(QStringLiteral("prusa-slicer"),
                     QStringList{QStringLiteral("--export-gcode"), QStringLiteral("--datadir"),
                                 _dir.filePath(QStringLiteral("data")), QStringLiteral("--center"),
                                 QStringLiteral("100,100"), QStringLiteral("-o"),
                                 _dir.filePath(QStringLiteral("file.gcode"))} +
                         i_options + QStringList{_dir.filePath(QStringLiteral("cone.stl"))});
        ASSERT_TRUE(engine.waitForFinished(60'000));
        ASSERT_EQ(engine.exitCode(), 0) << engine.readAllStandardError().toStdString();
    }

    QTemporaryDir _dir;
};

TEST_F(MachineFileTest, LayersAndTimeAreThoseOfTheEngine)
{
    const std::vector<QStringList> rows{
        {},
        {QStringLiteral("--spiral-vase"), QStringLiteral("--perimeters"), QStringLiteral("1"),
         QStringLiteral("--fill-density"), QStringLiteral("0"), QStringLiteral("--top-solid-layers"),
         QStringLiteral("0")},
        {QStringLiteral("--use-relative-e-distances"), QStringLiteral("--layer-gcode"), QStringLiteral("G92 E0"),
         QStringLiteral("--gcode-flavor"), QStringLiteral("marlin2"), QStringLiteral("--machine-limits-usage"),
         QStringLiteral("emit_to_gcode"), QStringLiteral("--machine-max-acceleration-extruding"), QStringLiteral("400"),
         QStringLiteral("--perimeter-acceleration"), QStringLiteral("300"), QStringLiteral("--default-acceleration"),
         QStringLiteral("600")},
        {QStringLiteral("--support-material"), QStringLiteral("--raft-layers"), QStringLiteral("2"),
         QStringLiteral("--perimeter-speed"), QStringLiteral("15")},
    };
    for (const QStringList& row : rows) {
        SCOPED_TRACE(row.join(QLatin1Char(' ')).toStdString());
        ASSERT_NO_FATAL_FAILURE(Slice(row));
        const auto path = GetPath("file.gcode");
        const MachineFileIndex index = *IndexMachineFile(path, {}, {});
        LayerReader reader;
        MachineService::BuildProcessor::ReadGCode(
            path, std::array<MachineService::BuildProcessor::IGCodeVisitor*, 1>{&reader}, {});
        ASSERT_EQ(index.layers.size(), reader.layers.size());
        for (std::size_t layer = 0; layer < index.layers.size(); ++layer) {
            const LayerSummary& found = index.layers[layer];
            const LayerReader::Layer& expected = reader.layers[layer];
            SCOPED_TRACE(layer);
            EXPECT_NEAR(found.filament, expected.filament, 1e-6);
            EXPECT_NEAR(found.minX, expected.minX, 1e-9);
            EXPECT_NEAR(found.maxX, expected.maxX, 1e-9);
            EXPECT_NEAR(found.minY, expected.minY, 1e-9);
            EXPECT_NEAR(found.maxY, expected.maxY, 1e-9);
            // Read by itself, each layer holds the same.
            double minX = 1e9, maxX = -1e9;
            std::array<double, MoveKindCount> lengths{};
            for (const LayerMove& move : ReadLayerMoves(path, found, {})) {
                lengths[static_cast<std::size_t>(move.kind)] += std::hypot(move.x - move.fromX, move.y - move.fromY);
                if (move.kind != MoveKind::Travel) {
                    minX = std::min({minX, static_cast<double>(move.fromX), static_cast<double>(move.x)});
                    maxX = std::max({maxX, static_cast<double>(move.fromX), static_cast<double>(move.x)});
                }
            }
            EXPECT_NEAR(minX, found.minX, 1e-3);
            EXPECT_NEAR(maxX, found.maxX, 1e-3);
            for (std::size_t kind = 0; kind < MoveKindCount; ++kind)
                EXPECT_NEAR(lengths[kind], found.lengths[kind], 0.01) << kind;
        }
        ASSERT_TRUE(index.toldSeconds);
        EXPECT_NEAR(index.GetSeconds() / *index.toldSeconds, 1, 0.1);
    }
}

TEST_F(MachineFileTest, EveryWayToSayTheSameIsUnderstood)
{
    // A square of 10 mm whose sides push 1 mm each.
    const std::string rows[] = {
        "G90\nM82\nG1 X0 Y0 Z0.2 F1200\nG1 X10 E1\nG1 Y10 E2\nG1 X0 E3\nG1 Y0 E4\n",
        "G90\r\nM83\r\nG0 X0Y0Z.2 F1200\r\nG1 X10 E1 ; side\r\n  g1 y10 e1\r\nG1 X0. E+1\r\nG1 Y-0 E1",
        "G91\nG1 Z0.2 F1200\nG1 X10 E1\nG1 Y10 E1\nG1 X-10 E1\nG1 Y-10 E1\n",
        "G20\nM83\nG1 X0 Y0 Z0.00787402 F47.244094\nG1 X.3937007874 E.0393700787\nG1 Y.3937007874 E.0393700787\n"
        "G1 X0 E.0393700787\nG1 Y0 E.0393700787\n",
        "M82\nG1 X0 Y0 Z0.2 F1200\nG1 X10 E1\nG92 E0\nG1 Y10 E1\nG92 E5\nG1 E3\nG1 E5\nG1 X0 E6\nG92 E0\nG1 Y0 "
        "E1\nT1\nM117 X5\n",
    };
    for (const std::string& row : rows) {
        SCOPED_TRACE(row);
        const MachineFileIndex index = Index(row);
        ASSERT_EQ(index.layers.size(), 1U);
        const LayerSummary& layer = index.layers[0];
        EXPECT_NEAR(layer.z, 0.2, 1e-6);
        EXPECT_NEAR(layer.filament, 4, 1e-6);
        EXPECT_NEAR(layer.maxX - layer.minX, 10, 1e-6);
        EXPECT_NEAR(layer.maxY - layer.minY, 10, 1e-6);
        EXPECT_NEAR(layer.lengths[static_cast<std::size_t>(MoveKind::Other)], 40, 1e-4);
        // 40 mm at 20 mm/s, and a little more for corners and for filament that is pulled back.
        EXPECT_NEAR(layer.seconds, 2.15, 0.15);
    }
}

TEST_F(MachineFileTest, NumbersOfEveryLengthAreReadExactly)
{
    const std::string numbers[] = {"7",         "12.5",        "-0.00627",  ".5",      "5.",
                                   "159.872",   "-159.8725",   "123456.7",  "1234567", "1234567.5",
                                   "+3.25",     "00012.50000", "0.1234567", "-.25",    "1234.5678901",
                                   "999999.99", "12345.678",   "-1",        "0.3",     "8765432.1"};
    for (const std::string& number : numbers) {
        // The end of the line, of the word, or neither.
        for (const char* const end : {"", " ", " F600", "F600", ";8", "\r", " ;9.9", "Y3"}) {
            SCOPED_TRACE(number + end);
            const LayerSummary layer = Index("M83\nG1 Z.2 F600\nG1 E1 X" + number + end + "\n").layers.at(0);
            const double value = std::strtod(number.c_str(), nullptr);
            EXPECT_DOUBLE_EQ(value < 0 ? layer.minX : layer.maxX, value);
        }
    }
}

TEST_F(MachineFileTest, ArcsLayersAndPausesWithoutLabels)
{
    const MachineFileIndex index = Index("M83\nG1 X10 Y0 Z0.2 F6000\nG3 X-10 Y0 I-10 J0 E2\nG3 X10 Y0 R10 E2\nG4 P500\n"
                                         "G1 Z0.4\nG2 X10 Y0 I-10 J0 E4\nG4 S2\nG1 Z5\nG1 X0 Y0 Z0.4\nG1 X1 E1\n");
    ASSERT_EQ(index.layers.size(), 2U);
    for (const LayerSummary& layer : index.layers) {
        EXPECT_NEAR(layer.minX, -10, 0.01);
        EXPECT_NEAR(layer.maxY, 10, 0.01);
        EXPECT_NEAR(layer.minY, -10, 0.01);
        EXPECT_GE(layer.lengths[static_cast<std::size_t>(MoveKind::Other)], 62.7);
    }
    EXPECT_NEAR(index.layers[0].filament, 4, 1e-9);
    EXPECT_GT(index.layers[0].seconds, 0.5 + 0.62);
    EXPECT_NEAR(index.layers[1].height, 0.2, 1e-9);
}

TEST_F(MachineFileTest, WhatIsNoMachineFileIsRefusedAndDamageDoesNoHarm)
{
    for (const std::string text : {"", "hello", "G1 X1 Y1 F100\n", ";TYPE:Skirt\n;LAYER_CHANGE\n"})
        EXPECT_THROW(Index(text), TavSDK::FileError) << text;
    EXPECT_THROW(Index("G1 X5 E1" + std::string(3 << 20, ' ')), TavSDK::FileError);
    EXPECT_THROW(IndexMachineFile(GetPath("absent"), {}, {}), TavSDK::FileError);
    // Numbers that are none, or beyond every machine, leave what was before.
    const MachineFileIndex index = Index(
        "M83\nG1 X1 Y1 Z.2 F600\nG1 X99999999999999999999 E1\nG1 X\nG1 Ynan Einf\nG1 X-- E1e9\nG2\nG2 X5 I0 J0 E1\n"
        "G92 X\nG1 X4 Y4 E1\nM204 S0\nM203 X-5\nG4 S-9\n\0\n;WIDTH:\n;WIDTH:1e99\nG1 X8 E1\n");
    EXPECT_LT(index.layers.back().maxX, 1e7);
    EXPECT_TRUE(std::isfinite(index.GetSeconds()));
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(IndexMachineFile(Write("G1 X5 E1\n"), stop.get_token(), {}));
}

} // namespace
