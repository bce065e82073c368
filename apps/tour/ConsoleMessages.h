#pragma once

#include "vexlorui/MessageDialogs.h"

#include <QString>

namespace Tour {

class Transcript;

/// Message boxes of a host without a window: printed, and answered with their last button, or their first. The sentence
/// of a failure is kept, because the tour prints it where it ends: once.
///
/// Thread: UI thread. One at a time; gives the former handler back.
class ConsoleMessages
{
public:
    /// \param io_transcript must outlive it.
    /// \param i_opens what a message offers to open is opened: its first button.
    explicit ConsoleMessages(Transcript& io_transcript, bool i_opens = false);
    ~ConsoleMessages();
    ConsoleMessages(const ConsoleMessages&) = delete;
    ConsoleMessages& operator=(const ConsoleMessages&) = delete;

    /// Empty when there was none.
    const QString& GetLastFailure() const { return _failure; }

private:
    Vexlor::MessageDialogs::Handler _former;
    QString _failure;
};

} // namespace Tour
