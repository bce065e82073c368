#include "workbench/ribbon/CommandButton.h"

#include <QAccessibleWidget>
#include <QStyleOptionToolButton>
#include <QStylePainter>
#include <QToolTip>

#include <mutex>

namespace Workbench {

namespace {

constexpr int LongTitle = 12;

/// Qt tells a button's state by whether the widget is enabled.
class AccessibleCommandButton final : public QAccessibleWidget
{
public:
    explicit AccessibleCommandButton(CommandButton& io_button)
        : QAccessibleWidget(&io_button, QAccessible::PushButton)
        , _button(io_button)
    {}

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.disabled = _button.IsRefused() || !_button.isEnabled();
        return state;
    }
    QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
    void doAction(const QString& i_name) override
    {
        if (i_name == pressAction())
            _button.click();
        else
            QAccessibleWidget::doAction(i_name);
    }

private:
    CommandButton& _button;
};

QAccessibleInterface* MakeAccessible(const QString&, QObject* ip_object)
{
    auto* const button = qobject_cast<CommandButton*>(ip_object);
    return button ? new AccessibleCommandButton(*button) : nullptr;
}

/// A toolbar is read more easily when its buttons are narrow.
QString ToTwoLines(const QString& i_title)
{
    if (i_title.size() <= LongTitle)
        return i_title;
    int best = -1;
    for (int space = i_title.indexOf(QLatin1Char(' ')); space >= 0;
         space = i_title.indexOf(QLatin1Char(' '), space + 1)) {
        if (best < 0 || qAbs(2 * space - i_title.size()) < qAbs(2 * best - i_title.size()))
            best = space;
    }
    QString lines = i_title;
    if (best >= 0)
        lines[best] = QLatin1Char('\n');
    return lines;
}

} // namespace

CommandButton::CommandButton(QWidget* ip_parent)
    : QToolButton(ip_parent)
{
    static std::once_flag once;
    std::call_once(once, [] { QAccessible::installFactory(&MakeAccessible); });
    setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    setIconSize({24, 24});
    setAutoRaise(true);
    setFocusPolicy(Qt::StrongFocus);
    setMinimumWidth(64);
    connect(this, &QToolButton::clicked, this, [this] {
        if (!IsRefused())
            return Q_EMIT Triggered();
        QToolTip::showText(mapToGlobal(rect().bottomLeft()), _refusal, this);
        Q_EMIT RefusalShown(_refusal);
    });
}

void CommandButton::SetTexts(const QString& i_title, const QString& i_tool_tip)
{
    _title = i_title;
    _toolTip = i_tool_tip;
    setText(ToTwoLines(i_title).replace(QLatin1Char('&'), QLatin1String("&&")));
    _Describe();
}

void CommandButton::SetRefusal(const QString& i_why)
{
    if (i_why == _refusal)
        return;
    const bool wasRefused = IsRefused();
    _refusal = i_why;
    _Describe();
    if (wasRefused == IsRefused())
        return;
    QAccessible::State changed;
    changed.disabled = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
    update();
}

void CommandButton::_Describe()
{
    const QString text = _refusal.isEmpty() ? _toolTip : _toolTip + QLatin1Char('\n') + _refusal;
    // Texts of machines are plain text, which a tooltip would guess at.
    setToolTip(
        QStringLiteral("<qt>%1</qt>").arg(text.toHtmlEscaped().replace(QLatin1Char('\n'), QLatin1String("<br>"))));
    setStatusTip(text.simplified());
    setAccessibleName(_title);
    setAccessibleDescription(text);
}

void CommandButton::paintEvent(QPaintEvent*)
{
    QStylePainter painter(this);
    QStyleOptionToolButton option;
    initStyleOption(&option);
    if (IsRefused()) {
        option.state &= ~QStyle::State_Enabled;
        option.palette.setCurrentColorGroup(QPalette::Disabled);
    }
    painter.drawComplexControl(QStyle::CC_ToolButton, option);
}

} // namespace Workbench
