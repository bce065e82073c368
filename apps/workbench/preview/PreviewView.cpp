#include "workbench/preview/PreviewView.h"

#include "workbench/base/LengthText.h"
#include "workbench/preview/MoveStyle.h"
#include "workbench/preview/PreviewCanvas.h"
#include "workbench/preview/PreviewModel.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QLocale>
#include <QPainter>
#include <QProgressBar>
#include <QSignalBlocker>
#include <QSlider>
#include <QSpinBox>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Workbench {

namespace {

QString FormatDuration(double i_seconds)
{
    const auto seconds = static_cast<qint64>(std::llround(i_seconds));
    const QString minutes = QStringLiteral("%1:%2")
                                .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
                                .arg(seconds % 60, 2, 10, QLatin1Char('0'));
    return seconds < 3600 ? minutes : QStringLiteral("%1:%2").arg(seconds / 3600).arg(minutes);
}

/// The time of each layer as a bar, the first at the foot; as high as the slider beside it.
class TimeBars final : public QWidget
{
public:
    TimeBars(const PreviewModel& i_model, QWidget* ip_parent)
        : QWidget(ip_parent)
        , _model(i_model)
    {
        setFixedWidth(64);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        const std::size_t count = _model.GetLayerCount();
        QPainter painter(this);
        painter.fillRect(rect(), palette().color(QPalette::Base));
        // A slow first layer must not make all others look alike.
        std::vector<double> times;
        for (std::size_t layer = 0; layer < count; ++layer)
            times.push_back(_model.GetLayerSeconds(layer));
        if (times.empty())
            return;
        const auto high = times.begin() + static_cast<std::ptrdiff_t>(times.size() * 97 / 100);
        std::nth_element(times.begin(), high, times.end());
        const double longest = *high * 1.1;
        if (longest <= 0)
            return;
        QColor bar = palette().color(QPalette::Text);
        bar.setAlpha(110);
        const int rows = std::max(height(), 1);
        for (int row = 0; row < rows; ++row) {
            // Of the layers that share a row the longest.
            const std::size_t from = count * static_cast<std::size_t>(row) / static_cast<std::size_t>(rows);
            const std::size_t to =
                std::max(from + 1, count * static_cast<std::size_t>(row + 1) / static_cast<std::size_t>(rows));
            double seconds = 0;
            for (std::size_t layer = from; layer < std::min(to, count); ++layer)
                seconds = std::max(seconds, _model.GetLayerSeconds(layer));
            const bool isShown =
                _model.GetShown() && _model.GetShown()->number >= from && _model.GetShown()->number < to;
            const int length = std::clamp(static_cast<int>(seconds / longest * (width() - 4)), 1, width());
            painter.fillRect(QRect(0, rows - 1 - row, isShown ? width() : length, 1),
                             isShown ? palette().color(QPalette::Highlight) : bar);
        }
    }

private:
    const PreviewModel& _model;
};

} // namespace

