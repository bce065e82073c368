#include "server/RunBook.h"

#include "client/interface/CommunicationException.h"
#include "server/RunEntry_p.h"
#include "wire/Conversions.h"
#include "wire/WireFailure.h"

#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineService::Server {

namespace {

using Kind = Wire::WireFailure::Kind;

[[noreturn]] void RefuseUnknown()
{
    throw Wire::WireFailure(Kind::NotFound, ErrorCode::InternalError,
                            "The service does not know the run any more; start it again.", "unknown-run");
}

/// What is forgotten because everything ends is not unknown: the host waits for the service to be back.
[[noreturn]] void RefuseGoingDown()
{
    throw CommunicationException(ErrorCode::ServicesUnavailable, "The service goes down; try again later.");
}

[[noreturn]] void RefuseBusy(const std::string& i_why)
{
    throw Wire::WireFailure(Kind::Busy, ErrorCode::InternalError, i_why, "busy");
}

[[noreturn]] void RefuseBad(const char* ip_why, const char* ip_reason = "bad-request")
{
    throw Wire::WireFailure(Kind::BadRequest, ErrorCode::InternalError, ip_why, ip_reason);
}

} // namespace

RunBook::RunBook(Limits i_limits, std::shared_ptr<Bell> ip_bell, Log i_log, std::function<Clock::time_point()> i_now)
    : _limits(i_limits)
    , _bell(std::move(ip_bell))
    , _log(std::move(i_log))
    , _now(std::move(i_now))
{}

RunBook::~RunBook()
{
    Close();
}

void RunBook::_Tell(const Entry& i_entry, const char* ip_what) const
{
    if (_log)
        _log("run " + boost::uuids::to_string(i_entry.order.id) + ": " + ip_what);
}

RunBook::EntryPointer RunBook::_Find(const boost::uuids::uuid& i_id) const
{
    const TavSDK::MutexLock lock(_mutex);
    if (_isClosed)
        RefuseGoingDown();
    const auto found = _entries.find(i_id);
    if (found == _entries.end())
        RefuseUnknown();
    const TavSDK::MutexLock entryLock(found->second->mutex);
    found->second->lastWord = _now();
    return found->second;
}

void RunBook::_CheckBounds(const RunOrder& i_order) const
{
    std::size_t running = 0;
    std::size_t ofClient = 0;
    std::uint64_t bytes = i_order.input ? i_order.input->size : 0;
    if (bytes > _limits.inputBytes)
        RefuseBad("The input is larger than the service takes; make it smaller, or raise the service's bound.",
                  "too-large");
    if (i_order.input && !Wire::IsPlainFileName(i_order.input->name))
        RefuseBad("The name of the input is no plain file name.");
    for (const auto& [id, entry] : _entries) {
        bytes += entry->order.input ? entry->order.input->size : 0;
        if (entry->GetState().HasEnded())
            continue;
        ++running;
        ofClient += entry->order.client == i_order.client ? 1 : 0;
    }
    if (_isDraining)
        RefuseGoingDown();
    if (running >= _limits.running || ofClient >= _limits.runningOfOneClient)
        RefuseBusy("The service has as many runs as it takes; wait until one of them has ended.");
    if (_entries.size() >= _limits.kept || bytes > _limits.diskBytes)
        RefuseBusy("The service keeps as many runs as it can; try again in some minutes.");
}

RunBook::EntryPointer RunBook::_Enter(RunOrder& io_order)
{
    const TavSDK::MutexLock lock(_mutex);
    if (_isClosed)
        RefuseGoingDown();
    const auto found = _entries.find(io_order.id);
    if (found != _entries.end()) {
        if (found->second->order.fingerprint != io_order.fingerprint)
            RefuseBad("A run of this id was started with another order.");
        return nullptr;
    }
    if (io_order.isResumption)
        RefuseUnknown();
    _CheckBounds(io_order);
    auto entry = std::make_shared<Entry>(std::move(io_order), _bell, _now);
    _entries[entry->order.id] = entry;
    return entry;
}

RunState RunBook::Start(RunOrder i_order)
{
    const auto id = i_order.id;
    if (const auto entry = _Enter(i_order)) {
        _Tell(*entry, "accepted");
        // An empty input is there already.
        if (!entry->order.input)
            _Launch(entry);
        else if (entry->order.input->size == 0)
            Take(id, BeginUpload(id), {});
    }
    return _Find(id)->GetState();
}

RunState RunBook::Get(const boost::uuids::uuid& i_id)
{
    return _Find(i_id)->GetState();
}

std::uint64_t RunBook::BeginUpload(const boost::uuids::uuid& i_id)
{
    const auto entry = _Find(i_id);
    const TavSDK::MutexLock lock(entry->uploadMutex);
    return ++entry->upload;
}

