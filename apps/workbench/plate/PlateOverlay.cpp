#include "workbench/plate/PlateOverlay.h"

#include "workbench/base/LengthText.h"
#include "workbench/plate/PlateInteraction.h"
#include "workbench/plate/PlateModel.h"

#include "vexlorcore/meshimport/MeshImporter.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <vector>

namespace Workbench {

namespace {

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Workbench::PlateOverlay)
};

class Painter
{
public:
    Painter(QPainter& io_painter, const PlateInteraction& i_interaction, const Camera& i_camera,
            const PlateColours& i_colours)
        : _painter(io_painter)
        , _interaction(i_interaction)
        , _model(i_interaction.GetModel())
        , _camera(i_camera)
        , _colours(i_colours)
    {}

    void Run()
    {
        _painter.setRenderHint(QPainter::Antialiasing);
        _painter.setRenderHint(QPainter::TextAntialiasing);
        _WriteCaption();
        if (_model.GetBed().isKnown)
            _DrawRulers();
        _DrawAxes();
        _DrawMarks();
        _DrawHandles();
        _DrawCaption();
        if (!_interaction.GetFrame().isEmpty()) {
            QColor fill = _colours.accent;
            fill.setAlpha(40);
            _painter.setPen(QPen(_colours.accent, 1, Qt::DashLine));
            _painter.setBrush(fill);
            _painter.drawRect(_interaction.GetFrame());
        }
    }

private:
    QRectF _GetTextFrame(const QPointF& i_centre, const QString& i_text) const
    {
        QRectF frame = QFontMetricsF(_painter.font()).boundingRect(i_text);
        frame.moveCenter(i_centre);
        return frame;
    }

    /// Centred at the pixel.
    void _DrawText(const QPointF& i_at, const QString& i_text, bool i_has_surface)
    {
        const QRectF frame = _GetTextFrame(i_at, i_text);
        if (i_has_surface) {
            _painter.setPen(Qt::NoPen);
            _painter.setBrush(_colours.textSurface);
            _painter.drawRoundedRect(frame.adjusted(-6, -3, 6, 3), 4, 4);
        }
        _painter.setPen(_colours.text);
        _painter.drawText(frame, Qt::AlignCenter | Qt::TextDontClip, i_text);
    }

    void _DrawRulers()
    {
        const PlateBed& bed = _model.GetBed();
        const double x = (bed.minX + bed.maxX) / 2;
        const double y = (bed.minY + bed.maxY) / 2;
        const double radius = (bed.maxX - bed.minX) / 2;
        // Round a round bed the numbers follow its edge, as far as it faces them.
        const double reach = bed.isCircular ? 0.8 * radius : 1e9;
        const auto edge = [&](double i_from) {
            return bed.isCircular ? radius - std::sqrt(std::max(0.0, radius * radius - i_from * i_from)) : 0;
        };
        _DrawRuler(std::max(bed.minX, x - reach), std::min(bed.maxX, x + reach),
                   [&](double i_x) {
                       return TavAM::Point3d{i_x, bed.minY + edge(i_x - x), 0};
                   },
                   {0, -1, 0});
        _DrawRuler(std::max(bed.minY, y - reach), std::min(bed.maxY, y + reach),
                   [&](double i_y) {
                       return TavAM::Point3d{bed.minX + edge(i_y - y), i_y, 0};
                   },
                   {-1, 0, 0});
    }

