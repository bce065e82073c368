#pragma once

#include "workbench/preview/GCodeParser.h"

#include <QWidget>

#include <array>
#include <filesystem>

class QCheckBox;
class QLabel;
class QProgressBar;
class QSlider;
class QSpinBox;

namespace VexlorCore {
class DataSet;
}

namespace Workbench {

class PreviewCanvas;
class PreviewModel;

/// A machine file layer by layer: the layer, a slider with the time of each layer beside it, the legend of the kinds of
/// moves, which shows and hides them, and the layer's numbers.
///
/// Thread: UI thread.
class PreviewView final : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewView(QWidget* ip_parent = nullptr);
    ~PreviewView() override;

    void Open(const std::filesystem::path& i_path);
    /// The parts whose outline lies over the layers; as they stand now. Null: none.
    void SetParts(const VexlorCore::DataSet* ip_scene);
    /// Units: mm.
    void SetBed(const QRectF& i_bed, bool i_is_circular);
    PreviewModel& GetModel() { return *_model; }
    /// For who passes a file on or refuses it: G-code by its usual endings and archives for resin printers.
    static bool IsMachineFile(const std::filesystem::path& i_path);

Q_SIGNALS:
    /// A layer of the file that was opened last stands there.
    void LayerShown();

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _MakeLegend(QWidget& io_parent);
    void _Translate();
    void _TakeFile();
    void _TakeFailure(const QString& i_reason);
    void _ShowNumbers();
    void _PaintLegend();

    PreviewModel* const _model;
    PreviewCanvas* const _canvas;
    QWidget* const _times;
    QSlider* const _slider;
    QSpinBox* const _number;
    QLabel* const _numberLabel;
    QLabel* const _numbers;
    QLabel* const _pointed;
    QLabel* const _state;
    QProgressBar* const _progress;
    QCheckBox* const _outline;
    QWidget* const _legend;
    std::array<QCheckBox*, MoveKindCount> _kinds{};
};

} // namespace Workbench
