#include "workbench/plate/PlateInteraction.h"

#include "workbench/base/LengthText.h"
#include "workbench/plate/PartEdits.h"
#include "workbench/plate/Picking.h"
#include "workbench/plate/PlateModel.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QWheelEvent>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Workbench {

namespace {

constexpr double TurnStep = 15; ///< degrees, with Shift
constexpr double ZoomStep = 0.85;
constexpr double OrbitStep = 25; ///< pixels that a key stands for

double GetAngle(const QPointF& i_at, const TavAM::Point3d& i_centre, const Camera& i_camera)
{
    TavAM::Point3d point;
    if (!i_camera.FindOnLevel(i_at, i_centre.z, point))
        return 0;
    return std::atan2(point.y - i_centre.y, point.x - i_centre.x) * 180 / std::numbers::pi;
}

} // namespace

PlateInteraction::PlateInteraction(PlateModel& io_model, bool i_is_flat, QWidget& io_widget)
    : QObject(&io_widget)
    , _model(io_model)
    , _widget(io_widget)
    , _camera(i_is_flat)
{
    _widget.installEventFilter(this);
    _widget.setMouseTracking(true);
    _widget.setFocusPolicy(Qt::StrongFocus);
    connect(&_model, &PlateModel::Changed, this, [this, bed = _model.GetBed()]() mutable {
        // Another plate is shown whole; parts that come and go leave the eye where it is.
        if (bed == _model.GetBed())
            return;
        bed = _model.GetBed();
        ZoomToAll();
    });
}

PlateHandles PlateInteraction::GetHandles(const Camera& i_camera) const
{
    if (_drag == Drag::Rotate || _drag == Drag::Scale || _drag == Drag::Move) {
        // The ring stays as it was while the parts turn in it.
        TavAM::BoundingBox box = _box;
        double turn = 0;
        if (const auto& change = _model.GetChangeInHand()) {
            if (_drag == Drag::Rotate) {
                turn = std::atan2(change->rows[4], change->rows[0]) * 180 / std::numbers::pi;
            } else {
                box.min = change->Apply(box.min);
                box.max = change->Apply(box.max);
            }
        }
        return PlateHandles::Make(box, i_camera, turn);
    }
    return PlateHandles::Make(_model.GetSelectedBox(), i_camera, 0);
}

void PlateInteraction::SetStandardView(StandardView i_view)
{
    _camera.SetStandardView(i_view);
    ZoomToAll();
}

void PlateInteraction::SetCameraPlace(const Camera::Place& i_place)
{
    if (!_camera.SetPlace(i_place))
        return;
    _isFitted = true;
    Q_EMIT CameraChanged();
}

void PlateInteraction::ZoomToSelection()
{
    const TavAM::BoundingBox box = _model.GetSelectedBox();
    if (box.IsEmpty()) {
        ZoomToAll();
        return;
    }
    _camera.Fit(box);
    Q_EMIT CameraChanged();
}

void PlateInteraction::ZoomToAll()
{
    const PlateBed& bed = _model.GetBed();
    // The air above the parts is of no interest; parts beside the bed are.
    TavAM::BoundingBox box{{bed.minX, bed.minY, 0}, {bed.maxX, bed.maxY, 0}};
    box.Add(_model.GetPartsBox());
    _camera.Fit(box);
    Q_EMIT CameraChanged();
}

void PlateInteraction::ZoomBy(double i_factor)
{
    _camera.Zoom(i_factor, QPointF(_widget.width() / 2.0, _widget.height() / 2.0));
    Q_EMIT CameraChanged();
}

bool PlateInteraction::eventFilter(QObject* ip_watched, QEvent* ip_event)
{
    switch (ip_event->type()) {
    case QEvent::Resize:
        _camera.SetViewport(_widget.size());
        if (!_isFitted) {
            _isFitted = true;
            ZoomToAll();
        }
        Q_EMIT CameraChanged();
        break;
    case QEvent::MouseButtonPress:
        _Press(*static_cast<QMouseEvent*>(ip_event));
        return true;
    case QEvent::MouseMove:
        _DragTo(*static_cast<QMouseEvent*>(ip_event));
        return true;
    case QEvent::MouseButtonRelease:
        _Release(*static_cast<QMouseEvent*>(ip_event));
        return true;
    case QEvent::MouseButtonDblClick:
        if (PickPart(_model, _camera, static_cast<QMouseEvent*>(ip_event)->localPos()))
            ZoomToSelection();
        return true;
    case QEvent::Wheel:
        _Wheel(*static_cast<QWheelEvent*>(ip_event));
        return true;
    case QEvent::ContextMenu:
        // The right button shifts the view, so the mouse asks on release; here it is the key.
        if (static_cast<QContextMenuEvent*>(ip_event)->reason() == QContextMenuEvent::Keyboard)
            Q_EMIT MenuAsked(_widget.mapToGlobal(_widget.rect().center()));
        return true;
    case QEvent::KeyPress:
        if (_Key(*static_cast<QKeyEvent*>(ip_event)))
            return true;
        break;
    case QEvent::FocusOut:
        _GiveUp();
        break;
    default:
        break;
    }
    return QObject::eventFilter(ip_watched, ip_event);
}

