#include "vexlorui/MessageDialogs.h"

#include "vexlorcore/UiThread.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <utility>

namespace Vexlor {

namespace {

Q_LOGGING_CATEGORY(log, "machineservice.host.messages")

/// UI thread only.
MessageDialogs::Handler& GetHandler()
{
    static MessageDialogs::Handler handler;
    return handler;
}

int ShowHere(const Message& i_message)
{
    const int last = static_cast<int>(i_message.buttons.size()) - 1;
    // Called through a copy: a handler may be replaced while its box turns the event loop.
    if (const auto handler = GetHandler())
        return std::clamp(handler(i_message), 0, std::max(last, 0));
    qCWarning(log).noquote() << i_message.title << i_message.text;
    return std::max(last, 0);
}

} // namespace

MessageDialogs::Handler MessageDialogs::SetHandler(Handler i_handler)
{
    return std::exchange(GetHandler(), std::move(i_handler));
}

int MessageDialogs::Show(const Message& i_message)
{
    int answer = 0;
    VexlorCore::UiThread::Invoke([&] { answer = ShowHere(i_message); });
    return answer;
}

void MessageDialogs::ShowCritical(const QString& i_text)
{
    Show({Message::Kind::Critical, QString(), i_text, {QCoreApplication::translate("Vexlor::MessageDialogs", "OK")}});
}

} // namespace Vexlor
