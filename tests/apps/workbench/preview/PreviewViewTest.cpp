#include "workbench/preview/PreviewView.h"
#include "support/HostFixture.h"
#include "tavsdk/ZipWriter.h"
#include "workbench/preview/PreviewCanvas.h"
#include "workbench/preview/PreviewModel.h"

#include <QBuffer>
#include <QCheckBox>
#include <QImage>
#include <QSlider>
#include <QSpinBox>
#include <QtTest>

#include <fstream>

namespace {

using namespace Workbench;

class PreviewViewTest : public TestSupport::HostFixture
{
protected:
    PreviewViewTest()
    {
        _view.resize(900, 600);
        _view.show();
    }

    std::filesystem::path Write(const std::string& i_name, const std::string& i_text)
    {
        const auto path = _host.GetDir() / i_name;
        std::ofstream(path, std::ios::binary) << i_text;
        return path;
    }

    /// Squares that grow from layer to layer, with a wall and a travel each.
    std::string MakeSquares(int i_layers)
    {
        std::string text = "M83\n";
        for (int layer = 1; layer <= i_layers; ++layer) {
            const std::string size = std::to_string(10 * layer);
            text += ";LAYER_CHANGE\n;TYPE:External perimeter\n;WIDTH:2\nG1 Z" + std::to_string(layer) +
                    "\nG1 X0 Y0 F6000\nG1 X" + size + " E1\nG1 Y" + size + " E1\nG1 X0 E1\nG1 Y0 E1\nG1 X5 Y5\n";
        }
        return text;
    }

    bool Open(const std::filesystem::path& i_path)
    {
        QSignalSpy shown(&_view, &PreviewView::LayerShown);
        _view.Open(i_path);
        return QTest::qWaitFor([&] { return shown.count() > 0 || !_view.GetModel().GetFailure().isEmpty(); }) &&
               _view.GetModel().GetFailure().isEmpty();
    }

    PreviewView _view;
};

TEST_F(PreviewViewTest, LayersAreShownOneByOneWithTheirNumbers)
{
    ASSERT_TRUE(Open(Write("squares.gcode", MakeSquares(5))));
    const PreviewModel& model = _view.GetModel();
    auto& slider = *_view.findChild<QSlider*>();
    auto& canvas = *_view.findChild<PreviewCanvas*>();
    EXPECT_EQ(slider.maximum(), 5);
    EXPECT_EQ(model.GetShown()->number, 4U);
    const QImage last = canvas.grab().toImage();
    slider.setValue(2);
    EXPECT_EQ(_view.findChild<QSpinBox*>()->value(), 2);
    ASSERT_TRUE(QTest::qWaitFor([&] { return model.GetShown()->number == 1; }));
    EXPECT_EQ(model.GetShown()->moves.size(), 6U); // the way to the corner among them
    EXPECT_NE(canvas.grab().toImage(), last);
    EXPECT_TRUE(canvas.accessibleDescription().contains(QStringLiteral("20")));

    // A kind that is hidden leaves nothing of itself.
    const QImage before = canvas.grab().toImage();
    for (QCheckBox* const box : _view.findChildren<QCheckBox*>()) {
        if (box->text().startsWith(QStringLiteral("Outer")))
            box->setChecked(false);
    }
    const QImage after = canvas.grab().toImage();
    EXPECT_NE(after, before);
    EXPECT_EQ(after.pixelColor(after.width() / 2, after.height() / 2), after.pixelColor(1, 1));
}

TEST_F(PreviewViewTest, ThePartsOutlineLiesWhereTheyAreCut)
{
    _host.scene->GetParts() = {TestSupport::MakePart(L"tetrahedron", 20, 30)};
    _view.SetParts(_host.scene);
    ASSERT_TRUE(Open(Write("squares.gcode", MakeSquares(5))));
    // Layer 5 is cut at 4.5 of 10 mm: a triangle with legs of 5.5 mm.
    QRectF extent;
    for (const QLineF& line : _view.GetModel().GetShown()->outline)
        extent |= QRectF(line.p1(), line.p2()).normalized().adjusted(0, 0, 1e-9, 1e-9);
    EXPECT_NEAR(extent.left(), 20, 1e-6);
    EXPECT_NEAR(extent.width(), 5.5, 1e-6);
    EXPECT_NEAR(extent.bottom(), 35.5, 1e-6);
}

TEST_F(PreviewViewTest, ResinArchivesShowTheirPictures)
{
    const auto path = _host.GetDir() / "job.sl1";
    {
        std::vector<std::string> pictures;
        for (int layer = 0; layer < 3; ++layer) {
            QImage picture(40, 20, QImage::Format_Grayscale8);
            picture.fill(layer * 100);
            QBuffer buffer;
            buffer.open(QIODevice::WriteOnly);
            picture.save(&buffer, "PNG");
            pictures.push_back(buffer.data().toStdString());
        }
        TavSDK::ZipWriter archive;
        archive.Add("config.ini", {"layerHeight = 0.05\nprintTime = 90\n"}, TavSDK::ZipWriter::Packing::Store);
        for (std::size_t layer = 0; layer < pictures.size(); ++layer)
            archive.Add("job0000" + std::to_string(layer) + ".png", {pictures[layer]},
                        TavSDK::ZipWriter::Packing::Store);
        QFile file(QString::fromStdString(path.string()));
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        archive.Write(file.handle());
    }
    ASSERT_TRUE(Open(path));
    const PreviewModel& model = _view.GetModel();
    EXPECT_EQ(model.GetLayerCount(), 3U);
    EXPECT_NEAR(model.GetLayerTop(2), 0.15, 1e-9);
    EXPECT_NEAR(model.GetLayerSeconds(0), 30, 1e-9);
    EXPECT_EQ(qGray(model.GetShown()->picture.pixel(5, 5)), 200);
    auto& canvas = *_view.findChild<PreviewCanvas*>();
    EXPECT_EQ(qGray(canvas.grab().toImage().pixel(canvas.rect().center())), 200);
}

TEST_F(PreviewViewTest, WhatCannotBeShownIsSaidAndTheNextFileIsShownAllTheSame)
{
    EXPECT_FALSE(Open(Write("text.gcode", "nothing\n")));
    EXPECT_FALSE(Open(Write("broken.sl1", "PK\3\4 and nothing more")));
    EXPECT_FALSE(Open(_host.GetDir() / "absent.gcode"));
    // One that is read is given up for the next.
    std::string large;
    for (int copy = 0; copy < 40; ++copy)
        large += MakeSquares(500);
    _view.Open(Write("large.gcode", large));
    ASSERT_TRUE(Open(Write("small.gcode", MakeSquares(2))));
    EXPECT_EQ(_view.GetModel().GetLayerCount(), 2U);
    EXPECT_TRUE(PreviewView::IsMachineFile("a/B.GCODE"));
    EXPECT_FALSE(PreviewView::IsMachineFile("part.stl"));
}

} // namespace