void PlateInteraction::_Press(const QMouseEvent& i_event)
{
    if (_drag != Drag::None)
        return;
    _widget.setFocus(Qt::MouseFocusReason);
    _drag = Drag::Press;
    _button = i_event.button();
    _modifiers = i_event.modifiers();
    _from = _last = i_event.localPos();
    _handle = _button == Qt::LeftButton ? GetHandles().FindAt(_from) : PlateHandles::Kind::None;
    _pressed = {};
    if (const auto picked = PickPart(_model, _camera, _from)) {
        _pressed = picked->part;
        _grabbed = picked->at;
    }
}

void PlateInteraction::_BeginDrag()
{
    const bool adds = _modifiers.testFlag(Qt::ShiftModifier) || _modifiers.testFlag(Qt::ControlModifier);
    _box = _model.GetSelectedBox();
    if (_button != Qt::LeftButton) {
        _drag = Drag::Pan;
    } else if (_handle != PlateHandles::Kind::None) {
        _drag = _handle == PlateHandles::Kind::Rotate ? Drag::Rotate : Drag::Scale;
    } else if (!_pressed.is_nil() && !_modifiers.testFlag(Qt::ShiftModifier)) {
        Selection& selection = _model.GetSelection();
        if (!selection.Contains(_pressed)) {
            auto ids = adds ? selection.GetIds() : std::vector<boost::uuids::uuid>();
            ids.push_back(_pressed);
            selection.Set(std::move(ids));
        }
        _box = _model.GetSelectedBox();
        _drag = Drag::Move;
    } else {
        _drag = _modifiers.testFlag(Qt::ShiftModifier) || _camera.IsFlat() ? Drag::Frame : Drag::Orbit;
    }
}

void PlateInteraction::_DragTo(const QMouseEvent& i_event)
{
    const QPointF at = i_event.localPos();
    if (_drag == Drag::None) {
        const bool isOver = GetHandles().FindAt(at) != PlateHandles::Kind::None;
        _widget.setCursor(isOver ? Qt::PointingHandCursor : Qt::ArrowCursor);
        return;
    }
    if (_drag == Drag::Press) {
        if ((at - _from).manhattanLength() < QApplication::startDragDistance())
            return;
        _BeginDrag();
    }
    const QPointF by = at - _last;
    _last = at;
    switch (_drag) {
    case Drag::Orbit:
        _camera.Orbit(by);
        Q_EMIT CameraChanged();
        break;
    case Drag::Pan:
        _camera.Pan(by);
        Q_EMIT CameraChanged();
        break;
    case Drag::Frame:
        _frame = QRectF(_from, at).normalized().toRect();
        Q_EMIT OverlayChanged();
        break;
    case Drag::Move:
        _MoveParts(at);
        break;
    case Drag::Rotate:
        _RotateParts(at, i_event.modifiers().testFlag(Qt::ShiftModifier));
        break;
    case Drag::Scale:
        _ScaleParts(at);
        break;
    default:
        break;
    }
}

void PlateInteraction::_MoveParts(const QPointF& i_at)
{
    TavAM::Point3d from, to;
    if (!_camera.FindOnLevel(_from, _grabbed.z, from) || !_camera.FindOnLevel(i_at, _grabbed.z, to))
        return;
    const double x = to.x - from.x;
    const double y = to.y - from.y;
    _dragText = tr("%1, %2").arg(LengthText::ShowNumber(x, 1), LengthText::Show(y, 1));
    _model.SetChangeInHand(TavAM::Transform::Translation(x, y, 0));
}

void PlateInteraction::_RotateParts(const QPointF& i_at, bool i_is_stepped)
{
    const TavAM::Point3d centre = PlateHandles::Make(_box, _camera, 0).centre;
    double turn = std::remainder(GetAngle(i_at, centre, _camera) - GetAngle(_from, centre, _camera), 360.0);
    turn = i_is_stepped ? std::round(turn / TurnStep) * TurnStep : std::round(turn);
    _dragText = tr("%1°").arg(QLocale().toString(turn, 'f', 0));
    _model.SetChangeInHand(PartEdits::MakeRotation(turn, _box));
}

