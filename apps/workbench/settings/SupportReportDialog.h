#pragma once

#include "workbench/base/Background.h"
#include "workbench/settings/SupportReport.h"

#include <QDialog>

class QLabel;

namespace Workbench {

/// Shows all that a report holds, and writes it only then.
///
/// Thread: UI thread.
class SupportReportDialog final : public QDialog
{
    Q_OBJECT

public:
    SupportReportDialog(SupportReport i_report, QWidget* ip_parent);

    /// As the button does once a name was chosen.
    void Save(const QString& i_file);

private:
    void _ChooseFile();
    void _Tell(const QString& i_sentence);

    const SupportReport _report;
    QLabel* _outcome;
    Background _background;
};

} // namespace Workbench
