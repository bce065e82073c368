#pragma once

#include "vexlorui_export.h"

#include <QObject>
#include <QSet>
#include <QString>

namespace Vexlor::UICommands {

class UiCommand;

/// Holds commands by id and announces every change of what it holds. Order of signals: Before..., the change, ....
///
/// Thread: UI thread. Not copied by listeners: they connect and look commands up again.
class VEXLORUI_EXPORT ICommandsContainer : public QObject
{
    Q_OBJECT

public:
    explicit ICommandsContainer(QObject* ip_parent = nullptr);
    ~ICommandsContainer() override;

    /// Null when there is no such command.
    virtual UiCommand* GetCommand(const QString& i_id) const = 0;
    virtual QSet<QString> GetIds() const = 0;

Q_SIGNALS:
    void BeforeCommandsAdded(const QSet<QString>& i_ids);
    void CommandsAdded(const QSet<QString>& i_ids);
    void BeforeCommandsRemoved(const QSet<QString>& i_ids);
    void CommandsRemoved(const QSet<QString>& i_ids);
};

} // namespace Vexlor::UICommands
