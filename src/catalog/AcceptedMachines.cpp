#include "catalog/AcceptedMachines.h"

namespace MachineService {

bool AcceptedMachines::Contains(const boost::uuids::uuid& i_id) const
{
    const TavSDK::MutexLock lock(_mutex);
    return _ids.contains(i_id);
}

std::vector<bool> AcceptedMachines::Contain(const std::vector<boost::uuids::uuid>& i_ids) const
{
    std::vector<bool> areAccepted;
    areAccepted.reserve(i_ids.size());
    const TavSDK::MutexLock lock(_mutex);
    for (const boost::uuids::uuid& id : i_ids)
        areAccepted.push_back(_ids.contains(id));
    return areAccepted;
}

NewsOrder::Place AcceptedMachines::Remove(const boost::uuids::uuid& i_id)
{
    const TavSDK::MutexLock lock(_mutex);
    _Record(i_id, true, 0);
    return _ids.erase(i_id) > 0 ? _news.Append({News::Kind::MachineRemoved, i_id}) : NewsOrder::Place();
}

NewsOrder::Place AcceptedMachines::Update(const boost::uuids::uuid& i_id, MachineChanges i_changes)
{
    const TavSDK::MutexLock lock(_mutex);
    return _ids.contains(i_id) ? _news.Append({News::Kind::MachineUpdated, i_id, i_changes}) : NewsOrder::Place();
}

void AcceptedMachines::_Record(const boost::uuids::uuid& i_id, bool i_is_gone, int i_own_evaluations)
{
    ++_sequence;
    if (_evaluations > i_own_evaluations)
        _changes.insert_or_assign(i_id, Change{_sequence, i_is_gone});
}

AcceptedMachines::Evaluation::Evaluation(AcceptedMachines& io_machines, Kind i_kind)
    : _machines(io_machines)
    , _kind(i_kind)
{
    const TavSDK::MutexLock lock(_machines._mutex);
    ++_machines._evaluations;
    if (_kind == Kind::Invalidation)
        _machines._lastInvalidation = ++_machines._sequence;
    _begin = _seen = _machines._sequence;
}

AcceptedMachines::Evaluation::~Evaluation()
{
    const TavSDK::MutexLock lock(_machines._mutex);
    if (--_machines._evaluations == 0)
        _machines._changes.clear();
}

std::optional<NewsOrder::Place> AcceptedMachines::Evaluation::Apply(const boost::uuids::uuid& i_id, bool i_is_accepted)
{
    const TavSDK::MutexLock lock(_machines._mutex);
    const Sequence askedAt = std::exchange(_seen, _machines._sequence);
    if (!_machines._changes.empty()) {
        const auto change = _machines._changes.find(i_id);
        if (change != _machines._changes.end() && change->second.sequence > _begin) {
            // The machine went meanwhile: the answer is about nothing.
            if (change->second.isGone)
                return NewsOrder::Place();
            if (change->second.sequence > askedAt)
                return std::nullopt;
        }
    }
    // Whoever changes the rule invalidates afterwards: an answer from before may be the old rule's, and the
    // invalidation may have passed this machine already.
    if (_machines._lastInvalidation > askedAt)
        return std::nullopt;
    return i_is_accepted ? _Accept(i_id) : _Reject(i_id);
}

NewsOrder::Place AcceptedMachines::Evaluation::_Accept(const boost::uuids::uuid& i_id)
{
    const bool isNew = _machines._ids.insert(i_id).second;
    // Confirming is a decision as well: an older rejection must not undo it.
    _machines._Record(i_id, false, 1);
    // What a service announces is passed on, also when it does so twice.
    if (!isNew && _kind == Kind::Invalidation)
        return {};
    return _machines._news.Append({News::Kind::MachineAdded, i_id});
}

NewsOrder::Place AcceptedMachines::Evaluation::_Reject(const boost::uuids::uuid& i_id)
{
    if (_kind == Kind::Announcement || _machines._ids.erase(i_id) == 0)
        return {};
    _machines._Record(i_id, false, 1);
    return _machines._news.Append({News::Kind::MachineRemoved, i_id});
}

std::vector<bool> AcceptedMachines::Evaluation::Look(std::span<const boost::uuids::uuid> i_ids)
{
    std::vector<bool> areAccepted;
    areAccepted.reserve(i_ids.size());
    const TavSDK::MutexLock lock(_machines._mutex);
    for (const boost::uuids::uuid& id : i_ids)
        areAccepted.push_back(_machines._ids.contains(id));
    _looked = _machines._sequence;
    return areAccepted;
}

bool AcceptedMachines::Evaluation::IsAsLooked() const
{
    return _machines._sequence == _looked;
}

bool AcceptedMachines::Evaluation::HasGone(const boost::uuids::uuid& i_id) const
{
    const TavSDK::MutexLock lock(_machines._mutex);
    const auto change = _machines._changes.find(i_id);
    return change != _machines._changes.end() && change->second.sequence > _begin && change->second.isGone;
}

} // namespace MachineService
