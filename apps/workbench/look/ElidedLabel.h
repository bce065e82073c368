#pragma once

#include <QLabel>

namespace Workbench {

/// A line of plain text that is as wide as there is room: what does not fit is cut with an ellipsis, and told by the
/// tooltip.
class ElidedLabel final : public QLabel
{
    Q_OBJECT

public:
    using QLabel::QLabel;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* ip_event) override;
};

} // namespace Workbench
