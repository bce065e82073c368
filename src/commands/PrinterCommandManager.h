#pragma once

#include "client/interface/Machine.h"
#include "commands/PrinterCommand.h"
#include "machineservice_export.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorui/BaseCommandsStorage.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace MachineService {

/// Keeps the ribbon's printer commands in step with the machine attached to the active scene.
///
/// The host makes one, reads its commands from it as from any storage, and calls CheckCommands when something about the
/// active scene or its machine may have changed; the notifications of the database that is open when the manager is
/// made (scene activated, another printer attached, printer gone) lead to a check by themselves.
///
/// A check never waits for a service: while a machine's list of commands is not ready, no command is shown.
///
/// Thread: UI thread.
/// Errors: a check passes on what the machine throws, and throws CommunicationException InternalError "Can't insert BP
/// command for Print3D Command Manager" when a machine offers one command twice. A check that runs because of a signal
/// or a notification says so in the log instead: exceptions must not pass through the event loop.
/// Order: PrinterNameUpdated after the commands changed; Activated before the check that Activate makes. A check that
/// is made by a listener of another one takes its place: the other one tells nothing more.
/// Ownership: whoever is asked or told of something may destroy the manager.
class MACHINESERVICE_EXPORT PrinterCommandManager final : public Vexlor::UICommands::BaseCommandsStorage<PrinterCommand>
{
    Q_OBJECT

public:
    /// \param i_get_data_set the active scene or null.
    /// \param i_get_machine the machine attached to a scene (maybe null).
    /// \param i_get_text goes to the machine's own commands when they run.
    PrinterCommandManager(std::function<VexlorCore::DataSet*()> i_get_data_set,
                          std::function<std::optional<Machine>(VexlorCore::DataSet*)> i_get_machine,
                          VexlorCore::ApiProviderGetter i_get_api_provider, std::function<QString()> i_get_text,
                          QObject* ip_parent = nullptr);
    ~PrinterCommandManager() override;

    /// Why a command is disabled, as of its last update; None for an enabled one and for an id that no command has.
    ///
    /// A host that updates its commands once a second or so while they are seen, and when a job begins and ends, shows
    /// what is true. A kind that never asks its machine stays enabled whether or not the machine answers.
    CommandRefusal GetRefusal(const QString& i_id) const;

    /// Of the machine whose commands are shown; empty when there is none.
    QString PrinterName() const;

    /// Does nothing: printer commands are not subject to product features.
    void InitProductFeatures(const QSet<QString>& i_features,
                             const QMap<QString, QStringList>& i_feature_commands) override;

Q_SIGNALS:
    /// After every check that found a machine, or found that there is none any more.
    void PrinterNameUpdated(const QString& i_name);
    void Activated();
    void Deactivated();

public Q_SLOTS:
    /// Checks when the machine is the one whose commands are shown.
    void MachineModified(QUuid i_id);
    void CheckCommands();
    void Activate();
    void Deactivate();

protected:
    bool event(QEvent* ip_event) override;

private:
    class Check;
    class Listener;
    struct Impl;

    bool _CheckCommands();
    void _CheckAndTell();
    void _Clear();
    void _Show(const std::vector<CommandDescription>& i_offered, const Machine& i_machine, const MachineData& i_data,
               const Check& i_check);
    void _DoOnNotify();

    std::unique_ptr<Impl> _impl;
};

} // namespace MachineService
