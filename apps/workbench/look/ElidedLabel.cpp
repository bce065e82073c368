#include "workbench/look/ElidedLabel.h"

#include <QPainter>

namespace Workbench {

QSize ElidedLabel::minimumSizeHint() const
{
    return {fontMetrics().averageCharWidth() * 6, QLabel::minimumSizeHint().height()};
}

void ElidedLabel::paintEvent(QPaintEvent*)
{
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, contentsRect().width());
    if (const QString tip = shown == text() ? QString() : text().toHtmlEscaped(); tip != toolTip())
        setToolTip(tip);
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, shown);
}

} // namespace Workbench
