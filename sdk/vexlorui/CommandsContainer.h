#pragma once

#include "vexlorui/ICommandsContainer.h"
#include "vexlorui/UiCommand.h"

#include <QHash>
#include <QList>
#include <QPointer>

#include <memory>
#include <type_traits>
#include <utility>

namespace Vexlor::UICommands {

/// The commands of one kind as shared owners, in a hash keyed by UiCommand::GetId.
///
/// A command that is dropped while it runs lives until its run has ended, so that a run that turns the event loop may
/// end with the command's removal.
///
/// Thread: UI thread. \tparam Extra what is kept beside each command; only void is defined.
template <class T, class Extra = void>
class CommandsContainer final : public ICommandsContainer
{
    static_assert(std::is_base_of_v<UiCommand, T> && std::is_void_v<Extra>);

public:
    using ICommandsContainer::ICommandsContainer;
    ~CommandsContainer() override
    {
        for (auto& command : _commands)
            _Drop(std::move(command));
    }

    /// False, with nothing changed or announced, for null and for an id that is there already.
    bool Add(std::shared_ptr<T> ip_command)
    {
        if (!ip_command || _commands.contains(ip_command->GetId()))
            return false;
        const QString id = ip_command->GetId();
        const QSet<QString> ids{id};
        const QPointer<CommandsContainer> alive(this);
        Q_EMIT BeforeCommandsAdded(ids);
        // A listener may have destroyed the container, or added another one of this id.
        if (!alive || _commands.contains(id))
            return false;
        _commands.insert(id, std::move(ip_command));
        Q_EMIT CommandsAdded(ids);
        return true;
    }

    /// Ids that are not there are announced with the others and otherwise ignored.
    void Remove(const QSet<QString>& i_ids)
    {
        const QSet<QString> ids = i_ids;
        const QPointer<CommandsContainer> alive(this);
        Q_EMIT BeforeCommandsRemoved(ids);
        // Dropping a command may destroy the container as well: what a command holds is not known here.
        for (auto id = ids.begin(); alive && id != ids.end(); ++id)
            _Drop(_commands.take(*id));
        if (alive)
            Q_EMIT CommandsRemoved(ids);
    }

    /// Announces nothing when there is nothing to drop.
    void Clear()
    {
        if (!_commands.isEmpty())
            Remove(GetIds());
    }

    QSet<QString> GetIds() const override
    {
        QSet<QString> ids;
        ids.reserve(_commands.size());
        for (auto command = _commands.keyBegin(); command != _commands.keyEnd(); ++command)
            ids.insert(*command);
        return ids;
    }

    T* GetCommand(const QString& i_id) const override { return _commands.value(i_id).get(); }
    QList<std::shared_ptr<T>> GetCommands() const { return _commands.values(); }

private:
    static void _Drop(std::shared_ptr<T> ip_command)
    {
        if (ip_command && ip_command->IsRunning())
            ip_command->KeepWhileRunning(ip_command);
    }

    QHash<QString, std::shared_ptr<T>> _commands;
};

} // namespace Vexlor::UICommands
