#pragma once

#include "workbench/preview/GCodeParser.h"

#include <QImage>
#include <QWidget>

#include <array>

namespace Workbench {

class PreviewModel;

/// One layer from above: its moves in the colours of their kinds and as wide as their threads, or its picture, and the
/// parts' outline over it. Wheel and plus or minus zoom, drags and arrow keys shift, 0 shows all.
///
/// Thread: UI thread.
/// Ownership: the model must outlive it.
class PreviewCanvas final : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewCanvas(PreviewModel& io_model, QWidget* ip_parent = nullptr);

    /// The bed that lies under the layers. Units: mm. Empty: none.
    void SetBed(const QRectF& i_bed, bool i_is_circular);
    void SetShown(MoveKind i_kind, bool i_is_shown);
    bool IsShown(MoveKind i_kind) const { return _isShown[static_cast<std::size_t>(i_kind)]; }
    void SetOutlineShown(bool i_is_shown);
    void ShowAll();

Q_SIGNALS:
    /// What lies under the pointer, in words; empty over nothing.
    void Pointed(const QString& i_what);

protected:
    void paintEvent(QPaintEvent* ip_event) override;
    void resizeEvent(QResizeEvent* ip_event) override;
    void wheelEvent(QWheelEvent* ip_event) override;
    void mousePressEvent(QMouseEvent* ip_event) override;
    void mouseMoveEvent(QMouseEvent* ip_event) override;
    void keyPressEvent(QKeyEvent* ip_event) override;
    void changeEvent(QEvent* ip_event) override;

private:
    QRectF _GetExtent() const;
    QPointF _ToPixel(double i_x, double i_y) const;
    void _Zoom(double i_factor, const QPointF& i_at);
    void _Invalidate();
    void _PaintLayer();
    void _PaintMoves(QPainter& io_painter) const;
    void _PaintBed(QPainter& io_painter) const;
    QString _FindMove(const QPointF& i_at) const;

    PreviewModel& _model;
    QRectF _bed;
    bool _isCircular = false;
    bool _hasOutline = true;
    std::array<bool, MoveKindCount> _isShown{};
    QPointF _middle;   ///< mm
    double _scale = 1; ///< pixels for a millimetre
    bool _isFitted = false;
    QPointF _last;
    QImage _layer; ///< as painted; null when it is out of date
};

} // namespace Workbench
