#include "remote/CatalogReader.h"

#include "contract/Failure.h"
#include "hashing/Sha256.h"
#include "remote/Handshake.h"
#include "remote/Log.h"
#include "remote/StatusTrouble.h"
#include "remote/StoredMessages.h"
#include "remote/trust/Fingerprint.h"
#include "wire/Conversions.h"

#include <algorithm>
#include <utility>

namespace MachineService::Remote {

namespace {

constexpr std::chrono::milliseconds FirstPause(100);
constexpr std::chrono::milliseconds LongestPauseHere(1000);
constexpr std::chrono::milliseconds LongestPauseElsewhere(5000);
constexpr std::chrono::seconds LongestFirstAnswer(10);
constexpr std::chrono::seconds IconsDeadline(10);
constexpr std::chrono::seconds KeepInterval(10);
constexpr std::size_t MaxMachines = 100'000;
constexpr std::size_t IconsOfQuestion = 1000;

ServiceStatus FromMessage(pb::ServiceStatus i_status)
{
    const auto status = static_cast<ServiceStatus>(i_status);
    return status >= ServiceStatus::Stopped && status <= ServiceStatus::Failed ? status : ServiceStatus::Running;
}

bool IsAboutCredentials(Trouble i_trouble)
{
    return i_trouble == Trouble::CredentialsNeeded || i_trouble == Trouble::CredentialsRefused;
}

} // namespace

CatalogReader::CatalogReader(std::shared_ptr<RemoteService> ip_service, ICatalogListener& io_listener,
                             SnapshotFile i_file)
    : _service(std::move(ip_service))
    , _listener(io_listener)
    , _file(std::move(i_file))
    , _pause(FirstPause)
{}

void CatalogReader::Run()
{
    _TellStatus(ServiceStatus::Starting, {});
    _TakeKept();
    while (!_service->IsClosed()) {
        _attempt = _BeginAttempt();
        try {
            _ConnectAndWatch();
        } catch (const TroubleException& failure) {
            // The socket of a process that has ended refuses.
            const bool isGone = _service->address.isLocal && failure.trouble == Trouble::Refused;
            _HandleLoss(IsAboutCredentials(failure.trouble) ? ServiceStatus::AuthenticationRequired
                                                            : ServiceStatus::Failed,
                        failure.what(), isGone, failure.fingerprint);
        } catch (const std::exception& failure) {
            _HandleLoss(ServiceStatus::Failed, failure.what());
        }
        _service->retry.Pause(Clock::now() + _pause, _service->stop.get_token());
        _pause = std::min(2 * _pause, _service->address.isLocal ? LongestPauseHere : LongestPauseElsewhere);
    }
    _Keep();
}

void CatalogReader::_AskAbout(const std::string& i_fingerprint)
{
    if (_service->IsClosed() || !_asked.insert(i_fingerprint).second)
        return;
    _listener.ConfirmCertificate({_service->address.text, ShowFingerprint(i_fingerprint)},
                                 [weak = std::weak_ptr(_service), fingerprint = i_fingerprint](bool i_is_trusted) {
                                     const auto service = i_is_trusted ? weak.lock() : nullptr;
                                     if (!service)
                                         return;
                                     // Whoever answers waits for no disk.
                                     service->workers.Post([service, fingerprint] {
                                         service->pins.Add(service->address.text, fingerprint);
                                         service->isAnswered = true;
                                         service->retry.Wake();
                                     });
                                 });
}

std::stop_token CatalogReader::_BeginAttempt()
{
    const TavSDK::MutexLock lock(_mutex);
    _attemptStop = {};
    return _attemptStop.get_token();
}

void CatalogReader::_TakeKept()
{
    auto kept = _file.Read();
    if (!kept)
        return;
    for (const auto& icon : kept->icons)
        _service->icons.Add(HashOf({reinterpret_cast<const char*>(icon.GetBytes().data()), icon.GetBytes().size()}),
                            {icon.GetBytes().begin(), icon.GetBytes().end()});
    for (const auto& machine : kept->machines)
        FillPictures(*machine, _service->icons);
    _service->link.SetLost({}, kept->time);
    _TellNews(_service->machines.Replace(std::move(kept->machines), kept->position));
    _isDirty = false;
}

void CatalogReader::_ConnectAndWatch()
{
    _isCurrent = _isReading = false;
    _serviceStatus.reset();
    _pages.clear();
    _hashes.clear();
    // What it comes to is news, also when it is what it came to before.
    if (_service->isAnswered.exchange(false))
        _TellStatus(ServiceStatus::Starting, {});
    const auto connection = Connect(*_service, _attempt);
    std::optional<AuthenticationData> credentials;
    {
        const TavSDK::MutexLock lock(_mutex);
        credentials = _credentials;
    }
    Authenticate(*_service, *connection, credentials, _attempt);
    _Watch(connection);
}

void CatalogReader::_Watch(const std::shared_ptr<Connection>& ip_connection)
{
    Call call(*ip_connection, std::nullopt, {_service->stop.get_token(), _attempt});
    const auto position = _service->machines.GetPosition();
    pb::WatchCatalogRequest request;
    request.set_epoch(position.epoch);
    request.set_revision(position.revision);
    const auto cancel = [&call] {
        call.GetContext().TryCancel();
    };
    auto watch = _service->watchdog.Watch(LongestFirstAnswer, cancel);
    CatalogStream stream(*ip_connection, call.GetContext(), request);
    messages::CatalogEvent event;
    bool isFirst = true;
    while (stream.Read(event)) {
        const auto silence = ip_connection->told.longestSilence;
        if (isFirst && silence.count() > 0)
            watch = _service->watchdog.Watch(silence, cancel);
        else if (isFirst)
            watch = nullptr;
        else if (watch)
            watch->Feed();
        isFirst = false;
        _Take(event, ip_connection);
        // Pages share their memory, which nobody needs for the news of a day.
        if (event.snapshot().is_last())
            event = {};
    }
    const bool wasIdle = watch && watch->HasBitten();
    const auto status = stream.Finish();
    _service->Check(status, call.GetContext(), _attempt, wasIdle);
    // A service that ends it politely goes down.
    throw TroubleException(Trouble::Lost, _service->address);
}

void CatalogReader::_Take(const messages::CatalogEvent& i_event, const std::shared_ptr<Connection>& ip_connection)
{
    const Position position{i_event.epoch(), i_event.revision()};
    auto& machines = _service->machines;
    if (i_event.has_snapshot())
        _TakePage(i_event.snapshot(), position, *ip_connection);
    switch (i_event.event_case()) {
    case messages::CatalogEvent::kAdded:
        _TakeMachine(i_event.added(), 0, position, *ip_connection);
        break;
    case messages::CatalogEvent::kUpdated:
        _TakeMachine(i_event.updated().machine(), i_event.updated().changes(), position, *ip_connection);
        break;
    case messages::CatalogEvent::kRemoved: {
        const auto id = Wire::ToUuid(i_event.removed(), "machine's id");
        _TellNews(machines.Remove(id, position));
        _service->canRun.Forget(id);
        break;
    }
    case messages::CatalogEvent::kStatus:
        _serviceStatus = FromMessage(i_event.status());
        if (_isCurrent)
            _TellStatus(*_serviceStatus, {});
        break;
    default:
        // A page, a heartbeat, or what a newer service says.
        break;
    }
    // In the life of the list that is known, nothing but changes comes; in another one, a snapshot.
    if (!_isCurrent && !_isReading && !position.epoch.empty() && position.epoch == machines.GetPosition().epoch)
        _BecomeCurrent(ip_connection);
    if (_isDirty && Clock::now() - _keptAt > KeepInterval)
        _Keep();
}

void CatalogReader::_TakePage(const messages::SnapshotPage& i_page, const Position& i_position,
                              Connection& io_connection)
{
    _isReading = true;
    pb::Machine message;
    for (const auto& bytes : i_page.machines()) {
        if (_pages.size() >= MaxMachines)
            Fail(ErrorCode::InternalError, "The machine service offers too many machines; it needs to be repaired.");
        try {
            if (!message.ParseFromString(bytes))
                Fail(ErrorCode::InternalError, "it is no message of the machine service protocol.");
            _pages.push_back(ToStored(message));
            CollectHashes(*_pages.back(), _hashes);
        } catch (const CommunicationException& failure) {
            qCWarning(RemoteLog, "A machine is left out: %s", failure.what());
        }
    }
    if (!i_page.is_last())
        return;
    _service->icons.KeepOnly(_hashes);
    _FetchIcons(_hashes, io_connection);
    if (!_hashes.empty()) {
        for (const auto& machine : _pages)
            FillPictures(*machine, _service->icons);
    }
    _isReading = false;
    const auto news = _service->machines.Replace(std::exchange(_pages, {}), i_position);
    _hashes.clear();
    for (const auto& id : news.removed)
        _service->canRun.Forget(id);
    _TellNews(news);
    _Keep();
}

void CatalogReader::_TakeMachine(const pb::Machine& i_machine, std::uint32_t i_changes, const Position& i_position,
                                 Connection& io_connection)
{
    std::shared_ptr<StoredMachine> machine;
    try {
        machine = ToStored(i_machine);
    } catch (const CommunicationException& failure) {
        qCWarning(RemoteLog, "News of a machine are left out: %s", failure.what());
        return;
    }
    std::set<std::string> hashes;
    CollectHashes(*machine, hashes);
    _FetchIcons(hashes, io_connection);
    FillPictures(*machine, _service->icons);
    _service->canRun.Invalidate(machine->data.id);
    _TellNews(_service->machines.Put(std::move(machine), static_cast<MachineChanges>(i_changes), i_position));
}

void CatalogReader::_BecomeCurrent(const std::shared_ptr<Connection>& ip_connection)
{
    _isCurrent = _isReachable = true;
    _pause = FirstPause;
    _service->link.SetConnected(ip_connection);
    if (std::exchange(_hasSettled, true))
        _TellAllChanged();
    _TellStatus(_serviceStatus.value_or(ServiceStatus::Running), {});
}

void CatalogReader::_FetchIcons(const std::set<std::string>& i_hashes, Connection& io_connection)
{
    const auto missing = _service->icons.TakeMissing(i_hashes);
    for (std::size_t first = 0; first < missing.size(); first += IconsOfQuestion) {
        pb::GetIconsRequest request;
        for (std::size_t index = first; index < std::min(missing.size(), first + IconsOfQuestion); ++index)
            request.add_sha256(missing[index]);
        Call call(io_connection, IconsDeadline, {_service->stop.get_token(), _attempt});
        const auto reader = io_connection.GetStub().GetIcons(&call.GetContext(), request);
        for (pb::Icon icon; reader->Read(&icon);) {
            if (!_service->icons.Add(icon.sha256(), icon.content()))
                qCWarning(RemoteLog, "An icon of %s is left out: it is damaged or too large.",
                          _service->address.text.c_str());
        }
        if (const auto status = reader->Finish(); !status.ok() && !IsUnknownCall(status)) {
            qCWarning(RemoteLog, "Icons of %s did not come: %s", _service->address.text.c_str(),
                      status.error_message().c_str());
            return;
        }
    }
}

void CatalogReader::_TellNews(const MachineNews& i_news)
{
    if (i_news.removed.empty() && i_news.updated.empty() && i_news.added.empty())
        return;
    _isDirty = true;
    _listener.TellNews(i_news);
}

void CatalogReader::_TellStatus(ServiceStatus i_status, const std::string& i_reason)
{
    if (_told && _told->first == i_status && _told->second == i_reason)
        return;
    _told.emplace(i_status, i_reason);
    _listener.TellStatus(i_status, i_reason);
}

void CatalogReader::_TellAllChanged()
{
    MachineNews news;
    for (const auto& id : _service->machines.GetIds())
        news.updated.emplace_back(id, MachineChanges::StateChanged);
    _listener.TellNews(news);
}

void CatalogReader::_HandleLoss(ServiceStatus i_status, const std::string& i_sentence, bool i_is_gone,
                                const std::string& i_fingerprint)
{
    // Nothing is lost when somebody wants another connection.
    if (_service->IsClosed() || _attempt.stop_requested())
        return;
    // Also where the loss is that of a later attempt, which somebody's new secret ended the last connection for.
    const bool wasConnected = std::exchange(_isReachable, false);
    _isCurrent = false;
    _hasSettled = true;
    _service->link.SetLost(i_sentence, {}, i_is_gone);
    if (!_told || _told->first != i_status || _told->second != i_sentence)
        qCWarning(RemoteLog, "%s", i_sentence.c_str());
    if (wasConnected)
        _TellAllChanged();
    // Before the status: who hears of that knows that it may not be the last word.
    if (!i_fingerprint.empty())
        _AskAbout(i_fingerprint);
    _TellStatus(i_status, i_sentence);
    if (wasConnected)
        _Keep();
    // What did not come on that connection may come on the next.
    _service->icons.ForgetQuestions();
}

void CatalogReader::_Keep()
{
    if (!_isDirty)
        return;
    _file.Write(_service->machines, _service->icons);
    _isDirty = false;
    _keptAt = Clock::now();
}

void CatalogReader::SetCredentials(std::optional<AuthenticationData> i_credentials)
{
    std::stop_source attempt;
    _service->isAnswered = true;
    {
        const TavSDK::MutexLock lock(_mutex);
        _credentials = std::move(i_credentials);
        attempt = _attemptStop;
    }
    _service->retry.Wake();
    attempt.request_stop();
}

} // namespace MachineService::Remote
