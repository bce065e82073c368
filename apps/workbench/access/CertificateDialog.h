#pragma once

#include <QDialog>

namespace Workbench {

/// Shows the fingerprint of a certificate that nobody vouches for. Accepted: the user trusts it.
///
/// Thread: UI thread.
class CertificateDialog final : public QDialog
{
    Q_OBJECT

public:
    /// \param i_fingerprint "12:AB:…"
    CertificateDialog(const QString& i_address, const QString& i_fingerprint, QWidget* ip_parent);
};

} // namespace Workbench
