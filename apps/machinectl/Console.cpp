#include "machinectl/Console.h"

#include "hosting/HostingError.h"
#include "machinectl/TextWidth.h"
#include "tavsdk/FileError.h"

#include <QCoreApplication>

#include <cerrno>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace MachineCtl {

namespace {

constexpr int UsualWidth = 80; // of a terminal that does not tell

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(MachineCtl::Console)
};

/// 0 when it is no terminal.
int FindWidth(int i_stream)
{
    if (!::isatty(i_stream))
        return 0;
    winsize size = {};
    return ::ioctl(i_stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : UsualWidth;
}

bool Write(std::FILE* ip_stream, const QString& i_text)
{
    const auto bytes = i_text.toUtf8();
    const auto size = static_cast<std::size_t>(bytes.size());
    return std::fwrite(bytes.constData(), 1, size, ip_stream) == size && std::fflush(ip_stream) == 0;
}

} // namespace

Console::Console()
    : _width(FindWidth(STDOUT_FILENO))
    , _errorWidth(FindWidth(STDERR_FILENO))
    // As no-color.org has it, an empty variable does not count.
    , _isColoured(_width > 0 && qEnvironmentVariableIsEmpty("NO_COLOR") && qgetenv("TERM") != "dumb")
{}

Console::~Console()
{
    _ClearProgress();
}

void Console::Print(const QString& i_text)
{
    _ClearProgress();
    if (!Write(stdout, i_text))
        throw Hosting::HostingError(
            Texts::tr("The output cannot be printed: %1.").arg(QString::fromStdString(TavSDK::ErrnoText(errno))));
}

void Console::Tell(const QString& i_line)
{
    _ClearProgress();
    Write(stderr, CleanText(i_line) + QLatin1Char('\n'));
}

void Console::ShowProgress(const QString& i_line)
{
    if (_errorWidth <= 0)
        return;
    Write(stderr, QStringLiteral("\r\x1b[K") + CutText(CleanText(i_line), _errorWidth - 1));
    _hasProgress = true;
}

void Console::_ClearProgress()
{
    if (_hasProgress)
        Write(stderr, QStringLiteral("\r\x1b[K"));
    _hasProgress = false;
}

} // namespace MachineCtl
