#include "tour/TerminalQuestions.h"

#include "tour/Output.h"

#include "hosting/Host.h"

#include <QSocketNotifier>

#include <array>
#include <utility>

#include <termios.h>
#include <unistd.h>

namespace Tour {

namespace {

/// Whether what is typed is to be seen.
void SetEcho(bool i_is_on)
{
    termios settings = {};
    if (tcgetattr(STDIN_FILENO, &settings) != 0)
        return;
    settings.c_lflag = i_is_on ? settings.c_lflag | ECHO : settings.c_lflag & ~static_cast<tcflag_t>(ECHO);
    // What was typed before the question is no answer to it.
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &settings);
}

bool CanAsk()
{
    // In the background of a terminal reading would stop the program.
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return isatty(STDIN_FILENO) && (foreground < 0 || foreground == getpgrp());
}

} // namespace

TerminalQuestions::TerminalQuestions(Hosting::Host& io_host)
    : _host(io_host)
{
    if (!CanAsk())
        return;
    _notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, this);
    _notifier->setEnabled(false);
    connect(_notifier, &QSocketNotifier::activated, this, &TerminalQuestions::_ReadLine);
    _host.SetCredentialsQuestion([this](const QString& i_reason, auto i_take) {
        _Ask({i_reason + QLatin1Char('\n') + tr("Secret or token (Ctrl-D for none): "), true,
              [take = std::move(i_take)](const std::optional<QString>& i_line) {
                  std::optional<MachineService::AuthenticationData> data;
                  if (i_line && !i_line->isEmpty())
                      data = MachineService::AuthenticationData{{}, i_line->toStdString()};
                  take(data);
              }});
    });
    _host.SetCertificateQuestion([this](const MachineService::ServiceCertificate& i_certificate, auto i_take) {
        _Ask(
            {tr("%1 shows a certificate for which nobody vouches whom this computer trusts. Its fingerprint (SHA-256) "
                "is\n%2\nIs that what the person says who runs the service? Type yes to trust it: ")
                 .arg(QString::fromStdString(i_certificate.address), QString::fromStdString(i_certificate.fingerprint)),
             false, [take = std::move(i_take)](const std::optional<QString>& i_line) {
                 const QString word = i_line.value_or(QString()).trimmed();
                 take(word.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0 ||
                      word.compare(tr("yes"), Qt::CaseInsensitive) == 0);
             }});
    });
}

TerminalQuestions::~TerminalQuestions()
{
    _host.SetCredentialsQuestion({});
    _host.SetCertificateQuestion({});
    if (!_questions.empty() && _questions.front().isSecret)
        SetEcho(true);
}

void TerminalQuestions::_Ask(Question i_question)
{
    _questions.push_back(std::move(i_question));
    if (_questions.size() == 1)
        _ShowNext();
}

void TerminalQuestions::_ShowNext()
{
    _notifier->setEnabled(!_questions.empty());
    if (_questions.empty())
        return;
    // First, or what is typed at once would be seen.
    if (_questions.front().isSecret)
        SetEcho(false);
    Print(stderr, _questions.front().text.toUtf8());
}

void TerminalQuestions::_ReadLine()
{
    // A terminal gives a line at once; nobody types a secret that is longer.
    std::array<char, 4096> line;
    const auto count = read(STDIN_FILENO, line.data(), line.size());
    const Question question = std::move(_questions.front());
    _questions.pop_front();
    if (question.isSecret) {
        SetEcho(true);
        Print(stderr, "\n");
    }
    std::optional<QString> text;
    if (count > 0)
        text = QString::fromUtf8(line.data(), static_cast<int>(count)).remove(QLatin1Char('\n'));
    line.fill('\0');
    _ShowNext();
    question.take(text);
}

} // namespace Tour
