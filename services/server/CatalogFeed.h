#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "server/CatalogJournal.h"
#include "server/IconStore.h"

#include <functional>
#include <memory>
#include <string>

namespace MachineService::Server {

/// Carries a catalog's machines and its news into the journal, in the order in which they were raised.
///
/// Thread: any; the catalog is asked on a thread of the feed's own, so that a slow machine delays neither the thread
/// that raises news nor a host.
/// Ownership: catalog, journal and icons outlive it. Slots that still run when it goes do
/// nothing.
class CatalogFeed
{
public:
    using Log = std::function<void(const std::string&)>;

    /// \param i_awaits_status the services are about to be started, and hosts wait for what they tell of themselves;
    /// not where they were started before, and no longer than a few seconds where they tell nothing.
    /// \param i_language see MachineServerOptions.
    CatalogFeed(AbstractMachinesCatalog& io_catalog, CatalogJournal& io_journal, IconStore& io_icons,
                bool i_awaits_status, std::string i_language, Log i_log);
    ~CatalogFeed();
    CatalogFeed(const CatalogFeed&) = delete;
    CatalogFeed& operator=(const CatalogFeed&) = delete;

private:
    struct News;
    struct Queue;

    void _Run();
    void _Carry(const News& i_news);
    /// \return false when the machine did not tell its commands yet.
    bool _Publish(const boost::uuids::uuid& i_id, std::uint32_t i_changes);
    bool _AddCommands(const Machine& i_machine, Wire::pb::Machine& o_message,
                      std::vector<std::shared_ptr<const StoredIcon>>& io_icons);
    void _AddPicture(const MachineData& i_data, Wire::pb::Machine& o_message,
                     std::vector<std::shared_ptr<const StoredIcon>>& io_icons);
    void _AddRepresentations(const MachineData& i_data, Wire::pb::Machine& o_message,
                             std::vector<std::shared_ptr<const StoredIcon>>& io_icons);

    AbstractMachinesCatalog& _catalog;
    CatalogJournal& _journal;
    IconStore& _icons;
    const std::string _language;
    const Log _log;
    const std::shared_ptr<Queue> _queue; ///< shared with the slots
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::Server
