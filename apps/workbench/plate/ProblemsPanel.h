#pragma once

#include <QWidget>

class QLabel;
class QListWidget;

namespace Workbench {

class PlateView;

/// The list of what keeps the parts from being built as they stand. Choosing a line selects its parts; Enter or a
/// double click shows them.
///
/// Thread: UI thread.
/// Ownership: the view must outlive it.
class ProblemsPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit ProblemsPanel(PlateView& io_view, QWidget* ip_parent = nullptr);

    /// Of problems that are listed.
    int GetCount() const;

Q_SIGNALS:
    /// For who shows the number beside the panel's name.
    void CountChanged(int i_count);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _Fill();
    void _Translate();
    void _Select(int i_row);

    PlateView& _view;
    QLabel* const _state;
    QListWidget* const _list;
};

} // namespace Workbench
