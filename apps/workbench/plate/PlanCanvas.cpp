#include "workbench/plate/PlanCanvas.h"

#include "workbench/plate/MeshStore.h"
#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateOverlay.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>

#include <algorithm>
#include <array>
#include <cmath>

namespace Workbench {

PlanCanvas::PlanCanvas(PlateModel& io_model, MeshStore& io_store, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _model(io_model)
    , _store(io_store)
    , _interaction(new PlateInteraction(io_model, true, *this))
    , _colours(GetPlateColours(palette()))
{
    setAttribute(Qt::WA_OpaquePaintEvent);
    connect(_interaction, &PlateInteraction::CameraChanged, this, &PlanCanvas::_Invalidate);
    connect(_interaction, &PlateInteraction::OverlayChanged, this, [this] { update(); });
    connect(&_model, &PlateModel::Changed, this, &PlanCanvas::_Invalidate);
    connect(&_model, &PlateModel::Marked, this, &PlanCanvas::_Invalidate);
    connect(&_store, &MeshStore::Ready, this, &PlanCanvas::_Invalidate);
}

void PlanCanvas::_Invalidate()
{
    _picture = {};
    _isShownWhole = false;
    update();
}

void PlanCanvas::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::PaletteChange) {
        _colours = GetPlateColours(palette());
        _Invalidate();
    }
    QWidget::changeEvent(ip_event);
}

void PlanCanvas::paintEvent(QPaintEvent*)
{
    if (_picture.isNull())
        _PaintPicture();
    QPainter painter(this);
    painter.drawImage(QPoint(), _picture);
    PaintPlateOverlay(painter, *_interaction, _interaction->GetCamera(), _colours);
    if (!_store.IsBusy() && !_isShownWhole) {
        _isShownWhole = true;
        QTimer::singleShot(0, this, &PlanCanvas::WholeFrameShown);
    }
}

void PlanCanvas::_PaintPicture()
{
    _picture = QImage(size() * devicePixelRatioF(), QImage::Format_RGB32);
    _picture.setDevicePixelRatio(devicePixelRatioF());
    QPainter painter(&_picture);
    QLinearGradient gradient(0, 0, 0, height());
    gradient.setColorAt(0, _colours.backgroundTop);
    gradient.setColorAt(1, _colours.backgroundBottom);
    painter.fillRect(rect(), gradient);
    _PaintBed(painter);
    for (const PlatePart& part : _model.GetParts())
        _PaintPart(painter, part);
}

void PlanCanvas::_PaintBed(QPainter& io_painter) const
{
    const PlateBed& bed = _model.GetBed();
    const Camera& camera = _interaction->GetCamera();
    const auto rectangle = [&](const TavAM::Point3d& i_min, const TavAM::Point3d& i_max) {
        return QRectF(camera.Project(i_min), camera.Project(i_max)).normalized();
    };
    const QRectF frame = rectangle({bed.minX, bed.minY, 0}, {bed.maxX, bed.maxY, 0});
    QPainterPath outline;
    if (bed.isCircular)
        outline.addEllipse(frame);
    else
        outline.addRect(frame);
    io_painter.save();
    io_painter.setRenderHint(QPainter::Antialiasing);
    io_painter.setClipPath(outline);
    io_painter.fillRect(frame, _colours.plate);
    const double pixel = camera.GetMillimetresPerPixel();
    const double fine = pixel < 0.12 ? 1 : pixel < 2.5 ? 10 : 100;
    for (const auto& [step, colour] : {std::pair(fine, _colours.gridFine), std::pair(fine * 5, _colours.gridCoarse)}) {
        io_painter.setPen(QPen(colour, 1));
        for (double x = std::ceil(bed.minX / step) * step; x <= bed.maxX; x += step)
            io_painter.drawLine(camera.Project({x, bed.minY, 0}), camera.Project({x, bed.maxY, 0}));
        for (double y = std::ceil(bed.minY / step) * step; y <= bed.maxY; y += step)
            io_painter.drawLine(camera.Project({bed.minX, y, 0}), camera.Project({bed.maxX, y, 0}));
    }
    for (const PlateZone& zone : bed.zones) {
        io_painter.setPen(QPen(_colours.zone, 1.5));
        io_painter.setBrush(QBrush(_colours.zone, Qt::BDiagPattern));
        io_painter.drawRect(rectangle(zone.box.min, zone.box.max));
    }
    io_painter.restore();
    if (bed.isKnown) {
        io_painter.setRenderHint(QPainter::Antialiasing);
        io_painter.strokePath(outline, QPen(_colours.edge, 1.5));
    }
}

void PlanCanvas::_PaintPart(QPainter& io_painter, const PlatePart& i_part) const
{
    struct Face
    {
        std::array<QPointF, 3> corners;
        double height;
        double light;
    };
    const Camera& camera = _interaction->GetCamera();
    std::vector<Face> faces;
    for (const PlateBody& body : i_part.bodies) {
        const MeshStore::Entry* const entry = _store.Find(*body.mesh);
        if (!entry)
            continue;
        const TavAM::Transform placement = _model.GetShownPlacement(i_part, body);
        for (const auto& triangle : entry->coarse.triangles) {
            std::array<TavAM::Point3d, 3> points;
            Face face{{}, 0, 0};
            for (std::size_t corner = 0; corner < 3; ++corner) {
                const TavAM::Point3f& point = entry->coarse.vertices[triangle[corner]];
                points[corner] = placement.Apply({point.x, point.y, point.z});
                face.corners[corner] = camera.Project(points[corner]);
                face.height += points[corner].z / 3;
            }
            const TavAM::Point3d u{points[1].x - points[0].x, points[1].y - points[0].y, points[1].z - points[0].z};
            const TavAM::Point3d v{points[2].x - points[0].x, points[2].y - points[0].y, points[2].z - points[0].z};
            const TavAM::Point3d n{u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
            const double length = std::sqrt(n.x * n.x + n.y * n.y + n.z * n.z);
            if (length <= 0)
                continue;
            const double side = n.z < 0 ? -1 : 1;
            face.light = side * (-0.35 * n.x + 0.5 * n.y + 0.79 * n.z) / length;
            faces.push_back(face);
        }
    }
    std::sort(faces.begin(), faces.end(), [](const Face& i_a, const Face& i_b) { return i_a.height < i_b.height; });
    const QColor base = i_part.isSelected ? _colours.selected : i_part.hasProblem ? _colours.problem : _colours.part;
    // Without smoothed edges neighbours leave no seam.
    io_painter.setRenderHint(QPainter::Antialiasing, false);
    for (const Face& face : faces) {
        const double light = std::clamp(0.62 + 0.42 * face.light, 0.0, 1.0);
        const QColor colour = QColor::fromRgbF(base.redF() * light, base.greenF() * light, base.blueF() * light);
        io_painter.setPen(QPen(colour, 0));
        io_painter.setBrush(colour);
        io_painter.drawConvexPolygon(face.corners.data(), 3);
        if (i_part.hasProblem) {
            io_painter.setPen(Qt::NoPen);
            io_painter.setBrush(
                QBrush(i_part.isSelected ? _colours.problem : _colours.problem.darker(160), Qt::BDiagPattern));
            io_painter.drawConvexPolygon(face.corners.data(), 3);
        }
    }
}

} // namespace Workbench
