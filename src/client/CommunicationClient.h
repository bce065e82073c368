#pragma once

#include "client/MetaTypes.h"
#include "client/interface/AbstractMachinesCatalog.h"
#include "client/interface/AbstractPluginUtility.h"
#include "client/interface/Machine.h"
#include "machineservice_export.h"

#include "vexlorcore/IVexlorApiProvider.h"
#include "vexlorcore/Listener.h"
#include "vexlorcore/ProgramMode.h"

#include <QObject>
#include <QUuid>

#include <boost/uuid/uuid.hpp>

#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MachineService {

/// The one object that a host makes to use the library: machines and their news, and the printers of its scenes.
///
/// \code
/// CommunicationClient client([&]() -> IVexlorApiProvider& { return provider; }, makePluginUtility,
///                            [](const MachineData&) { return true; }, nullptr);
/// client.HandleModeChanged(ProgramModePlatform);
/// client.Start(ServiceId::BuildProcessors);
/// \endcode
///
/// Machines that it hands out answer CanRunCommand at once from a cache and may outlive it. While the host prepares a
/// platform it listens to the database: scenes that are activated or copied keep their printers up to date.
///
/// Thread: UI thread. Signals about machines and services are emitted on threads of the services, or on the UI thread
/// within InvalidateProxyMachineCatalog(); connect them with automatic or queued connections. Destroying the client and
/// InvalidateProxyMachineCatalog() wait for such emissions on other threads to end, so slots that are connected
/// directly must not wait for the UI thread.
/// Order: signals about one machine come one after the other, in the order in which things happened.
/// Ownership: may be destroyed, on the UI thread, in any slot or function that it calls.
/// Errors: exceptions of the services' catalog reach the caller, except where nothing found is an answer.
class MACHINESERVICE_EXPORT CommunicationClient : public QObject, private VexlorCore::MListener
{
    Q_OBJECT

public:
    /// \param i_api_provider asked when the host is needed, also on threads of the library; valid as long as the
    ///        client.
    /// \param i_plugin_utility_factory handed to the services.
    /// \param i_filtering_rule a machine for which it returns false does not exist for this client; called on any
    ///        thread.
    CommunicationClient(
        VexlorCore::ApiProviderGetter i_api_provider,
        const std::function<std::unique_ptr<AbstractPluginUtility>(ServiceId)>& i_plugin_utility_factory,
        const std::function<bool(const MachineData&)>& i_filtering_rule, QObject* ip_parent);
    ~CommunicationClient() override;

    /// No service runs before it is started; machines come as news afterwards.
    bool Start(ServiceId i_service);
    /// \copydoc AbstractMachinesCatalog::Refresh
    bool Refresh(ServiceId i_service);
    AuthenticationResult SetAuthentication(ServiceId i_service, const std::optional<AuthenticationData>& i_data);

    /// In the order of the services' catalog.
    std::vector<Machine> GetMachines() const;
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const;
    /// \copydoc AbstractMachinesCatalog::InstallMachine
    std::future<std::string> InstallMachine(ServiceId i_service, const std::filesystem::path& i_file);

    /// The printer attached to the scene; empty for none, for an unknown one and without a scene.
    std::optional<Machine> TryGetPrinter(VexlorCore::DataSet* ip_data_set) const;
    std::optional<Machine> TryGetPrinterById(const QUuid& i_machine_id) const;
    /// As the service has it: the filtering rule is not asked, and CanRunCommand asks the service.
    std::optional<Machine> TryGetPrinterByIdFromService(ServiceId i_service, const QUuid& i_machine_id,
                                                        MachineRepresentation i_representation) const;

    /// Lets the scene's printer fill the properties that a report shows; nothing without a printer.
    void FillReportProperties(VexlorCore::DataSet* ip_data_set) const;

    /// As HandleMachineChanged, but the null id detaches the scene from its machine altogether.
    void HandleMachineChangedForceDetach(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id);

Q_SIGNALS:
    /// The printers of scenes may have changed: check what depends on them.
    void MachinesChanged();
    void MachineModified(const QUuid& i_modified_machine, MachineService::MachineChanges i_changes);
    void MachineAdded(const QUuid& i_modified_machine);
    void MachineRemoved(const QUuid& i_modified_machine);
    void ServiceStatusChanged(MachineService::ServiceId i_service_id, MachineService::ServiceStatus i_status);
    /// The client began, or ceased, to listen to the database.
    void Activated();
    void Deactivated();

public Q_SLOTS:
    /// Listens to the current database while the host prepares a platform.
    void HandleModeChanged(EProgramModeType i_mode);
    /// Attaches the machine to the scene. The null id drops what the scene keeps of its machine, but not its id.
    /// \throws CommunicationException with the user's sentence when the machine is not known, or when what the scene
    ///         stored of its machine cannot be read. Nothing is changed then; HandleMachineChangedForceDetach with the
    ///         null id lets go of what cannot be read.
    void HandleMachineChanged(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id);
    /// The scene is up to date with its machine as of now.
    void HandleMachineUpdated(VexlorCore::DataSet* ip_data_set);
    /// Call it when the answers of the filtering rule may have changed.
    void InvalidateProxyMachineCatalog();

private Q_SLOTS:
    void _HandleMachineIdChanged(VexlorCore::DataSet* ip_data_set, const QUuid& i_machine_id, bool i_force_detach);
    void _HandleSceneActivated(VexlorCore::DataSet* ip_data_set);
    void _HandleMachineCopied(VexlorCore::DataSet* ip_original_data_set, VexlorCore::DataSet* ip_copied_data_set);
    void _HandleMachineModified(const QUuid& i_modified_machine, MachineChanges i_changes);

private:
    class Impl;

    static void _RegisterMetatypes();

    void ExecuteSelf(const VexlorCore::INotification& i_notification) override;
    void customEvent(QEvent* ip_event) override;

    std::optional<Machine> _TryGetPrinterByBoostId(const boost::uuids::uuid& i_machine_id) const;
    void _ForwardNews();
    void _CheckModifiedPrinter(VexlorCore::DataSet* ip_data_set, MachineChanges i_changes);

    Impl* _impl; // a child of the client
};

} // namespace MachineService
