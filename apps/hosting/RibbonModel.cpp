#include "hosting/RibbonModel.h"

#include "commands/CommandInsertHint.h"
#include "commands/CommandNames.h"
#include "vexlorui/ActiveSceneContext.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>

namespace Hosting {

using Vexlor::UICommands::UiCommand;

RibbonModel::RibbonModel(MachineService::PrinterCommandManager& io_manager, QObject* ip_parent)
    : QObject(ip_parent)
    , _manager(io_manager)
    , _page(new QStandardItem(QLatin1String(MachineService::CommandsDefaultRibbon)))
{
    _model.appendRow(_page);
    using Vexlor::UICommands::AbstractCommandsFactory;
    connect(&_manager, &AbstractCommandsFactory::CommandsAdded, this, &RibbonModel::_Insert);
    connect(&_manager, &AbstractCommandsFactory::BeforeCommandsRemoved, this, &RibbonModel::_Remove);
    for (const UiCommand* command : _manager.GetAllCommands())
        _Insert({command->GetId()});
}

QStandardItem* RibbonModel::_FindGroup() const
{
    return _page->child(0);
}

void RibbonModel::_Insert(const QSet<QString>& i_ids)
{
    for (const QString& id : i_ids) {
        const auto hint = MachineService::BPCommandInsertHint(id, _page->index());
        if (!hint)
            continue;
        if (hint->createGroup != 0)
            _page->appendRow(new QStandardItem(QLatin1String(MachineService::CommandsDefaultGroup)));
        auto* item = new QStandardItem(_manager.GetCommand(id)->GetTitle());
        item->setData(id, Qt::UserRole);
        _FindGroup()->insertRow(hint->position, item);
    }
}

void RibbonModel::_Remove(const QSet<QString>& i_ids)
{
    QStandardItem* group = _FindGroup();
    for (int row = group ? group->rowCount() - 1 : -1; row >= 0; --row) {
        if (i_ids.contains(group->child(row)->data(Qt::UserRole).toString()))
            group->removeRow(row);
    }
    // A printer without commands leaves no empty group behind.
    if (group && group->rowCount() == 0)
        _page->removeRow(group->row());
}

std::vector<RibbonModel::Row> RibbonModel::GetRows() const
{
    std::vector<Row> rows;
    const QStandardItem* group = _FindGroup();
    for (int row = 0; group && row < group->rowCount(); ++row) {
        auto* command = _manager.GetCommand(group->child(row)->data(Qt::UserRole).toString());
        if (command)
            rows.push_back(
                {row + 1, command, command->IsEnabled() ? QString() : _manager.GetRefusal(command->GetId()).GetText()});
    }
    return rows;
}

void RibbonModel::UpdateCommands()
{
    const Vexlor::UICommands::ActiveSceneContext context;
    for (UiCommand* command : _manager.GetAllCommands())
        command->Update(context);
}

void RibbonModel::WaitForAnswers(std::chrono::milliseconds i_deadline, const std::function<bool()>& i_is_cancelled)
{
    UpdateCommands();
    // Wakes the loop for the deadline and for the look at the cancellation.
    QTimer wakeUp;
    wakeUp.start(std::chrono::milliseconds(50));
    QElapsedTimer timer;
    timer.start();
    const auto isWaiting = [&] {
        const auto commands = _manager.GetAllCommands();
        return timer.elapsed() < i_deadline.count() && !i_is_cancelled() &&
               !std::all_of(commands.begin(), commands.end(),
                            [](const UiCommand* ip_command) { return ip_command->IsEnabled(); });
    };
    while (isWaiting())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
}

} // namespace Hosting
