#include "workbench/look/LineIcon.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmapCache>

#include <map>
#include <sstream>
#include <string>

namespace Workbench {

namespace {

/// On a grid of 24 x 24: M, L and C as in SVG with absolute points, Z closes, O is a circle by centre and radius.
struct Drawing
{
    const char* name;
    const char* path;
    bool isFilled = false;
};

struct Shape
{
    QPainterPath path;
    bool isFilled = false;
};

constexpr Drawing Drawings[] = {
    {"new", "M 6 3 L 14 3 L 19 8 L 19 21 L 6 21 Z M 14 3 L 14 8 L 19 8 M 12.5 11 L 12.5 17 M 9.5 14 L 15.5 14"},
    {"open", "M 3 19 L 3 5 L 9 5 L 11 7.5 L 19 7.5 L 19 10 M 3 19 L 6.5 10 L 22 10 L 18.5 19 Z"},
    {"import", "M 12 3 L 12 14 M 7.5 9.5 L 12 14 L 16.5 9.5 M 4 15 L 4 20 L 20 20 L 20 15"},
    {"save", "M 4 4 L 17 4 L 20 7 L 20 20 L 4 20 Z M 8 4 L 8 9 L 15 9 L 15 4 M 7 20 L 7 13 L 17 13 L 17 20"},
    {"undo", "M 8 5 L 4 9 L 8 13 M 4 9 L 14 9 C 18 9 20 11.5 20 14.5 C 20 17.5 18 20 14 20 L 9 20"},
    {"redo", "M 16 5 L 20 9 L 16 13 M 20 9 L 10 9 C 6 9 4 11.5 4 14.5 C 4 17.5 6 20 10 20 L 15 20"},
    {"copy", "M 8 8 L 20 8 L 20 20 L 8 20 Z M 16 8 L 16 4 L 4 4 L 4 16 L 8 16"},
    {"close", "M 6 6 L 18 18 M 18 6 L 6 18"},
    {"clear", "M 8 8 L 16 16 M 16 8 L 8 16"},
    {"float", "M 9 4 L 20 4 L 20 15 L 9 15 Z M 15 15 L 15 20 L 4 20 L 4 9 L 9 9"},
    {"more", "M 6 6 L 12 12 L 6 18 M 12 6 L 18 12 L 12 18"},
    {"moreBelow", "M 6 6 L 12 12 L 18 6 M 6 12 L 12 18 L 18 12"},
    {"build", "M 12 2.5 L 20 7 L 20 16.5 L 12 21 L 4 16.5 L 4 7 Z M 4 7 L 12 11.5 L 20 7 M 12 11.5 L 12 21"},
    {"configure", "O 12 12 3.2 M 12 3 L 12 6 M 12 18 L 12 21 M 3 12 L 6 12 M 18 12 L 21 12 M 5.6 5.6 L 7.8 7.8 "
                  "M 16.2 16.2 L 18.4 18.4 M 18.4 5.6 L 16.2 7.8 M 7.8 16.2 L 5.6 18.4"},
    {"connection", "O 5.5 12 2.5 O 18.5 12 2.5 M 8 12 L 16 12 M 12 8 L 12 4 M 12 16 L 12 20"},
    {"platform", "M 12 5 L 22 11 L 12 17 L 2 11 Z M 2 15 L 12 21 L 22 15"},
    {"parts", "M 8 3 L 13 5.5 L 13 11 L 8 13.5 L 3 11 L 3 5.5 Z M 16 11 L 21 13.5 L 21 19 L 16 21.5 L 11 19 L 11 15"},
    {"estimate", "O 12 13 8 M 12 8 L 12 13 L 15.5 15.5 M 9.5 2.5 L 14.5 2.5"},
    {"place", "M 3 3 L 10 3 L 10 10 L 3 10 Z M 14 3 L 21 3 L 21 10 L 14 10 Z M 3 14 L 10 14 L 10 21 L 3 21 Z "
              "M 17.5 13.5 L 17.5 21.5 M 13.5 17.5 L 21.5 17.5"},
    {"send", "M 21 3 L 3 10.5 L 10 13.5 L 13 21 Z M 21 3 L 10 13.5"},
    {"machine", "M 4 21 L 4 3 L 20 3 L 20 21 Z M 4 8 L 20 8 M 10 8 L 10 11 L 12 13 L 14 11 L 14 8 M 8 17.5 L 16 17.5"},
    {"other", "O 5 12 1.6 O 12 12 1.6 O 19 12 1.6"},
    {"star", "M 12 3 L 14.7 8.9 L 21 9.6 L 16.3 13.9 L 17.6 20.2 L 12 17 L 6.4 20.2 L 7.7 13.9 L 3 9.6 L 9.3 8.9 Z"},
    {"starred", "M 12 3 L 14.7 8.9 L 21 9.6 L 16.3 13.9 L 17.6 20.2 L 12 17 L 6.4 20.2 L 7.7 13.9 L 3 9.6 L 9.3 8.9 Z",
     true},
    {"search", "O 10.5 10.5 6.5 M 15.5 15.5 L 21 21"},
    {"stop", "M 6 6 L 18 6 L 18 18 L 6 18 Z", true},
    {"done", "M 4 12.5 L 9.5 18 L 20 6.5"},
    {"failed", "O 12 12 9 M 12 7 L 12 13.5 M 12 16.6 L 12 17"},
    {"cancelled", "O 12 12 9 M 5.8 5.8 L 18.2 18.2"},
    {"running", "O 12 12 9 M 12 6.5 L 12 12 L 16 14"},
    {"folder", "M 3 19 L 3 5 L 9 5 L 11 7.5 L 21 7.5 L 21 19 Z"},
    {"file", "M 6 3 L 14 3 L 19 8 L 19 21 L 6 21 Z M 14 3 L 14 8 L 19 8"},
    {"settings", "M 4 7 L 20 7 M 4 12 L 20 12 M 4 17 L 20 17 O 9 7 2 O 15 12 2 O 8 17 2"},
    {"help", "O 12 12 9 M 9.3 9.5 C 9.3 6.2 14.7 6.2 14.7 9.5 C 14.7 11.6 12 11.6 12 14 M 12 16.8 L 12 17.2"},
};

QPainterPath ReadPath(const char* ip_path)
{
    QPainterPath path;
    std::istringstream words(ip_path);
    std::string command;
    double x = 0, y = 0, a = 0, b = 0, c = 0, d = 0;
    while (words >> command) {
        if (command == "Z") {
            path.closeSubpath();
        } else if (command == "M" && words >> x >> y) {
            path.moveTo(x, y);
        } else if (command == "L" && words >> x >> y) {
            path.lineTo(x, y);
        } else if (command == "O" && words >> x >> y >> a) {
            path.addEllipse(QPointF(x, y), a, a);
        } else if (command == "C" && words >> a >> b >> c >> d >> x >> y) {
            path.cubicTo(a, b, c, d, x, y);
        }
    }
    return path;
}

/// Of the name; null for one that is not known. Each is read once.
const Shape* FindShape(const QString& i_name)
{
    static const auto mgp_shapes = [] {
        std::map<QString, Shape> shapes;
        for (const Drawing& drawing : Drawings)
            shapes.emplace(QString::fromLatin1(drawing.name), Shape{ReadPath(drawing.path), drawing.isFilled});
        return shapes;
    }();
    const auto found = mgp_shapes.find(i_name);
    return found == mgp_shapes.end() ? nullptr : &found->second;
}

class LineEngine final : public QIconEngine
{
public:
    explicit LineEngine(const QString& i_name)
        : _name(i_name)
        , _shape(FindShape(i_name))
    {}

