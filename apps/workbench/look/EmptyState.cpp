#include "workbench/look/EmptyState.h"

#include "workbench/look/LineIcon.h"

#include <QEvent>
#include <QFontMetrics>
#include <QVBoxLayout>

#include <map>

namespace Workbench {

namespace {

/// A label of several lines that lays its text out once for each width: QLabel tries many widths for its hint, for
/// each label and each time that a window is laid out.
class WrappedLabel final : public QLabel
{
public:
    explicit WrappedLabel(QWidget* ip_parent)
        : QLabel(ip_parent)
    {
        setTextFormat(Qt::PlainText);
        setAlignment(Qt::AlignCenter);
        setWordWrap(true);
    }

    QSize sizeHint() const override { return _MakeHint(40); }
    QSize minimumSizeHint() const override { return _MakeHint(16); }
    int heightForWidth(int i_width) const override
    {
        if (_measured != text() || _font != font() || _heights.size() > MaxHeights) {
            _measured = text();
            _font = font();
            _heights.clear();
        }
        const auto [height, isNew] = _heights.try_emplace(i_width, 0);
        if (isNew) {
            height->second = fontMetrics().boundingRect(0, 0, i_width, MaxHeight, Qt::TextWordWrap, _measured).height();
        }
        return height->second;
    }

private:
    QSize _MakeHint(int i_letters) const
    {
        return {fontMetrics().averageCharWidth() * i_letters, fontMetrics().lineSpacing()};
    }

    static constexpr std::size_t MaxHeights = 64; ///< while a window is resized, widths come and go
    static constexpr int MaxHeight = 10'000;

    mutable std::map<int, int> _heights; ///< by width, of this text in this font
    mutable QString _measured;
    mutable QFont _font;
};

} // namespace

EmptyState::EmptyState(const QString& i_icon, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _iconName(i_icon)
    , _icon(new QLabel(this))
    , _title(new WrappedLabel(this))
    , _hint(new WrappedLabel(this))
    , _column(new QVBoxLayout(this))
{
    QFont font = _title->font();
    font.setPointSizeF(font.pointSizeF() * 1.25);
    font.setBold(true);
    _title->setFont(font);
    _hint->setForegroundRole(QPalette::PlaceholderText);
    _column->setContentsMargins(16, 16, 16, 16);
    _column->setSpacing(8);
    _column->addStretch(2);
    _icon->setAlignment(Qt::AlignCenter);
    for (QLabel* const label : {_icon, _title, _hint})
        _column->addWidget(label);
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
