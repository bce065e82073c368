#include "tour/ConsoleMessages.h"

#include "tour/Transcript.h"

#include <utility>

namespace Tour {

ConsoleMessages::ConsoleMessages(Transcript& io_transcript, bool i_opens)
{
    _former = Vexlor::MessageDialogs::SetHandler([this, &io_transcript, i_opens](const Vexlor::Message& i_message) {
        if (i_message.kind == Vexlor::Message::Kind::Critical)
            _failure = i_message.text;
        else
            io_transcript.Line(i_message.text);
        return i_opens ? 0 : static_cast<int>(i_message.buttons.size()) - 1;
    });
}

ConsoleMessages::~ConsoleMessages()
{
    Vexlor::MessageDialogs::SetHandler(std::move(_former));
}

} // namespace Tour
