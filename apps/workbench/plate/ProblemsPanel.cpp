#include "workbench/plate/ProblemsPanel.h"

#include "workbench/plate/PlateModel.h"
#include "workbench/plate/PlateView.h"
#include "workbench/plate/ProblemFinder.h"

#include <QEvent>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>

namespace Workbench {

ProblemsPanel::ProblemsPanel(PlateView& io_view, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _view(io_view)
    , _state(new QLabel(this))
    , _list(new QListWidget(this))
{
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(_state);
    layout->addWidget(_list);
    _state->setWordWrap(true);
    _list->setObjectName(QStringLiteral("problems"));
    _list->setWordWrap(true);
    _list->setTextElideMode(Qt::ElideNone);
    connect(_list, &QListWidget::currentRowChanged, this, &ProblemsPanel::_Select);
    connect(_list, &QListWidget::itemClicked, this, [this] { _Select(_list->currentRow()); });
    connect(_list, &QListWidget::itemActivated, this, [this] {
        _Select(_list->currentRow());
        _view.ZoomToSelection();
    });
    connect(&_view.GetModel(), &PlateModel::Marked, this, &ProblemsPanel::_Fill);
    connect(&_view.GetModel(), &PlateModel::Changed, this, &ProblemsPanel::_Fill);
    connect(&_view.GetProblemFinder(), &ProblemFinder::Finished, this, &ProblemsPanel::_Fill);
    _Translate();
}

int ProblemsPanel::GetCount() const
{
    return _list->count();
}

void ProblemsPanel::changeEvent(QEvent* ip_event)
{
    if (ip_event->type() == QEvent::LanguageChange)
        _Translate();
    QWidget::changeEvent(ip_event);
}

void ProblemsPanel::_Translate()
{
    _list->setAccessibleName(tr("Problems of the plate"));
    _Fill();
}

void ProblemsPanel::_Fill()
{
    const auto& problems = _view.GetModel().GetProblems();
    if (_view.GetProblemFinder().IsBusy())
        _state->setText(tr("Looking at the parts …"));
    else if (problems.empty())
        _state->setText(_view.GetModel().GetParts().empty() ? tr("There is nothing on the plate.")
                                                            : tr("No problems: all parts can stay where they are."));
    else
        _state->setText(tr("%n problem(s)", "", static_cast<int>(problems.size())));
    QStringList texts;
    for (const PlateProblem& problem : problems)
        texts << problem.text;
    QStringList shown;
    for (int row = 0; row < _list->count(); ++row)
        shown << _list->item(row)->text();
    if (texts == shown)
        return;
    const QSignalBlocker blocker(_list);
    const int row = _list->currentRow();
    _list->clear();
    for (const QString& text : texts)
        new QListWidgetItem(style()->standardIcon(QStyle::SP_MessageBoxWarning), text, _list);
    _list->setCurrentRow(std::min(row, _list->count() - 1));
    Q_EMIT CountChanged(_list->count());
}

void ProblemsPanel::_Select(int i_row)
{
    const auto& problems = _view.GetModel().GetProblems();
    if (i_row < 0 || i_row >= static_cast<int>(problems.size()))
        return;
    const PlateProblem& problem = problems[static_cast<std::size_t>(i_row)];
    std::vector<boost::uuids::uuid> ids{problem.part};
    if (!problem.other.is_nil())
        ids.push_back(problem.other);
    _view.GetModel().GetSelection().Set(std::move(ids));
}

} // namespace Workbench
