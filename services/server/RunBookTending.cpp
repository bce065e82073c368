#include "client/interface/CommunicationException.h"
#include "server/RunEntry_p.h"

namespace MachineService::Server {

namespace {

std::exception_ptr MakeAborted(const char* ip_why)
{
    return std::make_exception_ptr(CommunicationException(ErrorCode::ProcessingAborted, ip_why));
}

} // namespace

void RunBook::Tend()
{
    std::vector<EntryPointer> lost;
    std::vector<EntryPointer> left;
    {
        const TavSDK::MutexLock lock(_mutex);
        for (auto place = _entries.begin(); place != _entries.end();) {
            const auto entry = place->second;
            const TavSDK::MutexLock entryLock(entry->mutex);
            const auto silence = _now() - entry->lastWord;
            const bool isKept =
                entry->attendants > 0 || silence < (entry->state.HasEnded() ? _limits.finishedKept : _limits.hostGrace);
            if (!isKept && !entry->state.HasEnded())
                lost.push_back(entry);
            if (!isKept && entry->state.HasEnded()) {
                _leaving.push_back(entry);
                place = _entries.erase(place);
            } else {
                ++place;
            }
        }
        for (auto place = _leaving.begin(); place != _leaving.end();) {
            const TavSDK::MutexLock entryLock((*place)->mutex);
            if ((*place)->thread.joinable() && !(*place)->hasLeft) {
                ++place;
                continue;
            }
            left.push_back(*place);
            place = _leaving.erase(place);
        }
    }
    for (const auto& entry : lost) {
        entry->stop.request_stop();
        if (entry->Fail(MakeAborted("The run was given up because its host did not come back.")))
            _Tell(*entry, "given up, its host did not come back");
    }
    for (const auto& entry : left) {
        std::thread thread;
        {
            const TavSDK::MutexLock lock(entry->mutex);
            thread.swap(entry->thread);
        }
        if (thread.joinable())
            thread.join();
    }
}

void RunBook::Close()
{
    std::vector<EntryPointer> all;
    {
        const TavSDK::MutexLock lock(_mutex);
        _isDraining = _isClosed = true;
        all.swap(_leaving);
        for (const auto& [id, entry] : _entries)
            all.push_back(entry);
        _entries.clear();
    }
    for (const auto& entry : all) {
        entry->isClosing = true;
        entry->stop.request_stop();
        entry->Fail(MakeAborted("The run was given up because the service goes down."));
    }
    for (const auto& entry : all) {
        std::thread thread;
        {
            const TavSDK::MutexLock lock(entry->mutex);
            thread.swap(entry->thread);
        }
        if (thread.joinable())
            thread.join();
    }
}

} // namespace MachineService::Server