RunState RunBook::Take(const boost::uuids::uuid& i_id, std::uint64_t i_upload, const Wire::ReceivedPiece& i_piece)
{
    const auto entry = _Find(i_id);
    {
        const TavSDK::MutexLock lock(entry->uploadMutex);
        if (entry->upload != i_upload)
            RefuseBad("Another upload of this run took the place of this one.", "wrong-order");
        if (!entry->incoming)
            return entry->GetState();
        if (!entry->incoming->IsComplete() || !i_piece.content.empty()) {
            switch (entry->incoming->Take(i_piece)) {
            case Wire::ChunkReader::Piece::OutOfOrder:
                RefuseBad("A piece of the input does not begin where the last one ended.", "wrong-order");
            case Wire::ChunkReader::Piece::TooLong:
                RefuseBad("A piece of the input is too long, or there is more of it than was announced.", "too-large");
            case Wire::ChunkReader::Piece::Damaged:
                throw Wire::WireFailure(Kind::Damaged, ErrorCode::InternalError,
                                        "A piece of the input was damaged on the way; send it again.", "damaged");
            case Wire::ChunkReader::Piece::Taken:
                break;
            }
        }
        const bool isWhole = entry->incoming->IsComplete() && entry->incoming->Accept();
        const auto received = isWhole ? entry->order.input->size : entry->incoming->GetReceived();
        const bool isRefused = !isWhole && received == 0 && !i_piece.content.empty();
        entry->Update([&](RunState& io_state) { io_state.received = received; });
        if (isRefused || (!isWhole && entry->order.input->size == 0))
            throw Wire::WireFailure(Kind::Damaged, ErrorCode::InternalError,
                                    "The input is not what was announced; send it again.", "damaged");
        if (!isWhole)
            return entry->GetState();
        entry->incoming.reset();
    }
    _Launch(entry);
    return entry->GetState();
}

void RunBook::_Launch(const EntryPointer& ip_entry)
{
    const TavSDK::MutexLock lock(_mutex);
    if (_isClosed || ip_entry->stop.stop_requested())
        return;
    ip_entry->Update([](RunState& io_state) { io_state.phase = RunState::Phase::Running; });
    const TavSDK::MutexLock entryLock(ip_entry->mutex);
    if (ip_entry->state.HasEnded())
        return;
    // The book joins the thread before it lets the entry go.
    ip_entry->thread = std::thread([entry = ip_entry.get()] { entry->Carry(); });
    _Tell(*ip_entry, "begun");
}

RunState RunBook::Cancel(const boost::uuids::uuid& i_id)
{
    const auto entry = _Find(i_id);
    const bool isRunning = entry->GetState().phase == RunState::Phase::Running;
    if (!entry->GetState().HasEnded())
        _Tell(*entry, "cancelled by its host");
    entry->stop.request_stop();
    if (!isRunning)
        entry->Fail(
            std::make_exception_ptr(CommunicationException(ErrorCode::ProcessingAborted, "The run was cancelled.")));
    return entry->GetState();
}

void RunBook::Release(const boost::uuids::uuid& i_id)
{
    const auto entry = _Find(i_id);
    entry->stop.request_stop();
    const TavSDK::MutexLock lock(_mutex);
    if (_entries.erase(i_id) == 0)
        return;
    _leaving.push_back(entry);
    _Tell(*entry, "released");
}

RunBook::OpenedFile RunBook::Open(const boost::uuids::uuid& i_id, std::size_t i_file)
{
    const auto entry = _Find(i_id);
    const auto state = entry->GetState();
    if (state.phase != RunState::Phase::Finished)
        RefuseBad("The run has not finished: there is nothing to fetch yet.", "wrong-order");
    if (i_file >= state.files.size())
        RefuseBad("The run left no such file.");
    return {entry->outputDir.GetAbsoluteFileNameInTempDir(state.files[i_file].name), state.files[i_file], entry};
}

std::shared_ptr<void> RunBook::Attend(const boost::uuids::uuid& i_id)
{
    const auto entry = _Find(i_id);
    {
        const TavSDK::MutexLock lock(entry->mutex);
        ++entry->attendants;
    }
    return {entry.get(), [entry](void*) {
                const TavSDK::MutexLock lock(entry->mutex);
                --entry->attendants;
                entry->lastWord = entry->now();
            }};
}

bool RunBook::IsIdle() const
{
    const TavSDK::MutexLock lock(_mutex);
    return std::all_of(_entries.begin(), _entries.end(),
                       [](const auto& i_entry) { return i_entry.second->GetState().HasEnded(); });
}

void RunBook::Drain()
{
    const TavSDK::MutexLock lock(_mutex);
    _isDraining = true;
}

} // namespace MachineService::Server
