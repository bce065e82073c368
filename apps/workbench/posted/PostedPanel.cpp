#include "workbench/posted/PostedPanel.h"

#include "workbench/look/ElidedLabel.h"
#include "workbench/look/EmptyState.h"
#include "workbench/look/LineIcon.h"
#include "workbench/posted/PostedJobs.h"
#include "workbench/posted/PostedWords.h"

#include <QAction>
#include <QDateTime>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QResizeEvent>
#include <QScrollArea>
#include <QStackedWidget>
#include <QToolBar>
#include <QTreeView>
#include <QVBoxLayout>

namespace Workbench {

namespace {

using Hosting::Jobs::Action;
using Hosting::Jobs::Job;

// What has no room in a list of less is told beside it. Units: average characters.
constexpr int WidthWithAge = 34;
constexpr int WidthWithMachine = 60;
constexpr Action AllActions[] = {Action::Hold,       Action::Release,     Action::Acknowledge,
                                 Action::StartAgain, Action::ConfirmDone, Action::Cancel};

QString GetIcon(Action i_action)
{
    return i_action == Action::Cancel        ? QStringLiteral("stop")
           : i_action == Action::Release     ? QStringLiteral("send")
           : i_action == Action::StartAgain  ? QStringLiteral("redo")
           : i_action == Action::ConfirmDone ? QStringLiteral("done")
           : i_action == Action::Hold        ? QStringLiteral("running")
                                             : QStringLiteral("machine");
}

} // namespace

PostedPanel::PostedPanel(PostedJobs& io_jobs, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _jobs(io_jobs)
    , _pages(new QStackedWidget(this))
    , _empty(new EmptyState(QStringLiteral("send"), this))
    , _start(new QPushButton(this))
    , _away(new QLabel(this))
    , _list(new QTreeView(this))
    , _more(new QPushButton(this))
    , _title(new ElidedLabel(this))
    , _details(new QLabel(this))
    , _progress(new QProgressBar(this))
    , _bar(new QToolBar(this))
    , _save(new QAction(MakeLineIcon(QStringLiteral("save")), QString(), this))
    , _page(new QAction(MakeLineIcon(QStringLiteral("open")), QString(), this))
{
    _empty->AddWidget(_start);
    auto* const around = new QScrollArea(this);
    around->setWidget(_empty);
    around->setWidgetResizable(true);
    around->setFrameShape(QFrame::NoFrame);
    around->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    around->setFocusPolicy(Qt::NoFocus);
    _pages->addWidget(around);
    _pages->addWidget(_MakePage());
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(_pages);
    _Connect();
    _SetTexts();
    _ShowState();
}

QWidget* PostedPanel::_MakePage()
{
    _away->setTextFormat(Qt::PlainText);
    _away->setWordWrap(true);
    _list->setModel(&_jobs);
    _list->header()->setStretchLastSection(false);
    _list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    _list->header()->setSectionResizeMode(PostedJobs::NameColumn, QHeaderView::Stretch);
    // Widths by what is seen: of long lists not every row is measured.
    _list->header()->setResizeContentsPrecision(50);
    _list->setRootIsDecorated(false);
    _list->setUniformRowHeights(true);
    _list->setAllColumnsShowFocus(true);
    _list->setFrameShape(QFrame::NoFrame);
    _list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    _list->setContextMenuPolicy(Qt::ActionsContextMenu);
    for (const Action action : AllActions) {
        auto* const button = new QAction(MakeLineIcon(GetIcon(action)), QString(), this);
        connect(button, &QAction::triggered, this, [this, action] { _Ask(action); });
        _actions[action] = button;
        _bar->addAction(button);
    }
    _bar->addActions({_save, _page});
    _bar->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    _bar->setIconSize(QSize(16, 16));
    _list->addActions(_bar->actions());

    auto* const left = new QVBoxLayout;
    left->addWidget(_away);
    left->addWidget(_list, 1);
    left->addWidget(_more, 0, Qt::AlignLeft);
    auto* const page = new QWidget(this);
    auto* const column = new QVBoxLayout(page);
    column->setContentsMargins(8, 8, 8, 4);
    column->setSpacing(4);
    auto* const row = new QHBoxLayout;
    row->addLayout(left, 3);
    row->addWidget(_MakeDetails(), 2);
    column->addLayout(row, 1);
    column->addWidget(_bar);
    return page;
}

QWidget* PostedPanel::_MakeDetails()
{
    QFont bold = _title->font();
    bold.setBold(true);
    _title->setFont(bold);
    for (QLabel* const label : {_title, _details})
        label->setTextFormat(Qt::PlainText);
    _details->setWordWrap(true);
    _details->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    auto* const details = new QWidget(this);
    auto* const column = new QVBoxLayout(details);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(_title);
    column->addWidget(_details);
    column->addWidget(_progress);
    column->addStretch();
    auto* const around = new QScrollArea(this);
    around->setWidget(details);
    around->setWidgetResizable(true);
    around->setFrameShape(QFrame::NoFrame);
    around->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    around->setFocusPolicy(Qt::NoFocus);
    return around;
}

void PostedPanel::_Connect()
{
    connect(&_jobs, &PostedJobs::StateChanged, this, &PostedPanel::_ShowState);
    connect(&_jobs, &QAbstractItemModel::dataChanged, this, &PostedPanel::_ShowSelected);
    connect(&_jobs, &QAbstractItemModel::rowsInserted, this, &PostedPanel::_ShowState);
    connect(&_jobs, &QAbstractItemModel::rowsRemoved, this, &PostedPanel::_ShowState);
    connect(_list->selectionModel(), &QItemSelectionModel::currentRowChanged, this, &PostedPanel::_ShowSelected);
    connect(_more, &QPushButton::clicked, &_jobs, &PostedJobs::LoadMore);
    connect(_start, &QPushButton::clicked, this, &PostedPanel::StartWanted);
    connect(_save, &QAction::triggered, this, [this] {
        if (const Job* const job = _GetSelected(); job && job->machineFile)
            Q_EMIT SaveWanted(_GetSelectedId(), QString::fromStdString(job->machineFile->name));
    });
    connect(_page, &QAction::triggered, this, [this] {
        if (_GetSelected())
            _jobs.MakePage(_GetSelectedId());
    });
}

void PostedPanel::Select(const QString& i_job)
{
    if (const int row = _jobs.FindRow(i_job); row >= 0)
        _list->setCurrentIndex(_jobs.index(row, 0));
}

const Job* PostedPanel::_GetSelected() const
{
    return _list->currentIndex().isValid() ? _jobs.GetJob(_list->currentIndex().row()) : nullptr;
}

QString PostedPanel::_GetSelectedId() const
{
    const Job* const job = _GetSelected();
    return job ? QString::fromStdString(job->id) : QString();
}

void PostedPanel::_Ask(Action i_action)
{
    const Job* const job = _GetSelected();
    if (!job)
        return;
    const QString id = _GetSelectedId();
    const ActionQuestion question = PostedWords::GetQuestion(i_action);
    if (question.title.isEmpty())
        return _jobs.Act(id, i_action);
    auto* const box =
        new QMessageBox(QMessageBox::Question, question.title,
                        question.text.arg(QString::fromStdString(job->name).simplified()), QMessageBox::NoButton, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setTextFormat(Qt::PlainText);
    const QAbstractButton* const yes = box->addButton(PostedWords::GetAction(i_action), QMessageBox::AcceptRole);
    QPushButton* const back = box->addButton(tr("Back"), QMessageBox::RejectRole);
    box->setEscapeButton(back);
    box->setDefaultButton(back);
    connect(box, &QDialog::finished, this, [this, box, yes, id, i_action] {
        if (box->clickedButton() == yes)
            _jobs.Act(id, i_action);
    });
    box->open();
}

void PostedPanel::_ShowState()
{
    const PostedJobs::State state = _jobs.GetState();
    const bool isAway = state == PostedJobs::State::Away;
    const bool isEmpty = _jobs.rowCount() == 0;
    _pages->setCurrentIndex(isEmpty ? 0 : 1);
    _start->setVisible(isAway);
    if (isAway)
        _empty->SetTexts(tr("The Machine Manager is not there"), _jobs.GetWhy());
    else if (state == PostedJobs::State::Starting)
        _empty->SetTexts(tr("The Machine Manager is starting"), tr("Your jobs are shown as soon as it is there."));
    else
        _empty->SetTexts(tr("No jobs yet"),
                         tr("Attach a machine of the Machine Manager and post a job: it goes on when this window is "
                            "closed, and is shown here with its state."));
    _away->setVisible(isAway);
    _away->setText(tr("The jobs are shown as they were last. %1").arg(_jobs.GetWhy()));
    _more->setVisible(_jobs.HasMore());
    if (!isEmpty && !_list->currentIndex().isValid())
        _list->setCurrentIndex(_jobs.index(0, 0));
    _ShowSelected();
}

void PostedPanel::_ShowSelected()
{
    const Job* const job = _GetSelected();
    _title->setText(job ? PostedWords::GetTitle(*job) : QString());
    QStringList lines;
    if (job) {
        const QString reason = PostedWords::GetReason(*job);
        lines << (reason.isEmpty() ? PostedWords::GetState(*job)
                                   : tr("%1: %2").arg(PostedWords::GetState(*job), reason));
        if (const QString machine = PostedWords::GetMachine(*job); !machine.isEmpty())
            lines << tr("Machine: %1").arg(machine);
        if (job->copies > 1)
            lines << tr("Copies: %1 of %2 are done").arg(job->copiesDone).arg(job->copies);
        const auto posted = QDateTime::fromMSecsSinceEpoch(job->created.time_since_epoch().count());
        lines << tr("Posted: %1 (%2)").arg(QLocale().toString(posted, QLocale::ShortFormat), PostedWords::GetAge(*job));
    }
    if (const QString text = lines.join(QLatin1Char('\n')); text != _details->text())
        _details->setText(text);
    _progress->setVisible(job && job->state == "processing");
    if (job) {
        _progress->setValue(job->percent);
        const QString stage = QString::fromStdString(job->stage).simplified();
        _progress->setToolTip(stage);
        _progress->setFormat(stage.isEmpty() ? tr("%p %") : tr("%p % · %1").arg(stage));
    }
    _ShowActions(job);
}

void PostedPanel::_ShowActions(const Job* ip_job)
{
    const bool isActing = ip_job && _jobs.IsActing(QString::fromStdString(ip_job->id));
    for (const auto& [action, button] : _actions) {
        const bool isAllowed = ip_job && _jobs.Allows(*ip_job, action);
        button->setEnabled(isAllowed);
        // While something is done with the job they stay where they are.
        if (!isActing)
            button->setVisible(isAllowed);
    }
    const bool isThere = ip_job && _jobs.GetState() == PostedJobs::State::There;
    _save->setVisible(ip_job && ip_job->machineFile);
    _page->setVisible(ip_job != nullptr);
    for (QAction* const button : {_save, _page})
        button->setEnabled(isThere && !isActing);
}

void PostedPanel::_ShowColumns()
{
    const int characters = _list->width() / fontMetrics().averageCharWidth();
    _list->setColumnHidden(PostedJobs::AgeColumn, characters < WidthWithAge);
    _list->setColumnHidden(PostedJobs::MachineColumn, characters < WidthWithMachine);
}

void PostedPanel::_SetTexts()
{
    _list->setAccessibleName(tr("My jobs"));
    _details->setAccessibleName(tr("About the selected job"));
    _progress->setAccessibleName(tr("Progress of the selected job"));
    _start->setText(tr("Start the Machine Manager"));
    _more->setText(tr("Show older jobs"));
    _save->setText(tr("Save machine file as…"));
    _page->setText(tr("Show in the browser"));
    for (const auto& [action, button] : _actions) {
        button->setText(PostedWords::GetAction(action));
        button->setToolTip(PostedWords::GetActionHint(action));
    }
    _bar->setAccessibleName(tr("What can be done with the selected job"));
    _list->viewport()->update();
    _list->header()->viewport()->update();
}

void PostedPanel::changeEvent(QEvent* ip_event)
{
    QWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange) {
        _SetTexts();
        _ShowState();
    }
}

void PostedPanel::resizeEvent(QResizeEvent* ip_event)
{
    QWidget::resizeEvent(ip_event);
    // The list gets its place when the layouts have theirs.
    QMetaObject::invokeMethod(this, &PostedPanel::_ShowColumns, Qt::QueuedConnection);
}

} // namespace Workbench
