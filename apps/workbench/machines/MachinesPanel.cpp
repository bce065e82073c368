#include "workbench/machines/MachinesPanel.h"

#include "workbench/base/Preferences.h"
#include "workbench/look/EmptyState.h"
#include "workbench/look/LineIcon.h"
#include "workbench/machines/MachineDelegate.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>

namespace Workbench {

MachinesPanel::MachinesPanel(MachineList& io_machines, Preferences& io_preferences, QWidget* ip_parent)
    : QWidget(ip_parent)
    , _preferences(io_preferences)
    , _machines(io_machines)
    , _search(new QLineEdit(this))
    , _kind(new QComboBox(this))
    , _all(new QCheckBox(this))
    , _view(new QTreeView(this))
    , _pages(new QStackedWidget(this))
    , _empty(new EmptyState(QStringLiteral("machine"), this))
    , _attach(new QPushButton(this))
    , _favourite(new QPushButton(this))
{
    _filter.setSourceModel(&io_machines);
    _view->setModel(&_filter);
    _view->setItemDelegate(new MachineDelegate(_view));
    _view->setHeaderHidden(true);
    _view->setRootIsDecorated(false);
    _view->setIndentation(0);
    _view->setItemsExpandable(false);
    _view->setUniformRowHeights(false);
    _view->setDragEnabled(true);
    _view->setDragDropMode(QAbstractItemView::DragOnly);
    _view->setContextMenuPolicy(Qt::CustomContextMenu);
    _view->setFrameShape(QFrame::NoFrame);
    _search->setClearButtonEnabled(true);
    _search->addAction(MakeLineIcon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    _all->setChecked(io_preferences.ShowsAllMachines());
    _pages->addWidget(_view);
    _pages->addWidget(_empty);

    auto* const filters = new QHBoxLayout;
    filters->addWidget(_kind, 1);
    filters->addWidget(_all);
    auto* const buttons = new QHBoxLayout;
    buttons->addWidget(_attach, 1);
    buttons->addWidget(_favourite);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(8, 8, 8, 8);
    column->addWidget(_search);
    column->addLayout(filters);
    column->addWidget(_pages, 1);
    column->addLayout(buttons);

    _Connect();
    _SetTexts();
    _ShowRows();
}

void MachinesPanel::_Connect()
{
    connect(_search, &QLineEdit::textChanged, &_filter, &MachineFilter::SetWords);
    connect(_kind, qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this](int i_kind) { _filter.SetKind(static_cast<MachineFilter::Kind>(i_kind)); });
    connect(_all, &QCheckBox::toggled, &_preferences, &Preferences::SetShowsAllMachines);
    connect(_view, &QTreeView::activated, this, [this](const QModelIndex& i_index) {
        if (const QUuid id = i_index.data(MachineList::IdRole).toUuid(); !id.isNull())
            Q_EMIT AttachWanted(id);
        else
            _Act(i_index);
    });
    connect(_view, &QTreeView::customContextMenuRequested, this, &MachinesPanel::_ShowMenu);
    connect(_attach, &QPushButton::clicked, this, [this] { _Act(_view->currentIndex()); });
    connect(_favourite, &QPushButton::clicked, this, [this] {
        const QString id = _GetCurrent().data(MachineList::IdRole).toUuid().toString(QUuid::WithoutBraces);
        _preferences.SetFavourite(id, !_preferences.IsFavourite(id));
    });
    // From the list of what is found: Enter in the search attaches the only one that is left.
    connect(_search, &QLineEdit::returnPressed, this, [this] {
        if (_filter.GetMachineCount() == 1 && _filter.rowCount() == 1)
            Q_EMIT AttachWanted(_filter.index(0, 0, _filter.index(0, 0)).data(MachineList::IdRole).toUuid());
    });
    // A service tells of its machines one by one, and the view lays all of them out each time.
    _rowsTimer.setSingleShot(true);
    connect(&_rowsTimer, &QTimer::timeout, this, &MachinesPanel::_ShowRows);
    const auto showRows = [this] {
        if (!_rowsTimer.isActive())
            _rowsTimer.start();
    };
    for (const auto signal : {&QAbstractItemModel::rowsInserted, &QAbstractItemModel::rowsRemoved})
        connect(&_filter, signal, this, showRows);
    // What became of a service may be all that there is to see.
    connect(&_filter, &QAbstractItemModel::dataChanged, this, [this, showRows](const QModelIndex& i_first) {
        if (i_first.parent().isValid())
            _ShowButtons();
        else
            showRows();
    });
    connect(_view->selectionModel(), &QItemSelectionModel::currentChanged, this, &MachinesPanel::_ShowButtons);
}

void MachinesPanel::FocusSearch()
{
    _search->setFocus(Qt::ShortcutFocusReason);
    _search->selectAll();
}

void MachinesPanel::_Act(const QModelIndex& i_index)
{
    if (const QUuid id = i_index.data(MachineList::IdRole).toUuid(); id.isNull()) {
        if (!i_index.data(MachineList::OfferRole).toString().isEmpty())
            Q_EMIT OfferWanted(static_cast<MachineService::ServiceId>(i_index.data(MachineList::ServiceRole).toInt()));
    } else if (i_index.data(MachineList::AttachedRole).toBool()) {
        Q_EMIT DetachWanted();
    } else {
        Q_EMIT AttachWanted(id);
    }
}

bool MachinesPanel::_HasTrouble() const
{
    for (int row = 0; row < _filter.rowCount(); ++row) {
        if (_filter.index(row, 0).data(MachineList::TroubleRole).toBool())
            return true;
    }
    return false;
}

QModelIndex MachinesPanel::_GetCurrent() const
{
    const QModelIndex current = _view->currentIndex();
    return current.data(MachineList::IdRole).toUuid().isNull() ? QModelIndex() : current;
}

void MachinesPanel::_ShowRows()
{
    _view->expandAll();
    _pages->setCurrentIndex(_filter.GetMachineCount() > 0 || _HasTrouble() ? 0 : 1);
    if (_filter.IsAsking())
        _empty->SetTexts(tr("No machine fits"), tr("Change the words or the filter above."));
    else
        _empty->SetTexts(tr("No machines yet"), tr("Machines appear here as soon as their service tells of them."));
    _ShowButtons();
}

void MachinesPanel::_ShowButtons()
{
    const QModelIndex current = _GetCurrent();
    const bool isAttached = current.data(MachineList::AttachedRole).toBool();
    const bool isFavourite = current.data(MachineList::FavouriteRole).toBool();
    const QString offer = _view->currentIndex().data(MachineList::OfferRole).toString();
    _attach->setEnabled(!offer.isEmpty() ||
                        (current.isValid() && (isAttached || !current.data(MachineList::GoneRole).toBool())));
    _attach->setText(!offer.isEmpty() ? offer : isAttached ? tr("Detach") : tr("Attach to the scene"));
    _attach->setToolTip(offer.isEmpty()
                            ? tr("The scene is prepared for this machine (Enter, or drag it onto the plate).")
                            : _view->currentIndex().data(Qt::ToolTipRole).toString());
    _favourite->setEnabled(current.isValid());
    _favourite->setIcon(MakeLineIcon(isFavourite ? QStringLiteral("starred") : QStringLiteral("star")));
    const QString text = isFavourite ? tr("Remove from the favourites") : tr("Add to the favourites");
    _favourite->setToolTip(text);
    _favourite->setAccessibleName(text);
}

void MachinesPanel::_ShowMenu(const QPoint& i_at)
{
    const bool isMachine = _GetCurrent().isValid();
    if (!isMachine && !_attach->isEnabled())
        return;
    QMenu menu(this);
    menu.addAction(_attach->text(), _attach, &QPushButton::click)->setEnabled(_attach->isEnabled());
    if (isMachine)
        menu.addAction(_favourite->toolTip(), _favourite, &QPushButton::click);
    menu.exec(_view->viewport()->mapToGlobal(i_at));
}

void MachinesPanel::changeEvent(QEvent* ip_event)
{
    QWidget::changeEvent(ip_event);
    if (ip_event->type() == QEvent::LanguageChange) {
        _SetTexts();
        _ShowRows();
    }
}

void MachinesPanel::_SetTexts()
{
    _search->setPlaceholderText(tr("Search machines"));
    _search->setAccessibleName(tr("Search machines"));
    const int kind = std::max(_kind->currentIndex(), 0);
    {
        const QSignalBlocker blocker(_kind);
        _kind->clear();
        _kind->addItems({tr("All machines"), tr("Favourites"), tr("Ready"), tr("Filament"), tr("Resin")});
        _kind->setCurrentIndex(kind);
    }
    _kind->setAccessibleName(tr("Which machines are shown"));
    _all->setText(tr("Show all"));
    _all->setToolTip(tr("Also machines without a build volume and templates, which are left out otherwise."));
    _view->setAccessibleName(tr("Machines"));
}

} // namespace Workbench
