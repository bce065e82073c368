#pragma once

#include <QObject>

#include <deque>
#include <functional>
#include <optional>

class QSocketNotifier;

namespace Hosting {
class Host;
}

namespace Tour {

/// Asks who sits at the terminal where a service needs a word of theirs: for credentials, which are not shown as they
/// are typed and kept nowhere, and whether a certificate is the right one. One question at a time, on standard error;
/// nobody is asked where standard input is no terminal or the program runs in its background.
///
/// Thread: UI thread. The terminal is as before when this goes.
class TerminalQuestions final : public QObject
{
    Q_OBJECT

public:
    /// \param io_host must outlive it.
    explicit TerminalQuestions(Hosting::Host& io_host);
    ~TerminalQuestions() override;

private:
    struct Question
    {
        QString text;
        bool isSecret = false;
        std::function<void(const std::optional<QString>&)> take; ///< nothing at the end of the input
    };

    void _Ask(Question i_question);
    void _ShowNext();
    void _ReadLine();

    Hosting::Host& _host;
    QSocketNotifier* _notifier = nullptr; ///< null where nobody is asked
    std::deque<Question> _questions;      ///< the first one is being asked
};

} // namespace Tour
