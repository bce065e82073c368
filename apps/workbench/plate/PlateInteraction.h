#pragma once

#include "workbench/plate/Camera.h"
#include "workbench/plate/PlateHandles.h"

#include <QObject>
#include <QPoint>
#include <QRect>

#include <boost/uuid/uuid.hpp>

class QMouseEvent;
class QKeyEvent;
class QWheelEvent;
class QWidget;

namespace Workbench {

class PlateModel;

/// What mouse and keys do on a plate, whichever way it is drawn: look around, select, and change the selected parts.
///
/// Left button: on a part selects it (Ctrl or Shift adds) and moves what is selected, on a handle turns or scales it,
/// on nothing looks around; with Shift it spans a frame that selects. Right and middle button: shift the view. Wheel:
/// zoom to the pointer. Double click: zoom to the part. Arrow keys move the selected parts, with Alt they turn the
/// view. Escape gives up a drag, or clears the selection.
///
/// Thread: UI thread.
/// Ownership: model and widget must outlive it.
class PlateInteraction final : public QObject
{
    Q_OBJECT

public:
    PlateInteraction(PlateModel& io_model, bool i_is_flat, QWidget& io_widget);

    const Camera& GetCamera() const { return _camera; }
    const PlateModel& GetModel() const { return _model; }
    /// Empty unless a frame is spanned. Units: pixels.
    const QRect& GetFrame() const { return _frame; }
    /// Of the selected parts as they are shown; invalid without any.
    PlateHandles GetHandles() const { return GetHandles(_camera); }
    /// Where they are for another eye.
    PlateHandles GetHandles(const Camera& i_camera) const;
    PlateHandles::Kind GetHandleInUse() const
    {
        return _drag == Drag::Rotate  ? PlateHandles::Kind::Rotate
               : _drag == Drag::Scale ? PlateHandles::Kind::Scale
                                      : PlateHandles::Kind::None;
    }
    /// What the drag at hand comes to, a word for the user: "30°", "150 %", "+5.0, −2.0 mm". Empty without a drag.
    QString GetDragText() const { return _dragText; }

    void SetStandardView(StandardView i_view);
    /// As it was kept; it then stays when the first size is known.
    void SetCameraPlace(const Camera::Place& i_place);
    /// To the selected parts, or all of them with the bed when none is selected.
    void ZoomToSelection();
    void ZoomToAll();
    void ZoomBy(double i_factor);

Q_SIGNALS:
    /// The eye moved.
    void CameraChanged();
    /// Only frame, handles or texts are to be drawn again.
    void OverlayChanged();
    /// The user asks for what can be done with the part under the pointer, which is selected.
    void MenuAsked(const QPoint& i_global);

protected:
    bool eventFilter(QObject* ip_watched, QEvent* ip_event) override;

private:
    enum class Drag
    {
        None,
        Press, ///< not moved yet
        Orbit,
        Pan,
        Frame,
        Move,
        Rotate,
        Scale,
    };

    void _Press(const QMouseEvent& i_event);
    void _DragTo(const QMouseEvent& i_event);
    void _BeginDrag();
    void _Release(const QMouseEvent& i_event);
    void _Click(const QMouseEvent& i_event);
    bool _Key(const QKeyEvent& i_event);
    void _Wheel(const QWheelEvent& i_event);
    void _MoveParts(const QPointF& i_at);
    void _RotateParts(const QPointF& i_at, bool i_is_stepped);
    void _ScaleParts(const QPointF& i_at);
    void _SelectFrame(bool i_adds);
    void _GiveUp();
    void _EndDrag();

    PlateModel& _model;
    QWidget& _widget;
    Camera _camera;
    bool _isFitted = false; ///< the first size is known, and the bed fills it
    Drag _drag = Drag::None;
    Qt::MouseButton _button = Qt::NoButton;
    bool _isOnHandle = false;
    PlateHandles::Kind _handle = PlateHandles::Kind::None;
    boost::uuids::uuid _pressed = {}; ///< the part under the press; nil without
    Qt::KeyboardModifiers _modifiers;
    QPointF _from; ///< of the press
    QPointF _last;
    TavAM::Point3d _grabbed; ///< the point of the part that follows the pointer
    TavAM::BoundingBox _box; ///< of the selected parts when the drag began
    QRect _frame;
    QString _dragText;
};

} // namespace Workbench
