#pragma once

#include "vexlorui/MessageDialogs.h"

#include <utility>
#include <vector>

namespace TestSupport {

/// Answers the host's messages while it lives and keeps them for the test.
/// Thread: UI thread.
class MessageRecorder
{
public:
    /// \param i_answer index of the button that every message is answered with; the last button by default.
    explicit MessageRecorder(int i_answer = -1)
        : _former(Vexlor::MessageDialogs::SetHandler([this, i_answer](const Vexlor::Message& i_message) {
            _messages.push_back(i_message);
            return i_answer < 0 ? static_cast<int>(i_message.buttons.size()) - 1 : i_answer;
        }))
    {}
    ~MessageRecorder() { Vexlor::MessageDialogs::SetHandler(std::move(_former)); }
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    /// In the order shown.
    const std::vector<Vexlor::Message>& GetMessages() const { return _messages; }
    void Clear() { _messages.clear(); }

private:
    std::vector<Vexlor::Message> _messages;
    Vexlor::MessageDialogs::Handler _former;
};

} // namespace TestSupport
