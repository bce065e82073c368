#include "workbench/preview/PreviewCanvas.h"

#include "workbench/preview/MoveStyle.h"
#include "workbench/preview/PreviewModel.h"

#include <QEvent>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace Workbench {

namespace {

constexpr double Margin = 0.92;           ///< of the view that the extent fills
constexpr std::size_t ManyMoves = 60'000; ///< beyond, edges are not smoothed
constexpr double ThinnestThread = 0.35;   ///< mm, of moves without a label
constexpr double Near = 6;                ///< pixels

double GetDistance(const QPointF& i_point, const QPointF& i_from, const QPointF& i_to)
{
    const QPointF along = i_to - i_from;
    const double length = QPointF::dotProduct(along, along);
    const double part = length > 0 ? std::clamp(QPointF::dotProduct(i_point - i_from, along) / length, 0.0, 1.0) : 0;
    const QPointF away = i_point - (i_from + part * along);
    return std::hypot(away.x(), away.y());
}

} // namespace

PreviewCanvas::PreviewCanvas(PreviewModel& io_model, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _model(io_model)
{
    _isShown.fill(true);
    _isShown[static_cast<std::size_t>(MoveKind::Travel)] = false;
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setMinimumSize(200, 160);
    setObjectName(QStringLiteral("layer"));
    connect(&_model, &PreviewModel::Opened, this, [this] {
        _isFitted = false;
        _Invalidate();
    });
    connect(&_model, &PreviewModel::LayerShown, this, &PreviewCanvas::_Invalidate);
}

void PreviewCanvas::SetBed(const QRectF& i_bed, bool i_is_circular)
{
    _bed = i_bed;
    _isCircular = i_is_circular;
    _isFitted = false;
    _Invalidate();
}

void PreviewCanvas::SetShown(MoveKind i_kind, bool i_is_shown)
{
    _isShown[static_cast<std::size_t>(i_kind)] = i_is_shown;
    _Invalidate();
}

void PreviewCanvas::SetOutlineShown(bool i_is_shown)
{
    _hasOutline = i_is_shown;
    _Invalidate();
}

void PreviewCanvas::ShowAll()
{
    _isFitted = false;
    _Invalidate();
}

QRectF PreviewCanvas::_GetExtent() const
{
    QRectF extent;
    if (const MachineFileIndex* const index = _model.GetIndex()) {
        for (const LayerSummary& layer : index->layers) {
            if (layer.minX <= layer.maxX)
                extent |= QRectF(QPointF(layer.minX, layer.minY), QPointF(layer.maxX + 0.01, layer.maxY + 0.01));
        }
        return extent;
    }
    if (_model.HasPictures() && _bed.isEmpty() && _model.GetShown())
        return QRectF(QPointF(), QSizeF(_model.GetShown()->picture.size()));
    return _bed;
}

QPointF PreviewCanvas::_ToPixel(double i_x, double i_y) const
{
    return {(i_x - _middle.x()) * _scale + width() / 2.0, height() / 2.0 - (i_y - _middle.y()) * _scale};
}

void PreviewCanvas::_Invalidate()
{
    _layer = {};
    update();
}

void PreviewCanvas::paintEvent(QPaintEvent*)
{
    if (const QRectF extent = _GetExtent(); !_isFitted && !extent.isEmpty()) {
        _isFitted = true;
        _middle = extent.center();
        _scale = Margin * std::min(width() / extent.width(), height() / extent.height());
    }
    if (_layer.isNull())
        _PaintLayer();
    QPainter(this).drawImage(QPoint(), _layer);
}

void PreviewCanvas::_PaintLayer()
{
    _layer = QImage(size() * devicePixelRatioF(), QImage::Format_RGB32);
    _layer.setDevicePixelRatio(devicePixelRatioF());
    _layer.fill(palette().color(QPalette::Base));
    QPainter painter(&_layer);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!_bed.isEmpty())
        _PaintBed(painter);
    const auto& shown = _model.GetShown();
    if (!shown)
        return;
    if (!shown->picture.isNull()) {
        const QRectF area = _bed.isEmpty() ? _GetExtent() : _bed;
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(_ToPixel(area.left(), area.bottom()), _ToPixel(area.right(), area.top())).normalized(),
                          shown->picture);
    }
    _PaintMoves(painter);
    if (_hasOutline && !shown->outline.isEmpty()) {
        QVector<QLineF> lines;
        lines.reserve(shown->outline.size());
        for (const QLineF& line : shown->outline)
            lines << QLineF(_ToPixel(line.x1(), line.y1()), _ToPixel(line.x2(), line.y2()));
        painter.setPen(QPen(palette().color(QPalette::Text), 1.5));
        painter.drawLines(lines);
    }
}

