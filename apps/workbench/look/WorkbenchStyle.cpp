#include "workbench/look/WorkbenchStyle.h"

#include "workbench/look/LineIcon.h"

#include <QPainter>
#include <QStyleOption>

namespace Workbench {

WorkbenchStyle::WorkbenchStyle()
    : QProxyStyle(QStringLiteral("Fusion"))
{}

void WorkbenchStyle::drawPrimitive(PrimitiveElement i_element, const QStyleOption* ip_option, QPainter* ip_painter,
                                   const QWidget* ip_widget) const
{
    if (i_element != PE_IndicatorTabClose)
        return QProxyStyle::drawPrimitive(i_element, ip_option, ip_painter, ip_widget);
    const bool isPointedAt = ip_option->state & State_MouseOver;
    if (isPointedAt) {
        ip_painter->save();
        ip_painter->setRenderHint(QPainter::Antialiasing);
        ip_painter->setPen(Qt::NoPen);
        ip_painter->setBrush(ip_option->palette.mid());
        ip_painter->drawRoundedRect(ip_option->rect, 3, 3);
        ip_painter->restore();
    }
    MakeLineIcon(QStringLiteral("close")).paint(ip_painter, ip_option->rect.adjusted(1, 1, -1, -1));
}

} // namespace Workbench
