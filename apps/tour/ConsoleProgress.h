#pragma once

#include "vexlorui/ReferenceApiProvider.h"

namespace Tour {

class Transcript;

/// Shows the progress of a job as lines: one per stage, and one at least every ten percent.
class ConsoleProgress final : public Vexlor::IProgressDisplay
{
public:
    /// \param io_transcript must outlive the display.
    explicit ConsoleProgress(Transcript& io_transcript);

    void Begin(const QString& i_title) override;
    void SetProgress(int i_percent, const QString& i_stage) override;
    void End() override;

private:
    Transcript& _transcript;
    QString _stage;
    int _shown = -1;
};

} // namespace Tour
