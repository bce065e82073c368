#pragma once

#include <QProxyStyle>

namespace Workbench {

/// Qt's Fusion, but for what it draws in black on every theme.
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
};

} // namespace Workbench
