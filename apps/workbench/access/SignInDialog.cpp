#include "workbench/access/SignInDialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace Workbench {

SignInDialog::SignInDialog(const QString& i_address, const QString& i_user, const QString& i_reason, QWidget* ip_parent)
    : QDialog(ip_parent)
    , _user(new QLineEdit(i_user, this))
    , _secret(new QLineEdit(this))
    , _keep(new QCheckBox(tr("Keep it in the desktop's keyring"), this))
{
    setWindowTitle(tr("Sign in to a machine service"));
    auto* const note = new QLabel(i_reason.isEmpty() ? i_address : i_reason, this);
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    auto* const service = new QLabel(i_address, this);
    service->setTextFormat(Qt::PlainText);
    service->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    _secret->setEchoMode(QLineEdit::Password);
    _user->setPlaceholderText(tr("Only if the service has users"));
    _keep->setChecked(true);
    _keep->setToolTip(tr("Otherwise it counts until the window is closed. It is written to no file."));
    auto* const form = new QFormLayout;
    form->addRow(tr("Service"), service);
    form->addRow(tr("User"), _user);
    form->addRow(tr("Secret or token"), _secret);
    for (auto* const edit : {_user, _secret})
        edit->setAccessibleName(qobject_cast<QLabel*>(form->labelForField(edit))->text());
    auto* const buttons = new QDialogButtonBox(this);
    auto* const signIn = buttons->addButton(tr("Sign in"), QDialogButtonBox::AcceptRole);
    buttons->addButton(tr("Not now"), QDialogButtonBox::RejectRole);
    signIn->setDefault(true);
    signIn->setEnabled(false);
    connect(_secret, &QLineEdit::textChanged, signIn,
            [signIn](const QString& i_text) { signIn->setEnabled(!i_text.isEmpty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* const column = new QVBoxLayout(this);
    column->addWidget(note);
    column->addLayout(form);
    column->addWidget(_keep);
    column->addStretch();
    column->addWidget(buttons);
    resize(460, sizeHint().height());
    _secret->setFocus();
}

MachineService::AuthenticationData SignInDialog::GetData() const
{
    return {_user->text().toStdString(), _secret->text().toStdString()};
}

bool SignInDialog::IsToBeKept() const
{
    return _keep->isChecked();
}

} // namespace Workbench
