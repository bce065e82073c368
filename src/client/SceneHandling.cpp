#include "catalog/PldfTimestamps.h"
#include "catalog/PrinterAttachment.h"
#include "client/CommunicationClient_p.h"
#include "client/UuidConversions.h"
#include "client/interface/CommunicationException.h"
#include "commands/ConfigurationCommands.h"
#include "machineconfig/CarriedMachineConfiguration.h"
#include "platform/ErrorMessages.h"

#include "tavsdk/StopExceptions.h"
#include "vexlorcore/Application.h"
#include "vexlorcore/Notifications.h"

#include <QCoreApplication>
#include <QPointer>

// The client's reactions to host and machines: what keeps the printers of scenes true.

namespace MachineService {

namespace {

VexlorCore::Database* GetDatabase()
{
    const auto* const application = VexlorCore::Application::GetInstance();
    return application ? application->GetDatabase() : nullptr;
}

VexlorCore::DataSet* GetActiveDataSet()
{
    const auto* const database = GetDatabase();
    return database ? database->GetActiveDataSet() : nullptr;
}

bool IsOpen(const VexlorCore::DataSet* ip_data_set)
{
    const auto* const database = GetDatabase();
    return database && database->Contains(ip_data_set);
}

void Send(VexlorCore::DataSet& io_data_set, const VexlorCore::INotification& i_notification)
{
    if (auto* const sender = io_data_set.GetNotificationSender())
        sender->Send(i_notification);
}

/// Runs a reaction to a notification. The host that sent it knows nothing of printers and expects no exception of ours.
template <class Function>
void StopExceptions(const char* ip_what, const Function& i_function)
{
    TavSDK::StopExceptions(i_function,
                           [ip_what](const char* ip_why) { qCWarning(ClientLog, "%s: %s", ip_what, ip_why); });
}

/// What is sent about a scene may make a listener close it.
class SceneWatch
{
public:
    explicit SceneWatch(VexlorCore::DataSet* ip_data_set)
        : _scene(ip_data_set ? ip_data_set->weak_from_this() : std::weak_ptr<VexlorCore::DataSet>())
        , _isWatched(!_scene.expired())
    {}
    bool IsGone() const { return _isWatched && _scene.expired(); }

private:
    std::weak_ptr<VexlorCore::DataSet> _scene;
    bool _isWatched;
};

/// What a scene stored of its machine may be damaged. It is kept until somebody decides: silently replaced, nobody
/// would learn that the scene was made for another machine.
[[noreturn]] void ThrowUnreadableAttachment(const char* ip_reason)
{
    qCWarning(ClientLog, "What a scene stored of its machine cannot be read: %s", ip_reason);
    throw CommunicationException(
        ErrorCode::FileError,
        QCoreApplication::translate("MachineService", "What the scene stored of its machine cannot be read. Please "
                                                      "detach the machine from the scene, then attach it again.")
            .toUtf8()
            .constData());
}

/// Before anything is changed.
void CheckAttachment(VexlorCore::DataSet* ip_data_set, const Machine& i_printer)
{
    try {
        // The time counts only for the machine that the scene was made for.
        if (Utilities::GetNamedMachineId(ip_data_set) == i_printer.GetMachineData().id)
            Utilities::GetPldfTimestamp(ip_data_set);
    } catch (const std::exception& exception) {
        ThrowUnreadableAttachment(exception.what());
    }
}

/// The scene is of use all the same, and who saves or sends it learns what is wrong.
void UpdateConfiguration(VexlorCore::DataSet* ip_data_set)
{
    StopExceptions("The machine configuration of a scene could not be brought up to date",
                   [ip_data_set] { Utilities::UpdateMachineConfiguration(ip_data_set); });
}

} // namespace

void CommunicationClient::ExecuteSelf(const VexlorCore::INotification& i_notification)
{
    using VexlorCore::DatabaseAction;
    if (dynamic_cast<const VexlorCore::DataSetActivated*>(&i_notification)) {
        _HandleSceneActivated(GetActiveDataSet());
    } else if (const auto* const copied = dynamic_cast<const VexlorCore::DataSetCopied*>(&i_notification)) {
        _HandleMachineCopied(copied->GetOriginal(), copied->GetCopied());
    } else if (const auto* const completed = dynamic_cast<const VexlorCore::OperationCompleted*>(&i_notification)) {
        if (completed->HasDatabaseAction(DatabaseAction::PlatformChanged))
            _HandleSceneActivated(GetActiveDataSet());
    }
}

void CommunicationClient::HandleModeChanged(EProgramModeType i_mode)
{
    const bool isPlatformMode = static_cast<qint16>(i_mode) == ProgramModePlatform;
    auto* const database = GetDatabase();
    if (isPlatformMode && database)
        database->AddListener(this); // harmless when it is there; the database may be another one than before
    if (isPlatformMode == IsListening())
        return;
    if (isPlatformMode) {
        StartListening();
        Q_EMIT Activated();
    } else {
        StopListening();
        if (database)
            database->RemoveListener(this);
        Q_EMIT Deactivated();
    }
}

void CommunicationClient::HandleMachineChanged(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id)
{
    const QPointer<CommunicationClient> alive(this);
    _HandleMachineIdChanged(ip_data_set, i_machine_id, false);
    if (alive)
        Q_EMIT MachinesChanged();
}

void CommunicationClient::HandleMachineChangedForceDetach(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id)
{
    const QPointer<CommunicationClient> alive(this);
    _HandleMachineIdChanged(ip_data_set, i_machine_id, true);
    if (alive)
        Q_EMIT MachinesChanged();
}

void CommunicationClient::HandleMachineUpdated(VexlorCore::DataSet* ip_data_set)
{
    if (ip_data_set)
        Utilities::SetPldfTimeStampToCurrentTime(ip_data_set);
}

void CommunicationClient::FillReportProperties(VexlorCore::DataSet* ip_data_set) const
{
    // A copy: the event loop turns until the report is filled, and the client may go meanwhile.
    const auto apiProvider = _impl->apiProvider;
    if (const auto printer = TryGetPrinter(ip_data_set))
        Helpers::FillReportProperties(*printer, apiProvider, [ip_data_set] { return ip_data_set; });
}

void CommunicationClient::_HandleMachineIdChanged(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id,
                                                  bool i_force_detach)
{
    std::optional<Machine> printer;
    if (!i_machine_id.isNull()) {
        try {
            printer = _impl->CreateCachedMachine(ToBoostUuid(i_machine_id));
        } catch (const CommunicationException& exception) {
            throw CommunicationException(exception.code(), GetExceptionErrorMessage(exception).c_str());
        }
    }
    if (!ip_data_set) {
        qCWarning(ClientLog, "The machine of no scene was said to have changed.");
        return;
    }
    const SceneWatch scene(ip_data_set);
    if (printer) {
        CheckAttachment(ip_data_set, *printer);
        Utilities::AttachPrinter(ip_data_set, *printer);
    } else if (i_force_detach) {
        Utilities::DetachPrinter(ip_data_set);
    } else {
        Utilities::ClearCachedMachineData(ip_data_set);
    }
    if (scene.IsGone())
        return;
    // Clearing leaves the machine as it was, and with it what the scene carries of it.
    if (printer || i_force_detach)
        UpdateConfiguration(ip_data_set);
    Send(*ip_data_set, VexlorCore::BPQueueChanged(ip_data_set));
}

void CommunicationClient::_HandleSceneActivated(VexlorCore::DataSet* ip_data_set)
{
    const QPointer<CommunicationClient> alive(this);
    const SceneWatch scene(ip_data_set);
    std::optional<Machine> printer;
    // A scene file may hold a time that nobody can read: the scene is active all the same.
    StopExceptions("The configuration time of the active scene's printer could not be checked", [&] {
        printer = TryGetPrinter(ip_data_set);
        if (printer)
            Utilities::UpdatePldfTimestamp(ip_data_set, *printer);
    });
    // Without a printer the configuration that the scene's file carries is the only one there is.
    if (printer && !scene.IsGone())
        UpdateConfiguration(ip_data_set);
    if (alive)
        Q_EMIT MachinesChanged();
}

void CommunicationClient::_HandleMachineCopied(VexlorCore::DataSet* ip_original_data_set,
                                               VexlorCore::DataSet* ip_copied_data_set)
{
    StopExceptions("The printer of a copied scene could not be attached to the copy", [&] {
        const auto printer = TryGetPrinter(ip_original_data_set);
        if (printer && ip_copied_data_set)
            Utilities::AttachPrinter(ip_copied_data_set, *printer);
    });
}

void CommunicationClient::_HandleMachineModified(const QUuid& i_modified_machine, MachineChanges i_changes)
{
    /// Ends the modification, whatever happens, unless a listener destroyed the client meanwhile.
    struct Modification
    {
        ~Modification()
        {
            if (!client)
                return;
            const TavSDK::MutexLock lock(client->_impl->mutex);
            client->_impl->machinesInModification.erase(id);
        }
        const QPointer<CommunicationClient> client;
        const boost::uuids::uuid id;
    };

    const auto* const database = GetDatabase();
    if (!database)
        return;
    const QPointer<CommunicationClient> alive(this);
    // Scenes are visited with the event loop possibly running inside listeners. Without scenes nothing can nest.
    if (const auto dataSets = database->GetDataSets(); !dataSets.empty()) {
        const boost::uuids::uuid id = ToBoostUuid(i_modified_machine);
        {
            const TavSDK::MutexLock lock(_impl->mutex);
            if (!_impl->machinesInModification.insert(id).second)
                return;
        }
        const Modification modification{alive, id};
        for (VexlorCore::DataSet* const dataSet : dataSets) {
            // A listener may have closed the scene, the database or the client.
            if (!alive)
                return;
            if (IsOpen(dataSet))
                _CheckModifiedPrinter(dataSet, i_changes);
        }
    }
    if (auto* const application = VexlorCore::Application::GetInstance())
        application->Invalidate3d();
}

void CommunicationClient::_CheckModifiedPrinter(VexlorCore::DataSet* ip_data_set, MachineChanges i_changes)
{
    const QPointer<CommunicationClient> alive(this);
    const auto tellDetached = [ip_data_set] {
        if (IsOpen(ip_data_set))
            Send(*ip_data_set, VexlorCore::BPPlatformDetached(ip_data_set));
    };
    try {
        const auto printer = TryGetPrinter(ip_data_set);
        if (!printer || !alive)
            return;
        // The scene's copy tells nothing about now: the catalog does.
        const auto fresh = _TryGetPrinterByBoostId(printer->GetMachineData().id);
        if (!fresh || fresh->GetMachineData().id.is_nil())
            tellDetached();
        else if (HasChanges(i_changes, MachineChanges::ConfigurationChanged))
            Utilities::UpdatePldfTimestamp(ip_data_set, *fresh);
    } catch (...) {
        StopExceptions("A listener failed when a scene lost its machine", tellDetached);
    }
}

} // namespace MachineService
