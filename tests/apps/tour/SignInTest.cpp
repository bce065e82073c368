#include "apps/tour/TourFixture.h"

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// The real program at a terminal, on a daemon that nobody vouches for and that lets in who has a token.
class SignInTest : public TestSupport::TourFixture
{
protected:
    SignInTest()
        : _terminal(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK))
    {
        EXPECT_EQ(grantpt(_terminal), 0);
        EXPECT_EQ(unlockpt(_terminal), 0);
        _process.setStandardInputFile(QString::fromLatin1(ptsname(_terminal)));
        const auto run = [this](const char* ip_line) {
            const auto outcome = RunShellIn(ip_line);
            EXPECT_EQ(outcome.status, 0) << outcome.errors;
            return outcome.output;
        };
        run("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost -keyout key.pem -out "
            "certificate.pem");
        _token = run("\"$0\" token add olga --tokens tokens");
        _token.pop_back();
        _daemon.setProcessEnvironment(_environment);
        _daemon.setWorkingDirectory(_dir.path());
        _daemon.start(QStringLiteral(MACHINED_PROGRAM),
                      QStringLiteral("--listen 127.0.0.1:0 --certificate certificate.pem --key key.pem --tokens tokens "
                                     "--data daemon --print-address --socket")
                              .split(QLatin1Char(' '))
                          << QString::fromStdString(Path("socket/machined")));
        std::string told;
        while (told.find("ready") == std::string::npos && _daemon.waitForReadyRead(60'000))
            told += _daemon.readAllStandardOutput().toStdString();
        const auto begin = told.find("tls://");
        EXPECT_NE(begin, std::string::npos) << _daemon.readAllStandardError().toStdString();
        _address = begin == std::string::npos ? "" : told.substr(begin, told.find('\n', begin) - begin);
    }
    ~SignInTest() override
    {
        _daemon.terminate();
        EXPECT_TRUE(_daemon.waitForFinished(30'000));
        close(_terminal);
    }
    TestSupport::Outcome RunShellIn(const char* ip_line)
    {
        QProcess shell;
        shell.setWorkingDirectory(_dir.path());
        shell.setProcessEnvironment(_environment);
        shell.start(QStringLiteral("bash"),
                    {QStringLiteral("-c"), QLatin1String(ip_line), QStringLiteral(MACHINED_PROGRAM)});
        return Finish(shell);
    }
    /// Waits until it asks so, then types.
    void Answer(const char* ip_question, const std::string& i_line)
    {
        while (_errors.find(ip_question) == std::string::npos && _process.waitForReadyRead(60'000))
            _errors += _process.readAllStandardError().toStdString();
        ASSERT_THAT(_errors, HasSubstr(ip_question));
        _errors.clear();
        ASSERT_EQ(write(_terminal, i_line.data(), i_line.size()), static_cast<ssize_t>(i_line.size()));
    }
    /// What the terminal has shown of what was typed.
    std::string ReadEcho() const
    {
        std::string shown(4096, '\0');
        const auto count = read(_terminal, shown.data(), shown.size());
        shown.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return shown;
    }

    const int _terminal;
    QProcess _daemon;
    std::string _token;
    std::string _address;
    std::string _errors;
};

TEST_F(SignInTest, WhoSitsAtTheTerminalIsAskedAndTheSecretIsSeenNowhere)
{
    _process.setReadChannel(QProcess::StandardError);
    Start(_process, {"--list", "--service", _address});
    Answer("Type yes to trust it: ", "yes\n");
    Answer("Secret or token (Ctrl-D for none): ", "guessed\n");
    Answer("Secret or token (Ctrl-D for none): ", _token + "\n");
    const auto outcome = Finish(_process);
    EXPECT_EQ(outcome.status, 0) << outcome.errors;
    EXPECT_THAT(outcome.output, HasSubstr("Kestrel 180"));
    const auto echo = ReadEcho();
    EXPECT_THAT(echo, HasSubstr("yes"));
    EXPECT_THAT(echo, Not(HasSubstr("guessed")));
    EXPECT_THAT(echo, Not(HasSubstr(_token)));
    EXPECT_THAT(outcome.output + outcome.errors, Not(HasSubstr(_token)));

    // The certificate is known by now.
    Start(_process, {"--list", "--service", _address});
    Answer("Secret or token (Ctrl-D for none): ", "\x04");
    const auto declined = Finish(_process);
    EXPECT_EQ(declined.status, 1);
    EXPECT_THAT(declined.errors, HasSubstr("asks for credentials"));
}

TEST_F(SignInTest, WithoutATerminalNobodyIsAsked)
{
    _process.setStandardInputFile(QProcess::nullDevice());
    const auto outcome = Run({"--list", "--service", _address});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("fingerprint"));
    EXPECT_THAT(outcome.errors, Not(HasSubstr("Type yes")));
}

} // namespace
