#pragma once

#include "client/CommunicationClient.h"
#include "client/interface/MachineData.h"

#include <QAbstractItemModel>
#include <QDateTime>
#include <QHash>
#include <QPixmap>
#include <QSet>
#include <QUuid>

#include <functional>
#include <memory>
#include <vector>

namespace Workbench {

class Preferences;

/// The services with their status and below each its machines, as the operator sees them. Follows the client's news;
/// nothing here waits for a service.
///
/// Thread: UI thread.
/// Ownership: client and preferences must outlive it.
class MachineList final : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Role
    {
        IdRole = Qt::UserRole, ///< QUuid; null for a service
        DetailRole,            ///< second line: maker and volume
        StateRole,             ///< MachineService::MachineState as int
        StateTextRole,         ///< third line, with reasons and age
        FavouriteRole,
        GoneRole, ///< was attached to a scene, and its service does not offer it any more
        AttachedRole,
        TechnologyRole, ///< MachineService::MachineTechnology as int
        SearchRole,     ///< what a search looks through, lower case
        ServiceRole,    ///< MachineService::ServiceId as int; null for a machine
        OfferRole,      ///< of a service: what can be done about it, for a button; empty for a machine
        TroubleRole,    ///< of a service: it does not run, and will not by itself
    };

    MachineList(MachineService::CommunicationClient& io_client, Preferences& io_preferences,
                QObject* ip_parent = nullptr);

    /// \param i_reason why a service does not run, a sentence; empty when it is not known.
    void SetServiceReason(std::function<QString(MachineService::ServiceId)> i_reason) { _reason = std::move(i_reason); }
    /// \param i_address of a service that is not in this process; otherwise empty.
    void SetServiceAddress(std::function<QString(MachineService::ServiceId)> i_address)
    {
        _address = std::move(i_address);
    }
    /// \param i_offer what the user can do about a service, for a button; empty when there is nothing.
    void SetServiceOffer(std::function<QString(MachineService::ServiceId)> i_offer) { _offer = std::move(i_offer); }
    /// What is offered is another now.
    void NoteServiceOffers();
    /// Machines that a scene is attached to: they stay when they go away. Names of those that were never seen come
    /// from their scene.
    void SetAttached(const QHash<QUuid, QString>& i_machines, const QUuid& i_active);
    /// Forgets machines that are gone and attached no more; asks for everything anew.
    void Refresh();
    QModelIndex Find(const QUuid& i_machine) const;
    int GetMachineCount() const;

    static QString GetTechnologyName(MachineService::MachineTechnology i_technology);
    static QString GetStateName(MachineService::MachineState i_state);

    QModelIndex index(int i_row, int i_column, const QModelIndex& i_parent = {}) const override;
    QModelIndex parent(const QModelIndex& i_index) const override;
    int rowCount(const QModelIndex& i_parent = {}) const override;
    int columnCount(const QModelIndex& i_parent = {}) const override;
    QVariant data(const QModelIndex& i_index, int i_role) const override;
    Qt::ItemFlags flags(const QModelIndex& i_index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& i_indexes) const override;

    static QString GetMimeType() { return QStringLiteral("application/x-machineservice-machine"); }

private:
    struct Machine
    {
        QUuid id;
        MachineService::MachineData data;
        QPixmap picture;
        bool isGone = false;
    };
    struct Service
    {
        MachineService::ServiceId id;
        MachineService::ServiceStatus status = MachineService::ServiceStatus::Stopped;
        QDateTime since;
        std::vector<std::unique_ptr<Machine>> machines; ///< by name
    };

    void _Update(const QUuid& i_machine);
    void _Remove(const QUuid& i_machine);
    void _SetStatus(MachineService::ServiceId i_service, MachineService::ServiceStatus i_status);
    MachineService::ServiceId _FindOwner(const MachineService::MachineData& i_data) const;
    void _Put(MachineService::MachineData i_data, bool i_is_gone);
    void _Tell();
    int _FindService(MachineService::ServiceId i_id) const;
    int _AddService(MachineService::ServiceId i_id);
    static QString _GetName(const MachineService::MachineData& i_data);
    QString _GetServiceName(MachineService::ServiceId i_id) const;
    QVariant _GetData(const Service& i_service, int i_role) const;
    QVariant _GetData(const Machine& i_machine, int i_role) const;
    QString _GetStateText(const Machine& i_machine) const;

    MachineService::CommunicationClient& _client;
    Preferences& _preferences;
    std::vector<std::unique_ptr<Service>> _services;
    QHash<QUuid, Machine*> _byId;
    QHash<QUuid, QString> _attached;
    QUuid _active;
    std::function<QString(MachineService::ServiceId)> _reason;
    std::function<QString(MachineService::ServiceId)> _address;
    std::function<QString(MachineService::ServiceId)> _offer;
};

} // namespace Workbench
