#pragma once

#include "vexlorui/UiCommand.h"
#include "vexlorui_export.h"

#include <QList>
#include <QMap>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

namespace Vexlor::UICommands {

/// A source of commands for the ribbon. Order of signals: Before..., the change, ....
class VEXLORUI_EXPORT AbstractCommandsFactory : public QObject
{
    Q_OBJECT

public:
    explicit AbstractCommandsFactory(QObject* ip_parent = nullptr);
    ~AbstractCommandsFactory() override;

    virtual QList<UiCommand*> GetAllCommands() const = 0;
    /// Null when there is no such command.
    virtual UiCommand* GetCommand(const QString& i_id) const = 0;
    virtual void InitProductFeatures(const QSet<QString>& i_features,
                                     const QMap<QString, QStringList>& i_feature_commands) = 0;

Q_SIGNALS:
    void BeforeCommandsAdded(const QSet<QString>& i_ids);
    void CommandsAdded(const QSet<QString>& i_ids);
    void BeforeCommandsRemoved(const QSet<QString>& i_ids);
    void CommandsRemoved(const QSet<QString>& i_ids);
};

} // namespace Vexlor::UICommands
