#pragma once

#include <QToolButton>

namespace Workbench {

/// A button of the ribbon. One whose command is refused looks disabled and says so to screen readers, but can be
/// reached: a click, or Enter, tells why instead of running the command.
class CommandButton final : public QToolButton
{
    Q_OBJECT

public:
    explicit CommandButton(QWidget* ip_parent = nullptr);

    /// \param i_title in two lines where it is long.
    void SetTexts(const QString& i_title, const QString& i_tool_tip);
    /// Why it is refused; empty when it is not.
    void SetRefusal(const QString& i_why);
    bool IsRefused() const { return !_refusal.isEmpty(); }
    const QString& GetRefusal() const { return _refusal; }

Q_SIGNALS:
    void Triggered();
    void RefusalShown(const QString& i_why);

protected:
    void paintEvent(QPaintEvent* ip_event) override;

private:
    void _Describe();

    QString _title;
    QString _toolTip;
    QString _refusal;
};

} // namespace Workbench
