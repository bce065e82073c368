#pragma once

#include "hosting/jobs/JobsTypes.h"

#include <QString>
#include <QWidget>

#include <map>

class QAction;
class QLabel;
class QProgressBar;
class QPushButton;
class QStackedWidget;
class QToolBar;
class QTreeView;

namespace Workbench {

class EmptyState;
class PostedJobs;

/// "My jobs": what was posted to the Machine Manager, and what can be done with the selected job.
///
/// Thread: UI thread.
/// Ownership: the jobs must outlive it.
class PostedPanel final : public QWidget
{
    Q_OBJECT

public:
    explicit PostedPanel(PostedJobs& io_jobs, QWidget* ip_parent = nullptr);

    void Select(const QString& i_job);

Q_SIGNALS:
    /// \param i_name of the file, as the manager has it.
    void SaveWanted(const QString& i_job, const QString& i_name);
    /// The manager is away, and shall be started.
    void StartWanted();

protected:
    void changeEvent(QEvent* ip_event) override;
    void resizeEvent(QResizeEvent* ip_event) override;

private:
    QWidget* _MakePage();
    QWidget* _MakeDetails();
    void _Connect();
    void _SetTexts();
    void _ShowState();
    void _ShowSelected();
    void _ShowActions(const Hosting::Jobs::Job* ip_job);
    void _ShowColumns();
    void _Ask(Hosting::Jobs::Action i_action);
    const Hosting::Jobs::Job* _GetSelected() const;
    QString _GetSelectedId() const;

    PostedJobs& _jobs;
    QStackedWidget* _pages;
    EmptyState* _empty;
    QPushButton* _start;
    QLabel* _away;
    QTreeView* _list;
    QPushButton* _more;
    QLabel* _title;
    QLabel* _details;
    QProgressBar* _progress;
    QToolBar* _bar; ///< what has no room is in its menu
    std::map<Hosting::Jobs::Action, QAction*> _actions;
    QAction* _save;
    QAction* _page;
};

} // namespace Workbench
