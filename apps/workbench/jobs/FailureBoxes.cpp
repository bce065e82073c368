#include "workbench/jobs/FailureBoxes.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QMessageBox>
#include <QPushButton>

#include <utility>

namespace Workbench {

namespace {

constexpr int WokenUp = 0x57; ///< of a loop

} // namespace

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
    const auto request = std::make_shared<Request>(Request{i_message, -1});
    const QPointer<FailureBoxes> alive(this);
    if (i_message.kind == Vexlor::Message::Kind::Critical)
        Q_EMIT Failed(i_message.text);
    if (!alive)
        return last;
    _waiting.push_back(request);
    _ShowNext();
    // Messages that come meanwhile wait on loops of their own above this one, so that the box of this one may be shown
    // and answered while one of those turns.
    while (alive && request->answer < 0) {
        QEventLoop loop;
        const auto wake = [&loop] {
            loop.exit(WokenUp);
        };
        connect(this, &FailureBoxes::Answered, &loop, wake);
        connect(this, &QObject::destroyed, &loop, wake);
        // Any other result is that of an application which quits: no loop of its thread turns any more.
        if (loop.exec() != WokenUp)
            break;
    }
    return request->answer < 0 ? last : request->answer;
}

void FailureBoxes::_ShowNext()
{
    if (_open || _waiting.empty())
        return;
    const auto request = _waiting.front();
    const Vexlor::Message& message = request->message;
    // Without a parent, as the library asks: it must not go with a window that is closed behind it.
    auto* const box = new QMessageBox;
    _open = box;
    box->setIcon(message.kind == Vexlor::Message::Kind::Critical  ? QMessageBox::Critical
                 : message.kind == Vexlor::Message::Kind::Warning ? QMessageBox::Warning
                                                                  : QMessageBox::Information);
    box->setWindowTitle(message.title.isEmpty() ? tr("Workbench") : message.title);
    box->setTextFormat(Qt::PlainText);
    box->setText(message.text);
    box->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    QList<QAbstractButton*> buttons;
    for (const QString& text : message.buttons)
        buttons << box->addButton(text, QMessageBox::AcceptRole);
    box->setEscapeButton(buttons.last());
    box->setDefaultButton(qobject_cast<QPushButton*>(buttons.last()));
    box->setWindowModality(Qt::ApplicationModal);
    connect(box, &QDialog::finished, this, [this, box, buttons, request] {
        const int answer = buttons.indexOf(box->clickedButton());
        request->answer = answer < 0 ? buttons.size() - 1 : answer;
        _open.clear();
        box->deleteLater();
        _waiting.pop_front();
        _ShowNext();
        Q_EMIT Answered();
    });
    box->adjustSize();
    if (_window && _window->isVisible())
        box->move(_window->frameGeometry().center() - box->rect().center());
    box->show();
}

} // namespace Workbench
