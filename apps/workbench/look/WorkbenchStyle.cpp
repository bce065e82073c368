#include "workbench/look/WorkbenchStyle.h"

#include "workbench/look/LineIcon.h"

#include <QPainter>
#include <QStyleOption>

namespace Workbench {

namespace {

constexpr int TitleIndent = 4; ///< to where the panels below begin

void DrawTabClose(const QStyleOption& i_option, bool i_is_pointed_at, QPainter& io_painter)
{
    if (i_is_pointed_at) {
        io_painter.save();
        io_painter.setRenderHint(QPainter::Antialiasing);
        io_painter.setPen(Qt::NoPen);
        io_painter.setBrush(i_option.palette.mid());
        io_painter.drawRoundedRect(i_option.rect, 3, 3);
        io_painter.restore();
    }
    MakeLineIcon(QStringLiteral("close")).paint(&io_painter, i_option.rect.adjusted(1, 1, -1, -1));
}

} // namespace

WorkbenchStyle::WorkbenchStyle()
    : QProxyStyle(QStringLiteral("Fusion"))
{}

void WorkbenchStyle::drawPrimitive(PrimitiveElement i_element, const QStyleOption* ip_option, QPainter* ip_painter,
                                   const QWidget* ip_widget) const
{
    const bool isPointedAt = ip_option->state & State_MouseOver;
    switch (i_element) {
    case PE_IndicatorTabClose:
        return DrawTabClose(*ip_option, isPointedAt, *ip_painter);
    case PE_IndicatorDockWidgetResizeHandle:
        return ip_painter->fillRect(ip_option->rect,
                                    isPointedAt ? ip_option->palette.highlight() : ip_option->palette.window());
    case PE_FrameStatusBarItem:
        return;
    default:
        return QProxyStyle::drawPrimitive(i_element, ip_option, ip_painter, ip_widget);
    }
}

void WorkbenchStyle::drawControl(ControlElement i_element, const QStyleOption* ip_option, QPainter* ip_painter,
                                 const QWidget* ip_widget) const
{
    const auto* const dock = qstyleoption_cast<const QStyleOptionDockWidget*>(ip_option);
    if (i_element != CE_DockWidgetTitle || !dock)
        return QProxyStyle::drawControl(i_element, ip_option, ip_painter, ip_widget);
    ip_painter->save();
    ip_painter->fillRect(dock->rect, dock->palette.button());
    QFont font = ip_painter->font();
    font.setWeight(QFont::DemiBold);
    ip_painter->setFont(font);
    const QRect place =
        proxy()->subElementRect(SE_DockWidgetTitleBarText, ip_option, ip_widget).adjusted(TitleIndent, 0, 0, 0);
    const QString title = QFontMetrics(font).elidedText(dock->title, Qt::ElideRight, place.width());
    proxy()->drawItemText(ip_painter, place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextShowMnemonic, dock->palette,
                          dock->state & State_Enabled, title, QPalette::ButtonText);
    ip_painter->restore();
}

int WorkbenchStyle::pixelMetric(PixelMetric i_metric, const QStyleOption* ip_option, const QWidget* ip_widget) const
{
    switch (i_metric) {
    case PM_DockWidgetTitleMargin:
        return 7;
    case PM_DockWidgetSeparatorExtent:
        return 5;
    case PM_ToolTipLabelFrameWidth:
        return 4;
    default:
        return QProxyStyle::pixelMetric(i_metric, ip_option, ip_widget);
    }
}

QIcon WorkbenchStyle::standardIcon(StandardPixmap i_icon, const QStyleOption* ip_option, const QWidget* ip_widget) const
{
    switch (i_icon) {
    case SP_LineEditClearButton:
        return MakeLineIcon(QStringLiteral("clear"));
    case SP_TitleBarCloseButton:
    case SP_DockWidgetCloseButton:
        return MakeLineIcon(QStringLiteral("close"));
    case SP_TitleBarNormalButton:
        return MakeLineIcon(QStringLiteral("float"));
    case SP_ToolBarHorizontalExtensionButton:
        return MakeLineIcon(QStringLiteral("more"));
    case SP_ToolBarVerticalExtensionButton:
        return MakeLineIcon(QStringLiteral("moreBelow"));
    default:
        return QProxyStyle::standardIcon(i_icon, ip_option, ip_widget);
    }
}

} // namespace Workbench