PreviewView::PreviewView(QWidget* ip_parent)
    : QWidget(ip_parent)
    , _model(new PreviewModel(this))
    , _canvas(new PreviewCanvas(*_model, this))
    , _times(new TimeBars(*_model, this))
    , _slider(new QSlider(Qt::Vertical, this))
    , _number(new QSpinBox(this))
    , _numberLabel(new QLabel(this))
    , _numbers(new QLabel(this))
    , _pointed(new QLabel(this))
    , _state(new QLabel(this))
    , _progress(new QProgressBar(this))
    , _outline(new QCheckBox(this))
    , _legend(new QWidget(this))
{
    auto* const layout = new QGridLayout(this);
    layout->addWidget(_canvas, 0, 0, 4, 1);
    layout->addWidget(_times, 0, 1, 3, 1);
    layout->addWidget(_slider, 0, 2, 3, 1);
    layout->addWidget(_numberLabel, 0, 3);
    layout->addWidget(_number, 0, 4);
    layout->addWidget(_numbers, 1, 3, 1, 2, Qt::AlignTop);
    layout->addWidget(_legend, 2, 3, 1, 2, Qt::AlignTop);
    layout->addWidget(_pointed, 3, 1, 1, 4);
    layout->addWidget(_state, 4, 0);
    layout->addWidget(_progress, 4, 1, 1, 4);
    layout->setColumnStretch(0, 1);
    layout->setRowStretch(2, 1);
    _state->setTextInteractionFlags(Qt::TextSelectableByMouse);
    _state->setWordWrap(true);
    _numbers->setWordWrap(true);
    _numbers->setMinimumWidth(230);
    _numberLabel->setBuddy(_number);
    _number->setKeyboardTracking(false);
    _progress->setRange(0, 1000);
    _progress->hide();
    _outline->setChecked(true);
    _MakeLegend(*_legend);

    connect(_slider, &QSlider::valueChanged, _number, &QSpinBox::setValue);
    connect(_number, qOverload<int>(&QSpinBox::valueChanged), this, [this](int i_layer) {
        const QSignalBlocker blocker(_slider);
        _slider->setValue(i_layer);
        _model->ShowLayer(static_cast<std::size_t>(std::max(i_layer, 1) - 1));
    });
    connect(_outline, &QCheckBox::toggled, _canvas, &PreviewCanvas::SetOutlineShown);
    connect(_canvas, &PreviewCanvas::Pointed, _pointed, &QLabel::setText);
    connect(_model, &PreviewModel::Progress, this,
            [this](double i_part) { _progress->setValue(static_cast<int>(i_part * 1000)); });
    connect(_model, &PreviewModel::Opened, this, &PreviewView::_TakeFile);
    connect(_model, &PreviewModel::Failed, this, &PreviewView::_TakeFailure);
    connect(_model, &PreviewModel::LayerShown, this, [this] {
        _ShowNumbers();
        _times->update();
        Q_EMIT LayerShown();
    });
    _Translate();
}

PreviewView::~PreviewView() = default;

void PreviewView::_MakeLegend(QWidget& io_parent)
{
    auto* const layout = new QVBoxLayout(&io_parent);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    for (std::size_t kind = 0; kind < MoveKindCount; ++kind) {
        auto* const box = new QCheckBox(&io_parent);
        box->setChecked(_canvas->IsShown(static_cast<MoveKind>(kind)));
        connect(box, &QCheckBox::toggled, this,
                [this, kind](bool i_is_on) { _canvas->SetShown(static_cast<MoveKind>(kind), i_is_on); });
        layout->addWidget(box);
        _kinds[kind] = box;
    }
    layout->addWidget(_outline);
}

bool PreviewView::IsMachineFile(const std::filesystem::path& i_path)
{
    const QString ending = QString::fromStdString(i_path.extension().string()).toLower();
    const QStringList known{QStringLiteral(".gcode"), QStringLiteral(".gco"), QStringLiteral(".g"),
                            QStringLiteral(".nc"),    QStringLiteral(".sl1"), QStringLiteral(".sl1s")};
    return known.contains(ending);
}

void PreviewView::Open(const std::filesystem::path& i_path)
{
    _model->Open(i_path);
    _state->setText(tr("Reading %1 …").arg(QString::fromStdString(i_path.filename().string())));
    _progress->setValue(0);
    _progress->show();
    _ShowNumbers();
}

void PreviewView::SetParts(const VexlorCore::DataSet* ip_scene)
{
    _model->SetParts(ip_scene);
}

void PreviewView::SetBed(const QRectF& i_bed, bool i_is_circular)
{
    _canvas->SetBed(i_bed, i_is_circular);
}

void PreviewView::_TakeFile()
{
    const int count = static_cast<int>(_model->GetLayerCount());
    _progress->hide();
    _state->clear();
    for (QWidget* const box : _kinds)
        box->setVisible(!_model->HasPictures());
    {
        const QSignalBlocker sliderBlocker(_slider), numberBlocker(_number);
        _slider->setRange(1, count);
        _number->setRange(1, count);
        _slider->setPageStep(std::max(1, count / 20));
        _slider->setValue(count);
        _number->setValue(count);
    }
    _PaintLegend();
    _model->ShowLayer(static_cast<std::size_t>(count - 1));
}

void PreviewView::_TakeFailure(const QString& i_reason)
{
    _progress->hide();
    _state->setText(i_reason);
    _ShowNumbers();
}

