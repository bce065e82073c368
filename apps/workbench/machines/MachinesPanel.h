#pragma once

#include "workbench/machines/MachineFilter.h"
#include "workbench/machines/MachineList.h"

#include <QTimer>
#include <QWidget>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QPushButton;
class QStackedWidget;
class QTreeView;

namespace Workbench {

class EmptyState;
class Preferences;

/// The machines to choose from. A double click, Enter, the button, or dragging one onto the plate asks to attach it.
class MachinesPanel final : public QWidget
{
    Q_OBJECT

public:
    MachinesPanel(MachineList& io_machines, Preferences& io_preferences, QWidget* ip_parent = nullptr);

    void FocusSearch();

Q_SIGNALS:
    void AttachWanted(const QUuid& i_machine);
    /// For the machine that the scene has.
    void DetachWanted();
    /// What is offered about a service is to be done.
    void OfferWanted(MachineService::ServiceId i_service);

protected:
    void changeEvent(QEvent* ip_event) override;

private:
    void _Connect();
    void _SetTexts();
    void _ShowRows();
    void _ShowButtons();
    void _ShowMenu(const QPoint& i_at);
    /// What the button does: attach, detach, or what is offered about a service.
    void _Act(const QModelIndex& i_index);
    /// The machine that is chosen; invalid when a service is, or nothing.
    QModelIndex _GetCurrent() const;
    /// Some service needs the user, who sees it although it has no machine.
    bool _HasTrouble() const;

    Preferences& _preferences;
    MachineList& _machines;
    MachineFilter _filter;
    QTimer _rowsTimer; ///< rows came or went, and are shown when the loop turns
    QLineEdit* _search;
    QComboBox* _kind;
    QCheckBox* _all;
    QTreeView* _view;
    QStackedWidget* _pages;
    EmptyState* _empty;
    QPushButton* _attach;
    QPushButton* _favourite;
};

} // namespace Workbench