    template <class At>
    void _DrawRuler(double i_from, double i_to, const At& i_at, const TavAM::Point3d& i_outwards)
    {
        const double pixel = _camera.GetMillimetresPerPixel();
        double step = 1;
        for (const double candidate : {1.0, 5.0, 10.0, 50.0, 100.0, 500.0}) {
            step = candidate;
            if (candidate / pixel >= 38)
                break;
        }
        const double away = 16 * pixel;
        for (double value = std::ceil(i_from / step - 1e-6) * step; value <= i_to + 1e-6; value += step) {
            TavAM::Point3d at = i_at(value);
            at = {at.x + away * i_outwards.x, at.y + away * i_outwards.y, 0};
            const QVector3D pixelAt = _camera.ProjectWithDepth(at);
            if (pixelAt.z() > 1 || !QRectF(QPointF(), QSizeF(_camera.GetViewport())).contains(pixelAt.toPointF()))
                continue;
            const QString text = LengthText::ShowNumber(std::abs(value) < 1e-6 ? 0 : value, 0);
            const QRectF frame = _GetTextFrame(pixelAt.toPointF(), text).adjusted(-2, -1, 2, 1);
            // A plate that is small, or seen from its edge, has no room for all numbers.
            if (std::any_of(_taken.begin(), _taken.end(),
                            [&](const QRectF& i_other) { return i_other.intersects(frame); }))
                continue;
            _taken.push_back(frame);
            _DrawText(pixelAt.toPointF(), text, false);
        }
    }

    void _DrawAxes()
    {
        const double length = 34 * _camera.GetMillimetresPerPixel();
        const QPointF origin = _camera.Project({});
        const struct
        {
            TavAM::Point3d end;
            QColor colour;
            QString name;
        } axes[] = {{{length, 0, 0}, _colours.axisX, QStringLiteral("X")},
                    {{0, length, 0}, _colours.axisY, QStringLiteral("Y")},
                    {{0, 0, length}, _colours.axisZ, QStringLiteral("Z")}};
        for (const auto& axis : axes) {
            const QLineF line(origin, _camera.Project(axis.end));
            if (line.length() < 6)
                continue;
            _painter.setPen(QPen(axis.colour, 2, Qt::SolidLine, Qt::RoundCap));
            _painter.drawLine(line);
            QLineF name = line;
            name.setLength(line.length() + 9);
            QFont font = _painter.font();
            font.setBold(true);
            _painter.save();
            _painter.setFont(font);
            const QRectF frame(name.p2() - QPointF(8, 8), QSizeF(16, 16));
            _painter.drawText(frame, Qt::AlignCenter, axis.name);
            _painter.restore();
        }
    }

    /// A triangle with an exclamation mark: the same sign as in the list of problems.
    void _DrawMarks()
    {
        for (const PlatePart& part : _model.GetParts()) {
            if (!part.hasProblem || part.box.IsEmpty())
                continue;
            TavAM::Point3d top{(part.box.min.x + part.box.max.x) / 2, (part.box.min.y + part.box.max.y) / 2,
                               part.box.max.z};
            if (part.isSelected && _model.GetChangeInHand())
                top = _model.GetChangeInHand()->Apply(top);
            _DrawMark(_painter, _camera.Project(top) + QPointF(0, -16));
        }
    }

    void _DrawMark(QPainter& io_painter, const QPointF& i_at)
    {
        QPainterPath sign;
        sign.moveTo(i_at + QPointF(0, -11));
        sign.lineTo(i_at + QPointF(12, 9));
        sign.lineTo(i_at + QPointF(-12, 9));
        sign.closeSubpath();
        io_painter.setPen(QPen(Qt::white, 1.5, Qt::SolidLine, Qt::SquareCap, Qt::RoundJoin));
        io_painter.setBrush(QColor(0xC6, 0x28, 0x28));
        io_painter.drawPath(sign);
        io_painter.setPen(QPen(Qt::white, 2.4, Qt::SolidLine, Qt::RoundCap));
        io_painter.drawLine(i_at + QPointF(0, -4), i_at + QPointF(0, 2));
        io_painter.drawPoint(i_at + QPointF(0, 6));
    }

