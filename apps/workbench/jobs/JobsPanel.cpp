#include "workbench/jobs/JobsPanel.h"

#include "workbench/jobs/JobList.h"
#include "workbench/look/EmptyState.h"
#include "workbench/look/LineIcon.h"

#include <QClipboard>
#include <QEvent>
#include <QFileInfo>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace Workbench {

JobsPanel::JobsPanel(JobList& io_jobs, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _jobs(io_jobs)
    , _pages(new QStackedWidget(this))
    , _empty(new EmptyState(QStringLiteral("running"), this))
    , _running(new QWidget(this))
    , _title(new QLabel(this))
    , _stage(new QLabel(this))
    , _progress(new QProgressBar(this))
    , _cancel(new QPushButton(MakeLineIcon(QStringLiteral("stop")), QString(), this))
    , _history(new QTreeView(this))
    , _details(new QLabel(this))
    , _files(new QListWidget(this))
    , _copy(new QPushButton(MakeLineIcon(QStringLiteral("copy")), QString(), this))
    , _open(new QPushButton(MakeLineIcon(QStringLiteral("file")), QString(), this))
    , _showInFolder(new QPushButton(MakeLineIcon(QStringLiteral("folder")), QString(), this))
{
    for (QLabel* const label : {_title, _stage, _details})
        label->setTextFormat(Qt::PlainText);
    _stage->setForegroundRole(QPalette::PlaceholderText);
    _details->setWordWrap(true);
    _details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    _history->setModel(&_jobs);
    _history->header()->setStretchLastSection(false);
    _history->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    _history->header()->setSectionResizeMode(JobList::StateColumn, QHeaderView::Stretch);
    _history->setRootIsDecorated(false);
    _history->setUniformRowHeights(true);
    _history->setAllColumnsShowFocus(true);
    _history->setFrameShape(QFrame::NoFrame);
    _files->setMaximumHeight(84);
    _Arrange();

    connect(_cancel, &QPushButton::clicked, this, &JobsPanel::CancelWanted);
    connect(&_jobs, &JobList::NewestChanged, this, &JobsPanel::_ShowNewest);
    connect(&_jobs, &JobList::Begun, this, [this] { _history->setCurrentIndex(_jobs.index(0, 0)); });
    connect(_history->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &JobsPanel::_ShowDetails);
    connect(_copy, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(_jobs.Describe(_history->currentIndex().row())); });
    const auto open = [this] {
        if (const QListWidgetItem* const item = _files->currentItem())
            Q_EMIT OpenWanted(item->data(Qt::UserRole).toString());
    };
    connect(_open, &QPushButton::clicked, this, open);
    connect(_files, &QListWidget::itemActivated, this, open);
    connect(_showInFolder, &QPushButton::clicked, this, [this] {
        if (const QListWidgetItem* const item = _files->currentItem())
            Q_EMIT OpenWanted(QFileInfo(item->data(Qt::UserRole).toString()).absolutePath());
    });
    _SetTexts();
    _ShowNewest();
}

void JobsPanel::_Arrange()
{
    auto* const running = new QHBoxLayout(_running);
    running->setContentsMargins(0, 0, 0, 0);
    auto* const words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(_title);
    words->addWidget(_stage);
    running->addLayout(words, 2);
    running->addWidget(_progress, 3);
    running->addWidget(_cancel);

    auto* const detailButtons = new QHBoxLayout;
    for (QPushButton* const button : {_open, _showInFolder, _copy})
        detailButtons->addWidget(button);
    detailButtons->addStretch();
    auto* const details = new QVBoxLayout;
    details->addWidget(_details);
    details->addWidget(_files);
    details->addStretch();
    details->addLayout(detailButtons);
    auto* const below = new QHBoxLayout;
    below->addWidget(_history, 3);
    below->addLayout(details, 2);
    auto* const page = new QWidget(this);
    auto* const column = new QVBoxLayout(page);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(_running);
    column->addLayout(below, 1);
    _pages->addWidget(_empty);
    _pages->addWidget(page);
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(_pages);
}

void JobsPanel::_SetTexts()
{
    _empty->SetTexts(tr("Nothing has run yet"),
                     tr("What a machine does for you is shown here, with its progress and a Cancel. You can go on "
                        "working meanwhile."));
    _progress->setAccessibleName(tr("Progress"));
    _history->setAccessibleName(tr("Jobs since the start"));
    _files->setAccessibleName(tr("Files of the job"));
    _copy->setText(tr("Copy details"));
    _open->setText(tr("Open"));
    _showInFolder->setText(tr("Show in folder"));
}

void JobsPanel::changeEvent(QEvent* ip_event)
{
    QWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange) {
        _SetTexts();
        _ShowNewest();
    }
}

void JobsPanel::_ShowNewest()
{
    _pages->setCurrentIndex(_jobs.rowCount() > 0 ? 1 : 0);
    _running->setVisible(_jobs.IsRunning());
    if (_jobs.IsRunning()) {
        const JobList::Entry& job = *_jobs.GetNewest();
        const bool isCancelling = job.state == JobList::State::Cancelling;
        _title->setText(job.machine.isEmpty() ? job.title : tr("%1 – %2").arg(job.title, job.machine));
        const QString time = JobList::GetDuration(job);
        _stage->setText(job.stage.isEmpty() ? time : tr("%1 · %2").arg(job.stage, time));
        _progress->setValue(job.percent);
        _cancel->setEnabled(!isCancelling);
        _cancel->setText(isCancelling ? tr("Cancelling") : tr("Cancel"));
    }
    _ShowDetails();
}

void JobsPanel::_ShowDetails()
{
    const JobList::Entry* const job = _jobs.GetEntry(_history->currentIndex().row());
    QStringList files = job ? job->files : QStringList();
    QStringList shown;
    for (int row = 0; row < _files->count(); ++row)
        shown << _files->item(row)->data(Qt::UserRole).toString();
    if (files != shown) {
        _files->clear();
        for (const QString& file : qAsConst(files)) {
            auto* const item = new QListWidgetItem(QFileInfo(file).fileName(), _files);
            item->setData(Qt::UserRole, file);
            item->setToolTip(file);
        }
        _files->setCurrentRow(0);
    }
    QString text;
    if (job) {
        text = job->title + QStringLiteral(": ") + JobList::GetStateName(*job);
        if (!job->failures.isEmpty())
            text += QLatin1Char('\n') + job->failures.join(QLatin1Char('\n'));
    }
    _details->setText(text);
    _files->setVisible(!files.isEmpty());
    _open->setVisible(!files.isEmpty());
    _showInFolder->setVisible(!files.isEmpty());
    _copy->setEnabled(job != nullptr);
}

} // namespace Workbench
