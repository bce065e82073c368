#include "workbench/ShortcutsDialog.h"

#include <QAbstractButton>
#include <QAction>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QMap>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace Workbench {

namespace {

QString ToPlainTitle(QString i_text)
{
    return i_text.remove(QLatin1Char('&')).remove(QStringLiteral("…")).simplified();
}

} // namespace

ShortcutsDialog::ShortcutsDialog(QWidget& i_window)
    : QDialog(&i_window)
{
    setWindowTitle(tr("Keyboard shortcuts"));
    resize(460, 480);
    QMap<QString, QString> shortcuts;
    for (const QAction* const action : i_window.findChildren<QAction*>()) {
        QStringList keys;
        for (const QKeySequence& sequence : action->shortcuts())
            keys << sequence.toString(QKeySequence::NativeText);
        keys.removeAll(QString());
        if (!keys.isEmpty() && !action->text().isEmpty())
            shortcuts.insert(ToPlainTitle(action->text()), keys.join(QStringLiteral(", ")));
    }
    for (const QAbstractButton* const button : i_window.findChildren<QAbstractButton*>()) {
        if (!button->shortcut().isEmpty() && !button->text().isEmpty())
            shortcuts.insert(ToPlainTitle(button->text()), button->shortcut().toString(QKeySequence::NativeText));
    }
    auto* const table = new QTableWidget(shortcuts.size(), 2, this);
    table->setAccessibleName(windowTitle());
    table->setHorizontalHeaderLabels({tr("What"), tr("Keys")});
    table->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    table->horizontalHeader()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setTabKeyNavigation(false);
    int row = 0;
    for (auto shortcut = shortcuts.begin(); shortcut != shortcuts.end(); ++shortcut, ++row) {
        table->setItem(row, 0, new QTableWidgetItem(shortcut.key()));
        table->setItem(row, 1, new QTableWidgetItem(shortcut.value()));
    }
    auto* const buttons = new QDialogButtonBox(this);
    buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(table);
    column->addWidget(buttons);
}

} // namespace Workbench
