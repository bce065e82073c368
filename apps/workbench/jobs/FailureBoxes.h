#pragma once

#include "vexlorui/MessageDialogs.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QMessageBox;
class QWidget;

namespace Workbench {

/// Shows the library's messages as boxes, one after another, in the middle of the window, while the event loop turns.
///
/// Thread: UI thread. Installs itself as the host's handler and takes itself away again.
class FailureBoxes final : public QObject
{
    Q_OBJECT

public:
    explicit FailureBoxes(QWidget& i_window, QObject* ip_parent = nullptr);
    ~FailureBoxes() override;

    /// A sentence of the window's own, shown in the same way; returns at once.
    void ShowLater(const QString& i_sentence);
    /// The one that is open now; null when none is.
    QMessageBox* GetOpen() const;

Q_SIGNALS:
    /// Every critical message, when it is asked for.
    void Failed(const QString& i_text);

private:
    int _Show(const Vexlor::Message& i_message);

    QPointer<QWidget> _window;
    QPointer<QMessageBox> _open;
    Vexlor::MessageDialogs::Handler _former;
};

} // namespace Workbench
