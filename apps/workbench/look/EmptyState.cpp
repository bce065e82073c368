#include "workbench/look/EmptyState.h"

#include "workbench/look/LineIcon.h"

#include <QEvent>
#include <QVBoxLayout>

namespace Workbench {

EmptyState::EmptyState(const QString& i_icon, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _iconName(i_icon)
    , _icon(new QLabel(this))
    , _title(new QLabel(this))
    , _hint(new QLabel(this))
    , _column(new QVBoxLayout(this))
{
    QFont font = _title->font();
    font.setPointSizeF(font.pointSizeF() * 1.25);
    font.setBold(true);
    _title->setFont(font);
    _hint->setTextFormat(Qt::PlainText);
    _title->setTextFormat(Qt::PlainText);
    _hint->setForegroundRole(QPalette::PlaceholderText);
    _column->setContentsMargins(16, 16, 16, 16);
    _column->setSpacing(8);
    _column->addStretch(2);
    for (QLabel* const label : {_icon, _title, _hint}) {
        label->setAlignment(Qt::AlignCenter);
        label->setWordWrap(label != _icon);
        _column->addWidget(label);
    }
    _column->addStretch(3);
    _ShowIcon();
}

void EmptyState::SetTexts(const QString& i_title, const QString& i_hint)
{
    _title->setText(i_title);
    _hint->setText(i_hint);
    setAccessibleName(i_title);
    setAccessibleDescription(i_hint);
}

void EmptyState::AddWidget(QWidget* ip_widget)
{
    _column->insertWidget(_column->count() - 1, ip_widget, 0, Qt::AlignHCenter);
}

void EmptyState::changeEvent(QEvent* ip_event)
{
    QWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::PaletteChange)
        _ShowIcon();
}

void EmptyState::_ShowIcon()
{
    _icon->setPixmap(MakeLineIcon(_iconName).pixmap(48, 48, QIcon::Disabled));
}

} // namespace Workbench
