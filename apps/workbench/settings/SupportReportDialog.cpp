#include "workbench/settings/SupportReportDialog.h"

#include <QDate>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Workbench {

SupportReportDialog::SupportReportDialog(SupportReport i_report, QWidget* ip_parent)
    : QDialog(ip_parent)
    , _report(std::move(i_report))
    , _outcome(new QLabel(this))
{
    setWindowTitle(tr("Report for support"));
    resize(720, 520);
    auto* const note = new QLabel(
        tr("This is all that the report holds. It is written to a file of your choice and sent to nobody."), this);
    note->setWordWrap(true);
    auto* const tabs = new QTabWidget(this);
    tabs->setAccessibleName(tr("Texts of the report"));
    for (const auto& [name, text] : _report.GetEntries()) {
        auto* const view = new QPlainTextEdit(text, tabs);
        view->setReadOnly(true);
        view->setLineWrapMode(QPlainTextEdit::NoWrap);
        view->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
        view->setAccessibleName(name);
        view->setTabChangesFocus(true);
        tabs->addTab(view, name);
    }
    _outcome->setTextFormat(Qt::PlainText);
    _outcome->setWordWrap(true);
    _outcome->hide();
    auto* const buttons = new QDialogButtonBox(this);
    auto* const save = buttons->addButton(tr("Save…"), QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole);
    connect(save, &QPushButton::clicked, this, &SupportReportDialog::_ChooseFile);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(note);
    column->addWidget(tabs, 1);
    column->addWidget(_outcome);
    column->addWidget(buttons);
}

void SupportReportDialog::_Tell(const QString& i_sentence)
{
    _outcome->setText(i_sentence);
    _outcome->show();
}

void SupportReportDialog::_ChooseFile()
{
    const QString proposal =
        QDir::homePath() + QStringLiteral("/workbench-report-%1.zip").arg(QDate::currentDate().toString(Qt::ISODate));
    const QString file = QFileDialog::getSaveFileName(this, tr("Save the report"), proposal, tr("Packages (*.zip)"));
    if (!file.isEmpty())
        Save(file);
}

void SupportReportDialog::Save(const QString& i_file)
{
    _background.Run(
        [report = _report, i_file](const std::stop_token&) {
            report.Write(i_file);
            return true;
        },
        [this, i_file](bool) { _Tell(tr("Saved as '%1'.").arg(i_file)); },
        [this, i_file](const QString& i_why) {
            _Tell(tr("'%1' cannot be written: %2. Choose another folder.").arg(i_file, i_why));
        });
}

} // namespace Workbench
