#include "tour/ConsoleProgress.h"

#include "tour/Transcript.h"

namespace Tour {

ConsoleProgress::ConsoleProgress(Transcript& io_transcript)
    : _transcript(io_transcript)
{}

void ConsoleProgress::Begin(const QString& i_title)
{
    _stage.clear();
    _shown = -1;
    _transcript.Line(QStringLiteral("  ") + i_title + QStringLiteral(" …"));
}

void ConsoleProgress::SetProgress(int i_percent, const QString& i_stage)
{
    if (i_stage == _stage && i_percent < _shown + 10 && !(i_percent == 100 && _shown < 100))
        return;
    _stage = i_stage;
    _shown = i_percent;
    _transcript.Line(QStringLiteral("  %1 %  %2").arg(i_percent, 3).arg(i_stage));
}

void ConsoleProgress::End() {}

} // namespace Tour