void PreviewView::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::LanguageChange)
        _Translate();
    if (ip_event->type() == QEvent::PaletteChange)
        _PaintLegend();
    QWidget::changeEvent(ip_event);
}

void PreviewView::_Translate()
{
    _canvas->setAccessibleName(tr("Layer"));
    _slider->setAccessibleName(tr("Layer"));
    _number->setAccessibleName(tr("Layer"));
    _numberLabel->setText(tr("&Layer"));
    _progress->setAccessibleName(tr("Reading of the machine file"));
    _times->setToolTip(tr("Time of each layer"));
    _outline->setText(tr("Outline of the parts"));
    _PaintLegend();
    _ShowNumbers();
}

/// Each kind with its colour and its share of all ways: the colour is not the only thing that tells.
void PreviewView::_PaintLegend()
{
    std::array<double, MoveKindCount> lengths{};
    double whole = 0;
    if (const MachineFileIndex* const index = _model->GetIndex()) {
        for (const LayerSummary& layer : index->layers) {
            for (std::size_t kind = 0; kind < MoveKindCount; ++kind) {
                lengths[kind] += layer.lengths[kind];
                whole += layer.lengths[kind];
            }
        }
    }
    for (std::size_t kind = 0; kind < MoveKindCount; ++kind) {
        const auto name = GetMoveName(static_cast<MoveKind>(kind));
        QPixmap swatch(28, 12);
        swatch.fill(Qt::transparent);
        QPainter painter(&swatch);
        const QColor colour = GetMoveColour(static_cast<MoveKind>(kind), palette());
        painter.setPen(QPen(colour, kind == static_cast<std::size_t>(MoveKind::Travel) ? 2 : 8,
                            kind == static_cast<std::size_t>(MoveKind::Travel) ? Qt::DashLine : Qt::SolidLine,
                            Qt::FlatCap));
        painter.drawLine(0, 6, 28, 6);
        _kinds[kind]->setIcon(QIcon(swatch));
        _kinds[kind]->setIconSize(QSize(28, 12));
        _kinds[kind]->setText(
            whole > 0 ? tr("%1, %2 %").arg(name, QLocale().toString(100 * lengths[kind] / whole, 'f', 1)) : name);
        _kinds[kind]->setVisible(!_model->HasPictures() && (whole == 0 || lengths[kind] > 0));
    }
}

void PreviewView::_ShowNumbers()
{
    const auto& shown = _model->GetShown();
    const bool hasFile = _model->HasFile();
    _slider->setEnabled(hasFile);
    _number->setEnabled(hasFile);
    if (!shown || !hasFile) {
        _numbers->clear();
        return;
    }
    const QLocale locale;
    const auto number = [&](double i_value, int i_decimals) {
        return locale.toString(i_value, 'f', i_decimals);
    };
    QStringList lines;
    lines << tr("of %1 layers").arg(_model->GetLayerCount());
    lines << tr("Height %1").arg(LengthText::Show(_model->GetLayerTop(shown->number), 2));
    if (const double seconds = _model->GetLayerSeconds(shown->number); seconds > 0)
        lines << tr("Time of the layer %1").arg(FormatDuration(seconds));
    if (const double seconds = _model->GetSeconds(); seconds > 0)
        lines << tr("Time of all layers %1").arg(FormatDuration(seconds));
    if (const MachineFileIndex* const index = _model->GetIndex()) {
        const LayerSummary& layer = index->layers[shown->number];
        lines << tr("Filament %1 of %2 m")
                     .arg(LengthText::Show(layer.filament, 1), number(index->GetFilament() / 1000, 2));
        if (layer.minX <= layer.maxX) {
            lines << tr("X %1 to %2").arg(LengthText::ShowNumber(layer.minX, 1), LengthText::Show(layer.maxX, 1));
            lines << tr("Y %1 to %2").arg(LengthText::ShowNumber(layer.minY, 1), LengthText::Show(layer.maxY, 1));
        }
    }
    _numbers->setText(lines.join(QLatin1Char('\n')));
    _canvas->setAccessibleDescription(lines.join(QStringLiteral(", ")));
}

} // namespace Workbench
