#pragma once

#include <QWidget>

class QLabel;
class QListWidget;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QTreeView;

namespace Workbench {

class EmptyState;
class JobList;

/// The running job with its Cancel, and what ran before with results and files.
class JobsPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit JobsPanel(JobList& io_jobs, QWidget* ip_parent = nullptr);

Q_SIGNALS:
    void CancelWanted();
    void OpenWanted(const QString& i_file);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _Arrange();
    void _SetTexts();
    void _ShowNewest();
    void _ShowDetails();

    JobList& _jobs;
    QStackedWidget* _pages;
    EmptyState* _empty;
    QWidget* _running;
    QLabel* _title;
    QLabel* _stage;
    QProgressBar* _progress;
    QPushButton* _cancel;
    QTreeView* _history;
    QLabel* _details;
    QListWidget* _files;
    QPushButton* _copy;
    QPushButton* _open;
    QPushButton* _showInFolder;
};

} // namespace Workbench
