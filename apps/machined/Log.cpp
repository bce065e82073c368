#include "machined/Log.h"

#include "tavsdk/Text.h"

#include <QString>

#include <cstdlib>
#include <ctime>

#include <unistd.h>

namespace Machined {

void Log(const std::string& i_line)
{
    std::string line;
    if (!std::getenv("JOURNAL_STREAM")) {
        const auto now = std::time(nullptr);
        std::tm time = {};
        char text[32] = {};
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ ", gmtime_r(&now, &time));
        line = text;
    }
    const auto quoted = TavSDK::Quote(i_line);
    line += quoted.substr(1, quoted.size() - 2) + '\n';
    // In one piece, so that lines of several threads do not mix.
    [[maybe_unused]] const auto written = write(STDERR_FILENO, line.data(), line.size());
}

void TakeQtMessages()
{
    qInstallMessageHandler([](QtMsgType i_type, const QMessageLogContext& i_context, const QString& i_text) {
        Log(std::string(i_context.category ? i_context.category : "") + ": " + i_text.toStdString());
        if (i_type == QtFatalMsg)
            std::abort();
    });
}

} // namespace Machined
