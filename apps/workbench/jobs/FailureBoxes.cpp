#include "workbench/jobs/FailureBoxes.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace Workbench {

FailureBoxes::FailureBoxes(QWidget& i_window, QObject* ip_parent)
    : QObject(ip_parent)
    , _window(&i_window)
    , _former(Vexlor::MessageDialogs::SetHandler([this](const Vexlor::Message& i_message) { return _Show(i_message); }))
{}

FailureBoxes::~FailureBoxes()
{
    Vexlor::MessageDialogs::SetHandler(std::move(_former));
    delete _open;
}

QMessageBox* FailureBoxes::GetOpen() const
{
    return _open;
}

void FailureBoxes::ShowLater(const QString& i_sentence)
{
    QMetaObject::invokeMethod(
        this,
        [this, i_sentence] {
            _Show({Vexlor::Message::Kind::Critical, QString(), i_sentence, {tr("OK")}});
        },
        Qt::QueuedConnection);
}

int FailureBoxes::_Show(const Vexlor::Message& i_message)
{
    const int last = i_message.buttons.size() - 1;
    const QPointer<FailureBoxes> alive(this);
    if (i_message.kind == Vexlor::Message::Kind::Critical)
        Q_EMIT Failed(i_message.text);
    // One that comes while another is open, on whose event loop this runs, waits for that one.
    while (alive && _open) {
        QEventLoop waiting;
        connect(_open.data(), &QObject::destroyed, &waiting, &QEventLoop::quit);
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &waiting, &QEventLoop::quit);
        if (waiting.exec() != 0 || QCoreApplication::closingDown())
            return last;
    }
    if (!alive)
        return last;
    // Without a parent, as the library asks: it must not go with a window that is closed behind it.
    auto* const box = new QMessageBox;
    _open = box;
    box->setAttribute(Qt::WA_DeleteOnClose, false);
    box->setIcon(i_message.kind == Vexlor::Message::Kind::Critical  ? QMessageBox::Critical
                 : i_message.kind == Vexlor::Message::Kind::Warning ? QMessageBox::Warning
                                                                    : QMessageBox::Information);
    box->setWindowTitle(i_message.title.isEmpty() ? QCoreApplication::applicationName() : i_message.title);
    box->setTextFormat(Qt::PlainText);
    box->setText(i_message.text);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QList<QPushButton*> buttons;
    for (const QString& text : i_message.buttons)
        buttons << box->addButton(text, QMessageBox::AcceptRole);
    box->setEscapeButton(buttons.last());
    box->setDefaultButton(buttons.last());
    box->setWindowModality(Qt::ApplicationModal);
    box->adjustSize();
    if (_window && _window->isVisible())
        box->move(_window->frameGeometry().center() - box->rect().center());
    QEventLoop loop;
    connect(box, &QDialog::finished, &loop, &QEventLoop::quit);
    connect(box, &QObject::destroyed, &loop, &QEventLoop::quit);
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, &loop, &QEventLoop::quit);
    const QPointer<QMessageBox> shown(box);
    box->show();
    loop.exec();
    const int answer = shown ? buttons.indexOf(qobject_cast<QPushButton*>(shown->clickedButton())) : -1;
    delete shown.data();
    return answer < 0 ? last : answer;
}

} // namespace Workbench