    void _DrawHandles()
    {
        const PlateHandles handles = _interaction.GetHandles(_camera);
        if (!handles.isValid)
            return;
        QColor ring = _colours.accent;
        ring.setAlpha(170);
        _painter.setBrush(Qt::NoBrush);
        _painter.setPen(QPen(ring, 1, Qt::DotLine));
        _painter.drawLines(handles.edges);
        _painter.setPen(QPen(ring, 1.5));
        _painter.drawPolyline(handles.ring);
        _DrawKnob(handles.rotateKnob, _interaction.GetHandleInUse() == PlateHandles::Kind::Rotate, true);
        _DrawKnob(handles.scaleKnob, _interaction.GetHandleInUse() == PlateHandles::Kind::Scale, false);
        if (const QString text = _interaction.GetDragText(); !text.isEmpty())
            _DrawText(_camera.Project(handles.centre) + QPointF(0, 24), text, true);
    }

    void _DrawKnob(const QPointF& i_at, bool i_is_held, bool i_is_round)
    {
        _painter.setPen(QPen(_colours.accent, 2));
        _painter.setBrush(i_is_held ? _colours.accent : QColor(Qt::white));
        if (i_is_round)
            _painter.drawEllipse(i_at, 6, 6);
        else
            _painter.drawRect(QRectF(i_at - QPointF(5, 5), QSizeF(10, 10)));
    }

    /// The machine with its volume, and what is selected; at the foot.
    void _WriteCaption()
    {
        const PlateBed& bed = _model.GetBed();
        QStringList& lines = _caption;
        if (bed.isKnown) {
            const QString volume =
                LengthText::ShowVolume(bed.isCircular, bed.maxX - bed.minX, bed.maxY - bed.minY, bed.height);
            lines << (bed.machine.isEmpty() ? volume : QStringLiteral("%1  ·  %2").arg(bed.machine, volume));
        } else {
            lines << Texts::tr("No printer: the plate is only something to look at");
        }
        const TavAM::BoundingBox box = _model.GetSelectedBox();
        const auto selected = std::count_if(_model.GetParts().begin(), _model.GetParts().end(),
                                            [](const PlatePart& i_part) { return i_part.isSelected; });
        if (selected > 0 && !box.IsEmpty()) {
            lines << Texts::tr("%n selected: %1", "", static_cast<int>(selected))
                         .arg(LengthText::ShowBox(box.max.x - box.min.x, box.max.y - box.min.y, box.max.z - box.min.z,
                                                  1));
        }
        const QFontMetricsF metrics(_painter.font());
        const double height = metrics.height() * static_cast<double>(lines.size());
        double width = 0;
        for (const QString& line : lines)
            width = std::max(width, metrics.horizontalAdvance(line));
        // In a small window the bed reaches down to here.
        const double y = _camera.GetViewport().height() - 14 - height;
        _taken.emplace_back(8, y + metrics.descent() - 3, width + 12, height + 6);
    }

    void _DrawCaption()
    {
        const QFontMetricsF metrics(_painter.font());
        const QRectF frame = _taken.front();
        _painter.setPen(Qt::NoPen);
        _painter.setBrush(_colours.textSurface);
        _painter.drawRoundedRect(frame, 4, 4);
        _painter.setPen(_colours.text);
        double y = frame.top() + 3 + metrics.ascent();
        for (const QString& line : _caption) {
            _painter.drawText(QPointF(14, y), line);
            y += metrics.height();
        }
        if (_model.GetParts().empty())
            _DrawText(QPointF(_camera.GetViewport().width() / 2.0, _camera.GetViewport().height() * 0.42),
                      Texts::tr("Drop mesh files here (%1)").arg(QString::fromStdString(VexlorCore::ListMeshFormats())),
                      true);
    }

    QPainter& _painter;
    const PlateInteraction& _interaction;
    const PlateModel& _model;
    const Camera& _camera;
    const PlateColours& _colours;
    QStringList _caption;
    std::vector<QRectF> _taken; ///< by texts: first by the caption, then by the numbers along the bed
};

} // namespace

void PaintPlateOverlay(QPainter& io_painter, const PlateInteraction& i_interaction, const Camera& i_camera,
                       const PlateColours& i_colours)
{
    Painter(io_painter, i_interaction, i_camera, i_colours).Run();
}

} // namespace Workbench
