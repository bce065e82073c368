#pragma once

#include "client/interface/ServiceTypes.h"

#include <QDialog>

class QCheckBox;
class QLineEdit;

namespace Workbench {

/// Asks for the credentials of a service. The secret is shown to nobody and kept in no field once the dialog has gone.
///
/// Thread: UI thread.
class SignInDialog final : public QDialog
{
    Q_OBJECT

public:
    /// \param i_user as last time; may be empty.
    /// \param i_reason what the service says; plain text.
    SignInDialog(const QString& i_address, const QString& i_user, const QString& i_reason, QWidget* ip_parent);

    MachineService::AuthenticationData GetData() const;
    bool IsToBeKept() const;

private:
    QLineEdit* _user;
    QLineEdit* _secret;
    QCheckBox* _keep;
};

} // namespace Workbench
