#pragma once

#include <QLabel>
#include <QWidget>

class QVBoxLayout;

namespace Workbench {

/// What stands where there is nothing yet: an icon, what is missing, what to do about it.
class EmptyState final : public QWidget
{
    Q_OBJECT

public:
    explicit EmptyState(const QString& i_icon, QWidget* ip_parent = nullptr);

    void SetTexts(const QString& i_title, const QString& i_hint);
    /// Below the hint.
    void AddWidget(QWidget* ip_widget);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _ShowIcon();

    QString _iconName;
    QLabel* _icon;
    QLabel* _title;
    QLabel* _hint;
    QVBoxLayout* _column;
};

} // namespace Workbench
