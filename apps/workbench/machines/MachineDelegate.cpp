#include "workbench/machines/MachineDelegate.h"

#include "workbench/look/LineIcon.h"
#include "workbench/look/ThemePalette.h"
#include "workbench/machines/MachineList.h"

#include <QApplication>
#include <QPainter>

namespace Workbench {

namespace {

constexpr int Margin = 6;
constexpr int Picture = 40;
constexpr int Star = 16;

QFont ToBold(QFont i_font)
{
    i_font.setBold(true);
    return i_font;
}

QFont ToSmall(QFont i_font)
{
    i_font.setPointSizeF(i_font.pointSizeF() * 0.9);
    return i_font;
}

/// The shape says the same as the colour: a disc is ready, a half disc at work, a triangle is a warning, a cross an
/// error, a ring says that nothing is known.
void DrawMark(QPainter& io_painter, const QRectF& i_box, MachineService::MachineState i_state,
              const StatusColors& i_colors, const QColor& i_dimmed)
{
    using State = MachineService::MachineState;
    io_painter.save();
    io_painter.setRenderHint(QPainter::Antialiasing);
    const auto fill = [&](const QColor& i_color) {
        io_painter.setPen(Qt::NoPen);
        io_painter.setBrush(i_color);
    };
    switch (i_state) {
    case State::Ready:
        fill(i_colors.good);
        io_painter.drawEllipse(i_box);
        break;
    case State::Busy:
        io_painter.setPen(QPen(i_colors.busy, 1.5));
        io_painter.drawEllipse(i_box);
        fill(i_colors.busy);
        io_painter.drawPie(i_box, 90 * 16, -180 * 16);
        break;
    case State::Paused:
        fill(i_colors.warning);
        io_painter.drawPolygon(
            QPolygonF({i_box.bottomLeft(), i_box.bottomRight(), QPointF(i_box.center().x(), i_box.top())}));
        break;
    case State::Failed:
    case State::Offline:
        io_painter.setPen(QPen(i_state == State::Failed ? i_colors.bad : i_dimmed, 2));
        io_painter.drawLine(i_box.topLeft(), i_box.bottomRight());
        io_painter.drawLine(i_box.topRight(), i_box.bottomLeft());
        break;
    case State::NotTold:
        io_painter.setPen(QPen(i_dimmed, 1.5));
        io_painter.setBrush(Qt::NoBrush);
        io_painter.drawEllipse(i_box);
        break;
    }
    io_painter.restore();
}

void DrawLine(QPainter& io_painter, QRect& io_room, const QFont& i_font, const QColor& i_color, const QString& i_text)
{
    io_painter.setFont(i_font);
    io_painter.setPen(i_color);
    const QFontMetrics metrics(i_font);
    const QRect line(io_room.left(), io_room.top(), io_room.width(), metrics.height());
    io_painter.drawText(line, Qt::AlignVCenter | Qt::AlignLeft,
                        metrics.elidedText(i_text, Qt::ElideRight, line.width()));
    io_room.setTop(line.bottom() + 2);
}

} // namespace

void MachineDelegate::paint(QPainter* ip_painter, const QStyleOptionViewItem& i_option,
                            const QModelIndex& i_index) const
{
    QStyleOptionViewItem option = i_option;
    initStyleOption(&option, i_index);
    option.text.clear();
    option.icon = {};
    const QStyle* const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawControl(QStyle::CE_ItemViewItem, &option, ip_painter, option.widget);

    const bool isSelected = option.state & QStyle::State_Selected;
    const QPalette& palette = option.palette;
    const QColor text = palette.color(QPalette::Active, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor dimmed = isSelected ? text : palette.color(QPalette::PlaceholderText);
    ip_painter->save();
    QRect room = option.rect.adjusted(Margin, Margin, -Margin, -Margin);
    if (!i_index.parent().isValid()) {
        DrawLine(*ip_painter, room, ToBold(option.font), text, i_index.data().toString());
        DrawLine(*ip_painter, room, ToSmall(option.font), dimmed, i_index.data(MachineList::StateTextRole).toString());
        ip_painter->restore();
        return;
    }
    const bool isGone = i_index.data(MachineList::GoneRole).toBool();
    if (isGone)
        ip_painter->setOpacity(0.75);
    const QRect picture(room.left(), room.top(), Picture, Picture);
    if (const auto pixmap = i_index.data(Qt::DecorationRole).value<QPixmap>(); !pixmap.isNull()) {
        ip_painter->setRenderHint(QPainter::SmoothPixmapTransform);
        ip_painter->drawPixmap(picture, pixmap);
    } else {
        MakeLineIcon(QStringLiteral("machine"))
            .paint(ip_painter, picture, Qt::AlignCenter, isSelected ? QIcon::Selected : QIcon::Normal);
    }
    room.setLeft(picture.right() + Margin + 2);
    if (i_index.data(MachineList::FavouriteRole).toBool()) {
        MakeLineIcon(QStringLiteral("starred"))
            .paint(ip_painter, QRect(room.right() - Star, room.top(), Star, Star), Qt::AlignCenter,
                   isSelected ? QIcon::Selected : QIcon::Normal);
        room.setRight(room.right() - Star - 4);
    }
    const bool isAttached = i_index.data(MachineList::AttachedRole).toBool();
    const QString name = i_index.data().toString();
    DrawLine(*ip_painter, room, ToBold(option.font), text, isAttached ? tr("%1 (this scene)").arg(name) : name);
    DrawLine(*ip_painter, room, ToSmall(option.font), dimmed, i_index.data(MachineList::DetailRole).toString());
    const auto state = static_cast<MachineService::MachineState>(i_index.data(MachineList::StateRole).toInt());
    const double size = 9;
    const double top = room.top() + (QFontMetrics(ToSmall(option.font)).height() - size) / 2;
    StatusColors colors = GetStatusColors(palette);
    if (isSelected)
        colors = {text, text, text, text};
    DrawMark(*ip_painter, QRectF(room.left(), top, size, size), state, colors, dimmed);
    room.setLeft(room.left() + 15);
    DrawLine(*ip_painter, room, ToSmall(option.font), text, i_index.data(MachineList::StateTextRole).toString());
    ip_painter->restore();
}

QSize MachineDelegate::sizeHint(const QStyleOptionViewItem& i_option, const QModelIndex& i_index) const
{
    const int name = QFontMetrics(ToBold(i_option.font)).height();
    const int small = QFontMetrics(ToSmall(i_option.font)).height();
    if (!i_index.parent().isValid())
        return {120, name + small + 2 + 2 * Margin};
    return {120, std::max(Picture, name + 2 * small + 4) + 2 * Margin};
}

} // namespace Workbench
