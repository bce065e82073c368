#include "workbench/access/CertificateDialog.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace Workbench {

namespace {

/// In lines of eight pairs, as one reads them aloud.
QString BreakUp(const QString& i_fingerprint)
{
    const QStringList pairs = i_fingerprint.split(QLatin1Char(':'));
    QStringList lines;
    for (int first = 0; first < pairs.size(); first += 8)
        lines << pairs.mid(first, 8).join(QLatin1Char(':'));
    return lines.join(QLatin1Char('\n'));
}

} // namespace

CertificateDialog::CertificateDialog(const QString& i_address, const QString& i_fingerprint, QWidget* ip_parent)
    : QDialog(ip_parent)
{
    setWindowTitle(tr("Is this the right machine service?"));
    auto* const note = new QLabel(
        tr("%1 shows a certificate for which nobody vouches whom this computer trusts. Ask the person who runs the "
           "service for the fingerprint (SHA-256) and compare:")
            .arg(i_address),
        this);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    auto* const fingerprint = new QPlainTextEdit(BreakUp(i_fingerprint), this);
    fingerprint->setReadOnly(true);
    fingerprint->setTabChangesFocus(true);
    fingerprint->setLineWrapMode(QPlainTextEdit::NoWrap);
    fingerprint->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    fingerprint->setAccessibleName(tr("Fingerprint of the certificate"));
    const QFontMetrics metrics(fingerprint->font());
    fingerprint->setFixedHeight(4 * metrics.lineSpacing() + 2 * metrics.descent() + 16);
    fingerprint->setMinimumWidth(metrics.horizontalAdvance(QString(26, QLatin1Char('0'))));
    auto* const what = new QLabel(tr("When you trust it, this certificate and no other counts for the address from now "
                                     "on. If a single character differs, somebody else may be listening: do not trust "
                                     "it."),
                                  this);
    what->setWordWrap(true);
    auto* const buttons = new QDialogButtonBox(this);
    auto* const trust = buttons->addButton(tr("It is the same: trust it"), QDialogButtonBox::AcceptRole);
    auto* const later = buttons->addButton(tr("Not now"), QDialogButtonBox::RejectRole);
    trust->setAutoDefault(false);
    // What a hasty Enter answers is the harmless one.
    later->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    for (QWidget* const widget : std::initializer_list<QWidget*>{note, fingerprint, what})
        column->addWidget(widget);
    column->addStretch();
    column->addWidget(buttons);
    resize(480, sizeHint().height());
    later->setFocus();
}

} // namespace Workbench
