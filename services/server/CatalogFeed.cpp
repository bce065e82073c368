#include "server/CatalogFeed.h"

#include "client/interface/CommunicationException.h"
#include "server/TextLanguage.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"
#include "wire/Conversions.h"

#include <boost/signals2/connection.hpp>

#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <map>
#include <set>
#include <thread>

namespace MachineService::Server {

namespace pb = Wire::pb;

namespace {

/// Commands are answered from local state; a machine that takes longer is asked again later.
constexpr auto LongestAnswer = std::chrono::seconds(2);
constexpr auto AskAgain = std::chrono::seconds(5);
/// A service tells at once that it starts; one that has said nothing for so long tells no status at all.
constexpr auto LongestSilence = std::chrono::seconds(3);

constexpr std::array Representations{MachineRepresentation::Machine, MachineRepresentation::Queue,
                                     MachineRepresentation::Group, MachineRepresentation::Template};

/// There is one status on the wire: of several services, of the one that is the most use to a host.
pb::ServiceStatus Combine(const std::map<ServiceId, ServiceStatus>& i_all)
{
    for (const auto status : {ServiceStatus::Starting, ServiceStatus::AuthenticationRequired, ServiceStatus::Running,
                              ServiceStatus::Failed}) {
        for (const auto& [id, each] : i_all) {
            if (each == status)
                return static_cast<pb::ServiceStatus>(status);
        }
    }
    return pb::SERVICE_STATUS_STOPPED;
}

} // namespace

struct CatalogFeed::News
{
    enum class Kind
    {
        Machine,
        Removed,
        Status,
        Loaded
    };
    Kind kind = Kind::Machine;
    boost::uuids::uuid id = {};
    std::uint32_t changes = 0;
    ServiceId service = ServiceId::None;
    ServiceStatus status = ServiceStatus::Stopped;
};

struct CatalogFeed::Queue
{
    void Add(const News& i_news)
    {
        const TavSDK::MutexLock lock(mutex);
        news.push_back(i_news);
        wakeUp.notify_one();
    }

    TavSDK::Mutex mutex; ///< guards news and isStopped
    std::condition_variable_any wakeUp;
    std::deque<News> news TAVSDK_GUARDED_BY(mutex);
    bool isStopped TAVSDK_GUARDED_BY(mutex) = false;
};

struct CatalogFeed::Impl
{
    // Used by the thread only.
    std::map<ServiceId, ServiceStatus> statuses;
    std::set<boost::uuids::uuid> late; ///< machines that did not tell their commands
    bool awaitsStatus = false;

