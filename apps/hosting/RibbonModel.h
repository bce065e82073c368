#pragma once

#include "commands/PrinterCommandManager.h"

#include <QObject>
#include <QStandardItemModel>

#include <chrono>
#include <functional>
#include <vector>

namespace Hosting {

/// The ribbon page of the attached printer: follows the manager's commands and keeps each in its place.
///
/// The model is a tree of pages, groups and commands; a command's name is its Qt::UserRole.
/// Thread: UI thread.
/// Ownership: the manager must outlive the ribbon.
class RibbonModel final : public QObject
{
    Q_OBJECT

public:
    struct Row
    {
        int place = 0; ///< 1 is the first
        Vexlor::UICommands::UiCommand* command = nullptr;
        QString whyNot; ///< empty when the command is enabled
    };

    explicit RibbonModel(MachineService::PrinterCommandManager& io_manager, QObject* ip_parent = nullptr);

    const QAbstractItemModel& GetModel() const { return _model; }
    /// In the order of the page.
    std::vector<Row> GetRows() const;
    /// Lets every command decide whether it is enabled.
    void UpdateCommands();
    /// Keeps the event loop turning until every command is enabled or the time is over: the first answers of a machine
    /// come in the background.
    /// \param i_is_cancelled ends the wait.
    void WaitForAnswers(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled);

private Q_SLOTS:
    void _Insert(const QSet<QString>& i_ids);
    void _Remove(const QSet<QString>& i_ids);

private:
    QStandardItem* _FindGroup() const;

    MachineService::PrinterCommandManager& _manager;
    QStandardItemModel _model;
    QStandardItem* _page;
};

} // namespace Hosting