void PlateInteraction::_ScaleParts(const QPointF& i_at)
{
    const QPointF centre = _camera.Project(PlateHandles::Make(_box, _camera, 0).centre);
    const auto length = [&](const QPointF& i_point) {
        return std::hypot(i_point.x() - centre.x(), i_point.y() - centre.y());
    };
    const double percent =
        std::clamp(std::round(100 * length(i_at) / std::max(length(_from), 1.0)), 1.0, PartEdits::LargestScale * 100);
    _dragText = tr("%1 %").arg(QLocale().toString(percent, 'f', 0));
    _model.SetChangeInHand(PartEdits::MakeScale(percent / 100, _box));
}

void PlateInteraction::_Release(const QMouseEvent& i_event)
{
    if (i_event.button() != _button || _drag == Drag::None)
        return;
    const Drag drag = _drag;
    const bool adds =
        _modifiers.testFlag(Qt::ControlModifier) || (drag == Drag::Press && _modifiers.testFlag(Qt::ShiftModifier));
    const auto change = _model.GetChangeInHand();
    const QRect frame = _frame;
    _EndDrag();
    if (drag == Drag::Press) {
        if (_button == Qt::LeftButton && _handle == PlateHandles::Kind::None)
            _Click(i_event);
        if (_button == Qt::RightButton) {
            if (!_pressed.is_nil() && !_model.GetSelection().Contains(_pressed))
                _model.GetSelection().Set({_pressed});
            Q_EMIT MenuAsked(i_event.globalPos());
        }
    } else if (drag == Drag::Frame) {
        _frame = frame;
        _SelectFrame(adds);
        _frame = {};
    } else if (change) {
        if (const auto scene = _model.GetScene())
            PartEdits::Apply(*scene, _model.GetSelection().GetIds(), *change);
    }
    Q_EMIT OverlayChanged();
}

void PlateInteraction::_Click(const QMouseEvent& i_event)
{
    Selection& selection = _model.GetSelection();
    const bool adds = (i_event.modifiers() & (Qt::ControlModifier | Qt::ShiftModifier)) != 0;
    if (_pressed.is_nil()) {
        if (!adds)
            selection.Clear();
    } else if (adds) {
        selection.Toggle(_pressed);
    } else {
        selection.Set({_pressed});
    }
}

void PlateInteraction::_SelectFrame(bool i_adds)
{
    auto ids = i_adds ? _model.GetSelection().GetIds() : std::vector<boost::uuids::uuid>();
    for (const boost::uuids::uuid& id : PickFrame(_model, _camera, _frame))
        ids.push_back(id);
    _model.GetSelection().Set(std::move(ids));
}

bool PlateInteraction::_Key(const QKeyEvent& i_event)
{
    struct Row
    {
        int key;
        double x;
        double y;
    };
    constexpr Row rows[] = {{Qt::Key_Left, -1, 0}, {Qt::Key_Right, 1, 0}, {Qt::Key_Up, 0, 1}, {Qt::Key_Down, 0, -1}};
    if (i_event.key() == Qt::Key_Escape) {
        if (_drag != Drag::None)
            _GiveUp();
        else
            _model.GetSelection().Clear();
        return true;
    }
    const auto row =
        std::find_if(std::begin(rows), std::end(rows), [&](const Row& i_row) { return i_row.key == i_event.key(); });
    if (row == std::end(rows) || _drag != Drag::None)
        return false;
    const bool isShifted = i_event.modifiers().testFlag(Qt::ShiftModifier);
    if (i_event.modifiers().testFlag(Qt::AltModifier) || _model.GetSelection().IsEmpty()) {
        if (isShifted || _camera.IsFlat())
            _camera.Pan(QPointF(-row->x, row->y) * OrbitStep);
        else
            _camera.Orbit(QPointF(row->x, -row->y) * OrbitStep);
        Q_EMIT CameraChanged();
        return true;
    }
    const double step = isShifted ? 10 : i_event.modifiers().testFlag(Qt::ControlModifier) ? 0.1 : 1;
    if (const auto scene = _model.GetScene())
        PartEdits::Move(*scene, _model.GetSelection().GetIds(), {row->x * step, row->y * step, 0});
    return true;
}

void PlateInteraction::_Wheel(const QWheelEvent& i_event)
{
    const double notches = i_event.angleDelta().y() / 120.0;
    _camera.Zoom(std::pow(ZoomStep, notches), i_event.position());
    Q_EMIT CameraChanged();
}

void PlateInteraction::_GiveUp()
{
    if (_drag == Drag::None)
        return;
    _EndDrag();
    Q_EMIT OverlayChanged();
}

void PlateInteraction::_EndDrag()
{
    _drag = Drag::None;
    _frame = {};
    _dragText.clear();
    _model.SetChangeInHand(std::nullopt);
}

} // namespace Workbench
