#pragma once

#include "vexlorui/MessageDialogs.h"

#include <QObject>
#include <QPointer>

#include <deque>
#include <memory>

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

    /// A box was answered.
    void Answered();

private:
    /// A message and, once there is one, the index of its answer.
    struct Request
    {
        Vexlor::Message message;
        int answer = -1;
    };

    int _Show(const Vexlor::Message& i_message);
    void _ShowNext();

    QPointer<QWidget> _window;
    QPointer<QMessageBox> _open;
    std::deque<std::shared_ptr<Request>> _waiting; ///< the first one is that of the open box
    Vexlor::MessageDialogs::Handler _former;
};

} // namespace Workbench
