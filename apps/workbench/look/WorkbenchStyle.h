#pragma once

#include <QProxyStyle>

namespace Workbench {

/// Qt's Fusion, but for what it draws in black on every theme, for the frames of docks, and for the icons that it
/// searches for in the desktop's themes and draws in many sizes whenever a window is made.
///
/// In code and not as a style sheet: that is matched anew with each widget, and a window would be painted twice as
/// late.
///
/// Thread: UI thread.
/// Ownership: the application's, see QApplication::setStyle.
class WorkbenchStyle final : public QProxyStyle
{
    Q_OBJECT

public:
    WorkbenchStyle();

    void drawPrimitive(PrimitiveElement i_element, const QStyleOption* ip_option, QPainter* ip_painter,
                       const QWidget* ip_widget) const override;
    void drawControl(ControlElement i_element, const QStyleOption* ip_option, QPainter* ip_painter,
                     const QWidget* ip_widget) const override;
    int pixelMetric(PixelMetric i_metric, const QStyleOption* ip_option, const QWidget* ip_widget) const override;
    QIcon standardIcon(StandardPixmap i_icon, const QStyleOption* ip_option, const QWidget* ip_widget) const override;
};

} // namespace Workbench