void PreviewCanvas::_PaintBed(QPainter& io_painter) const
{
    const QRectF frame = QRectF(_ToPixel(_bed.left(), _bed.bottom()), _ToPixel(_bed.right(), _bed.top())).normalized();
    QColor line = palette().color(QPalette::Text);
    line.setAlpha(28);
    QPainterPath outline;
    if (_isCircular)
        outline.addEllipse(frame);
    else
        outline.addRect(frame);
    io_painter.save();
    io_painter.setClipPath(outline);
    const double step = _scale > 4 ? 10 : 50;
    io_painter.setPen(QPen(line, 1));
    for (double x = std::ceil(_bed.left() / step) * step; x <= _bed.right(); x += step)
        io_painter.drawLine(_ToPixel(x, _bed.top()), _ToPixel(x, _bed.bottom()));
    for (double y = std::ceil(_bed.top() / step) * step; y <= _bed.bottom(); y += step)
        io_painter.drawLine(_ToPixel(_bed.left(), y), _ToPixel(_bed.right(), y));
    io_painter.restore();
    line.setAlpha(120);
    io_painter.strokePath(outline, QPen(line, 1.5));
}

void PreviewCanvas::_PaintMoves(QPainter& io_painter) const
{
    const std::vector<LayerMove>& moves = _model.GetShown()->moves;
    io_painter.setRenderHint(QPainter::Antialiasing, moves.size() < ManyMoves);
    // Stretches of one kind and width are one path: their corners are round, and a pen is set once for each.
    for (std::size_t begin = 0; begin < moves.size();) {
        const LayerMove& first = moves[begin];
        std::size_t end = begin;
        QPolygonF way;
        way << _ToPixel(static_cast<double>(first.fromX), static_cast<double>(first.fromY));
        for (; end < moves.size() && moves[end].kind == first.kind && moves[end].width == first.width; ++end) {
            const LayerMove& move = moves[end];
            if (end > begin && (move.fromX != moves[end - 1].x || move.fromY != moves[end - 1].y))
                break;
            way << _ToPixel(static_cast<double>(move.x), static_cast<double>(move.y));
        }
        begin = end;
        if (!IsShown(first.kind))
            continue;
        const QColor colour = GetMoveColour(first.kind, palette());
        if (first.kind == MoveKind::Travel) {
            io_painter.setPen(QPen(colour, 1, Qt::DashLine));
        } else {
            // A little less than their width, so that neighbours stay apart.
            const double width = (first.width > 0 ? static_cast<double>(first.width) : ThinnestThread) * _scale * 0.86;
            io_painter.setPen(QPen(colour, std::max(1.0, width), Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        }
        io_painter.drawPolyline(way);
    }
    io_painter.setRenderHint(QPainter::Antialiasing);
}

void PreviewCanvas::resizeEvent(QResizeEvent*)
{
    _Invalidate();
}

void PreviewCanvas::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::PaletteChange)
        _Invalidate();
    QWidget::changeEvent(ip_event);
}

void PreviewCanvas::_Zoom(double i_factor, const QPointF& i_at)
{
    const double former = _scale;
    _scale = std::clamp(_scale * i_factor, 0.05, 500.0);
    const QPointF away = i_at - QPointF(width() / 2.0, height() / 2.0);
    _middle += QPointF(away.x(), -away.y()) * (1 / former - 1 / _scale);
    _Invalidate();
}

void PreviewCanvas::wheelEvent(QWheelEvent* ip_event)
{
    _Zoom(std::pow(1.2, ip_event->angleDelta().y() / 120.0), ip_event->position());
}

void PreviewCanvas::mousePressEvent(QMouseEvent* ip_event)
{
    _last = ip_event->localPos();
}

void PreviewCanvas::mouseMoveEvent(QMouseEvent* ip_event)
{
    if (ip_event->buttons() == Qt::NoButton) {
        Q_EMIT Pointed(_FindMove(ip_event->localPos()));
        return;
    }
    const QPointF by = ip_event->localPos() - _last;
    _last = ip_event->localPos();
    _middle += QPointF(-by.x(), by.y()) / _scale;
    _Invalidate();
}

void PreviewCanvas::keyPressEvent(QKeyEvent* ip_event)
{
    const double step = 40 / _scale;
    const QPointF centre(width() / 2.0, height() / 2.0);
    switch (ip_event->key()) {
    case Qt::Key_Plus:
        _Zoom(1.25, centre);
        break;
    case Qt::Key_Minus:
        _Zoom(0.8, centre);
        break;
    case Qt::Key_0:
        ShowAll();
        break;
    case Qt::Key_Left:
    case Qt::Key_Right:
        _middle.rx() += ip_event->key() == Qt::Key_Left ? -step : step;
        _Invalidate();
        break;
    case Qt::Key_Up:
    case Qt::Key_Down:
        _middle.ry() += ip_event->key() == Qt::Key_Down ? -step : step;
        _Invalidate();
        break;
    default:
        QWidget::keyPressEvent(ip_event);
    }
}

QString PreviewCanvas::_FindMove(const QPointF& i_at) const
{
    if (!_model.GetShown())
        return {};
    const LayerMove* found = nullptr;
    double nearest = Near;
    for (const LayerMove& move : _model.GetShown()->moves) {
        if (!IsShown(move.kind))
            continue;
        const double away =
            GetDistance(i_at, _ToPixel(static_cast<double>(move.fromX), static_cast<double>(move.fromY)),
                        _ToPixel(static_cast<double>(move.x), static_cast<double>(move.y)));
        if (away < nearest) {
            nearest = away;
            found = &move;
        }
    }
    return found ? GetMoveName(found->kind) : QString();
}

} // namespace Workbench
