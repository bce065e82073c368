#pragma once

#include <QStyledItemDelegate>

namespace Workbench {

/// Draws a machine as picture, name, maker with volume, and state with its mark; a service as a heading.
class MachineDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter* ip_painter, const QStyleOptionViewItem& i_option, const QModelIndex& i_index) const override;
    QSize sizeHint(const QStyleOptionViewItem& i_option, const QModelIndex& i_index) const override;
};

} // namespace Workbench
