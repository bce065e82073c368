#include "workbench/base/LogKeeper.h"

#include "tavsdk/Mutex.h"

#include <QDateTime>
#include <QLoggingCategory>

#include <deque>

namespace Workbench::LogKeeper {

namespace {

constexpr std::size_t MostLines = 2000;
constexpr int LongestLine = 1000;

struct Kept
{
    TavSDK::Mutex mutex; ///< guards lines
    std::deque<QString> lines TAVSDK_GUARDED_BY(mutex);
    QtMessageHandler former = nullptr;
};

/// Never destroyed: something may be logged until the very end.
Kept& GetKept()
{
    static auto* const kept = new Kept;
    return *kept;
}

void Keep(QtMsgType i_type, const QMessageLogContext& i_context, const QString& i_text)
{
    Kept& kept = GetKept();
    const QString time = QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz "));
    {
        const TavSDK::MutexLock lock(kept.mutex);
        kept.lines.push_back(time + qFormatLogMessage(i_type, i_context, i_text).left(LongestLine));
        if (kept.lines.size() > MostLines)
            kept.lines.pop_front();
    }
    if (kept.former)
        kept.former(i_type, i_context, i_text);
}

} // namespace

void Install()
{
    if (const QtMessageHandler former = qInstallMessageHandler(&Keep); former != &Keep)
        GetKept().former = former;
}

QStringList GetLines()
{
    Kept& kept = GetKept();
    const TavSDK::MutexLock lock(kept.mutex);
    QStringList lines;
    for (const QString& line : kept.lines)
        lines << line;
    return lines;
}

void SetDetailed(bool i_is_detailed)
{
    QLoggingCategory::setFilterRules(i_is_detailed ? QStringLiteral("machineservice.*=true")
                                                   : QStringLiteral("machineservice.*.debug=false"));
}

} // namespace Workbench::LogKeeper