    void paint(QPainter* ip_painter, const QRect& i_rect, QIcon::Mode i_mode, QIcon::State) override
    {
        if (!_shape)
            return;
        const QColor color = _GetColor(i_mode);
        ip_painter->save();
        ip_painter->setRenderHint(QPainter::Antialiasing);
        const double size = std::min(i_rect.width(), i_rect.height());
        ip_painter->translate(i_rect.center().x() + 0.5 - size / 2, i_rect.center().y() + 0.5 - size / 2);
        ip_painter->scale(size / 24, size / 24);
        ip_painter->setPen(QPen(color, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        ip_painter->setBrush(_shape->isFilled ? QBrush(color) : QBrush(Qt::NoBrush));
        ip_painter->drawPath(_shape->path);
        ip_painter->restore();
    }

    QPixmap pixmap(const QSize& i_size, QIcon::Mode i_mode, QIcon::State i_state) override
    {
        // The same few icons stand in menus, buttons, titles and lists, and are asked for at each painting.
        const QString key = QStringLiteral("line %1 %2 %3 %4")
                                .arg(_name)
                                .arg(i_size.width())
                                .arg(i_size.height())
                                .arg(_GetColor(i_mode).rgba());
        QPixmap pixmap;
        if (QPixmapCache::find(key, &pixmap))
            return pixmap;
        pixmap = QPixmap(i_size);
        pixmap.fill(Qt::transparent);
        {
            QPainter painter(&pixmap);
            paint(&painter, QRect(QPoint(0, 0), i_size), i_mode, i_state);
        }
        QPixmapCache::insert(key, pixmap);
        return pixmap;
    }

    QIconEngine* clone() const override { return new LineEngine(_name); }

private:
    static QColor _GetColor(QIcon::Mode i_mode)
    {
        const auto group = i_mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = i_mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
        return QApplication::palette().color(group, role);
    }

    const QString _name;
    const Shape* const _shape;
};

} // namespace

QIcon MakeLineIcon(const QString& i_name)
{
    return QIcon(new LineEngine(i_name));
}

} // namespace Workbench