    std::array<boost::signals2::scoped_connection, 4> connections;
    std::thread thread;
};

CatalogFeed::CatalogFeed(AbstractMachinesCatalog& io_catalog, CatalogJournal& io_journal, IconStore& io_icons,
                         bool i_awaits_status, std::string i_language, Log i_log)
    : _catalog(io_catalog)
    , _journal(io_journal)
    , _icons(io_icons)
    , _language(std::move(i_language))
    , _log(std::move(i_log))
    , _queue(std::make_shared<Queue>())
    , _impl(std::make_unique<Impl>())
{
    const auto queue = _queue;
    _impl->connections = {
        io_catalog.ConnectMachineAdded([queue](const boost::uuids::uuid& i_id) { queue->Add({.id = i_id}); }),
        io_catalog.ConnectMachineRemoved(
            [queue](const boost::uuids::uuid& i_id) { queue->Add({.kind = News::Kind::Removed, .id = i_id}); }),
        io_catalog.ConnectMachineUpdated([queue](const boost::uuids::uuid& i_id, MachineChanges i_changes) {
            queue->Add({.id = i_id, .changes = static_cast<std::uint32_t>(i_changes)});
        }),
        io_catalog.ConnectServiceStatusUpdated([queue](ServiceId i_service, ServiceStatus i_status) {
            queue->Add({.kind = News::Kind::Status, .service = i_service, .status = i_status});
        })};
    const auto ids = io_catalog.GetMachineIds();
    for (const auto& id : ids)
        queue->Add({.id = id});
    queue->Add({.kind = News::Kind::Loaded});
    if (i_awaits_status) {
        // Services that run already do not tell it again.
        _impl->awaitsStatus = ids.empty();
        io_journal.SetStatus(ids.empty() ? pb::SERVICE_STATUS_STARTING : pb::SERVICE_STATUS_RUNNING);
    }
    _impl->thread = std::thread([this] { _Run(); });
}

CatalogFeed::~CatalogFeed()
{
    for (auto& connection : _impl->connections)
        connection.disconnect();
    {
        const TavSDK::MutexLock lock(_queue->mutex);
        _queue->isStopped = true;
        _queue->wakeUp.notify_one();
    }
    _impl->thread.join();
}

void CatalogFeed::_Run()
{
    const auto silenceEnd = std::chrono::steady_clock::now() + LongestSilence;
    TavSDK::MutexLock lock(_queue->mutex);
    while (!_queue->isStopped) {
        if (!_queue->news.empty()) {
            const News news = _queue->news.front();
            _queue->news.pop_front();
            lock.unlock();
            TavSDK::StopExceptions(
                [&] { _Carry(news); },
                [&](const char* ip_why) { _log(std::string("A machine cannot be told: ") + ip_why); });
            lock.lock();
        } else if (_impl->awaitsStatus) {
            if (_queue->wakeUp.wait_until(lock, silenceEnd) == std::cv_status::timeout) {
                _impl->awaitsStatus = false;
                _journal.SetStatus(pb::SERVICE_STATUS_RUNNING);
            }
        } else if (_impl->late.empty()) {
            _queue->wakeUp.wait(lock);
        } else if (_queue->wakeUp.wait_for(lock, AskAgain) == std::cv_status::timeout) {
            for (const auto& id : std::exchange(_impl->late, {}))
                _queue->news.push_back(
                    {.id = id, .changes = static_cast<std::uint32_t>(MachineChanges::CommandsChanged)});
        }
    }
}

void CatalogFeed::_Carry(const News& i_news)
{
    switch (i_news.kind) {
    case News::Kind::Status:
        _impl->awaitsStatus = false;
        _impl->statuses[i_news.service] = i_news.status;
        _journal.SetStatus(Combine(_impl->statuses));
        return;
    case News::Kind::Loaded:
        _journal.SetLoaded();
        return;
    case News::Kind::Removed:
        _impl->late.erase(i_news.id);
        _journal.Remove(Wire::ToBytes(i_news.id));
        return;
    case News::Kind::Machine:
        if (_Publish(i_news.id, i_news.changes))
            _impl->late.erase(i_news.id);
        else
            _impl->late.insert(i_news.id);
        return;
    }
}

bool CatalogFeed::_Publish(const boost::uuids::uuid& i_id, std::uint32_t i_changes)
{
    // It may have gone again; that it did is told by news of its own.
    if (i_id.is_nil() || !_catalog.HasMachine(i_id))
        return true;
    const Machine machine = _catalog.GetMachine(i_id);
    const MachineData data = machine.GetMachineData();
    auto message = Wire::ToMessage(data);
    std::vector<std::shared_ptr<const StoredIcon>> icons;
    _AddPicture(data, message, icons);
    const bool isWhole = _AddCommands(machine, message, icons);
    _AddRepresentations(data, message, icons);
    NameLanguage(_language, message);
    _journal.Put(Wire::ToBytes(i_id), std::make_shared<PublishedMachine>(message, std::move(icons)), i_changes);
    return isWhole;
}

void CatalogFeed::_AddPicture(const MachineData& i_data, Wire::pb::Machine& o_message,
                              std::vector<std::shared_ptr<const StoredIcon>>& io_icons)
{
    o_message.clear_picture_sha256();
    if (auto icon = _icons.Add(i_data.picture.GetBytes())) {
        o_message.set_picture_sha256(icon->hash);
        io_icons.push_back(std::move(icon));
    }
}

bool CatalogFeed::_AddCommands(const Machine& i_machine, Wire::pb::Machine& o_message,
                               std::vector<std::shared_ptr<const StoredIcon>>& io_icons)
{
    auto answer = i_machine.GetCommands();
    if (!answer.valid())
        return true;
    if (answer.wait_for(LongestAnswer) != std::future_status::ready)
        return false;
    for (const auto& command : answer.get()) {
        auto& message = *o_message.add_commands();
        message = Wire::ToMessage(command);
        message.clear_icon_sha256();
        if (auto icon = _icons.Add(command.icon)) {
            message.set_icon_sha256(icon->hash);
            io_icons.push_back(std::move(icon));
        }
    }
    return true;
}

void CatalogFeed::_AddRepresentations(const MachineData& i_data, Wire::pb::Machine& o_message,
                                      std::vector<std::shared_ptr<const StoredIcon>>& io_icons)
{
    for (const auto representation : Representations) {
        if (representation == i_data.representation)
            continue;
        const auto other = _catalog.TryGetMachine(i_data.serviceId, i_data.id, representation);
        // A catalog may give the machine itself for whatever is asked.
        if (!other || other->GetMachineData().representation != representation)
            continue;
        auto& message = *o_message.add_other_representations();
        message = Wire::ToMessage(other->GetMachineData());
        _AddPicture(other->GetMachineData(), message, io_icons);
        _AddCommands(*other, message, io_icons);
    }
}

} // namespace MachineService::Server
