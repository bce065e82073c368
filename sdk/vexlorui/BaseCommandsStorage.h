#pragma once

#include "vexlorui/AbstractCommandsFactory.h"
#include "vexlorui/CommandsContainer.h"

#include <memory>
#include <utility>
#include <vector>

namespace Vexlor::UICommands {

/// While one lives, the storage whose counter it was given does not announce as factory.
class BaseCommandsStorageScopedSignalBlocker
{
public:
    /// \param iop_depth shared, because a listener may destroy the storage before the blocker goes.
    explicit BaseCommandsStorageScopedSignalBlocker(std::shared_ptr<int> iop_depth)
        : _depth(std::move(iop_depth))
    {
        ++*_depth;
    }
    ~BaseCommandsStorageScopedSignalBlocker() { --*_depth; }
    BaseCommandsStorageScopedSignalBlocker(const BaseCommandsStorageScopedSignalBlocker&) = delete;
    BaseCommandsStorageScopedSignalBlocker& operator=(const BaseCommandsStorageScopedSignalBlocker&) = delete;

private:
    const std::shared_ptr<int> _depth;
};

/// A factory that owns its commands.
///
/// Every change is announced by the container (GetContainer) and, outside an update bracket, again by the storage as
/// factory; a listener connects to one of the two. Inside a bracket the factory is silent and what it missed is not
/// made up for: whoever opens the bracket announces the batch as a whole, so that factory listeners hear of it once:
/// \code
/// Q_EMIT BeforeCommandsRemoved(ids);
/// _BeginCommandsUpdate();
/// Clear();
/// _EndCommandsUpdate();
/// Q_EMIT CommandsRemoved(ids);
/// \endcode
///
/// Thread: UI thread.
template <class T>
class BaseCommandsStorage : public AbstractCommandsFactory
{
public:
    explicit BaseCommandsStorage(QObject* ip_parent = nullptr)
        : AbstractCommandsFactory(ip_parent)
    {
        // Connected to itself, so that the forwarding ends with the storage and not with its members.
        connect(&_container, &ICommandsContainer::BeforeCommandsAdded, this,
                [this](const QSet<QString>& i_ids) { _Forward(&AbstractCommandsFactory::BeforeCommandsAdded, i_ids); });
        connect(&_container, &ICommandsContainer::CommandsAdded, this,
                [this](const QSet<QString>& i_ids) { _Forward(&AbstractCommandsFactory::CommandsAdded, i_ids); });
        connect(&_container, &ICommandsContainer::BeforeCommandsRemoved, this, [this](const QSet<QString>& i_ids) {
            _Forward(&AbstractCommandsFactory::BeforeCommandsRemoved, i_ids);
        });
        connect(&_container, &ICommandsContainer::CommandsRemoved, this,
                [this](const QSet<QString>& i_ids) { _Forward(&AbstractCommandsFactory::CommandsRemoved, i_ids); });
    }

    /// In no particular order.
    QList<UiCommand*> GetAllCommands() const override
    {
        QList<UiCommand*> commands;
        for (const auto& command : _container.GetCommands())
            commands.append(command.get());
        return commands;
    }
    UiCommand* GetCommand(const QString& i_id) const override { return _container.GetCommand(i_id); }
    const ICommandsContainer& GetContainer() const { return _container; }

    /// False when a command of this id is stored already: nothing changes then.
    bool AddCommand(std::shared_ptr<T> ip_command) { return _container.Add(std::move(ip_command)); }
    void RemoveCommand(const QString& i_id) { RemoveCommands({i_id}); }
    /// Announces the ids before and after, also those that are not stored.
    void RemoveCommands(const QSet<QString>& i_ids) { _container.Remove(i_ids); }
    /// An empty storage announces nothing.
    void Clear() { _container.Clear(); }

protected:
    /// Brackets count: the factory speaks again after the last end.
    void _BeginCommandsUpdate()
    {
        _blockers.push_back(std::make_unique<BaseCommandsStorageScopedSignalBlocker>(_blockDepth));
    }
    void _EndCommandsUpdate()
    {
        if (!_blockers.empty())
            _blockers.pop_back();
    }
    /// For a bracket that is a scope: BaseCommandsStorageScopedSignalBlocker blocker(_GetBlockDepth()).
    const std::shared_ptr<int>& _GetBlockDepth() { return _blockDepth; }

private:
    void _Forward(void (AbstractCommandsFactory::*ip_signal)(const QSet<QString>&), const QSet<QString>& i_ids)
    {
        if (*_blockDepth == 0)
            Q_EMIT(this->*ip_signal)(i_ids);
    }

    CommandsContainer<T, void> _container;
    const std::shared_ptr<int> _blockDepth = std::make_shared<int>(0);
    std::vector<std::unique_ptr<BaseCommandsStorageScopedSignalBlocker>> _blockers;
};

} // namespace Vexlor::UICommands
