#pragma once

#include "catalog/NewsOrder.h"

#include "tavsdk/Mutex.h"

#include <boost/unordered/unordered_flat_set.hpp>
#include <boost/uuid/uuid.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace MachineService {

/// The ids of the machines that the rule accepted, and what happened to them while somebody was asking the rule.
///
/// The rule is asked without a lock, so its answer may be out of date when it comes: the machine may have gone, or
/// another thread may have decided about it. An Evaluation notices and says what to do with the answer.
///
/// Every decision takes its place in the order of news as it is made, so that whoever keeps a list by the news ends
/// with the machines that are accepted. The caller raises what it is given a place for.
///
/// Thread: any.
class AcceptedMachines
{
public:
    class Evaluation;

    explicit AcceptedMachines(NewsOrder& io_news)
        : _news(io_news)
    {}

    bool Contains(const boost::uuids::uuid& i_id) const;
    /// One answer per id, in order.
    std::vector<bool> Contain(const std::vector<boost::uuids::uuid>& i_ids) const;
    /// The source says that the machine is gone.
    NewsOrder::Place Remove(const boost::uuids::uuid& i_id);
    /// The source says that the machine is another now.
    NewsOrder::Place Update(const boost::uuids::uuid& i_id, MachineChanges i_changes);

private:
    using Sequence = std::uint64_t;

    struct Change
    {
        Sequence sequence;
        bool isGone;
    };

    /// Ids are random already: their bits need no more than folding.
    struct Hash
    {
        using is_avalanching = void;
        std::size_t operator()(const boost::uuids::uuid& i_id) const
        {
            std::uint64_t halves[2];
            std::memcpy(halves, i_id.data, sizeof(halves));
            // Ids that someone numbered by hand differ in a few bits only; the multiplication spreads them.
            std::uint64_t mixed = (halves[0] ^ (halves[1] * 0x9e3779b97f4a7c15u)) * 0xff51afd7ed558ccdu;
            return static_cast<std::size_t>(mixed ^ (mixed >> 32));
        }
    };

    void _Record(const boost::uuids::uuid& i_id, bool i_is_gone, int i_own_evaluations) TAVSDK_REQUIRES(_mutex);

    NewsOrder& _news;
    // Guards all below, and is held while a decision takes its place in the order of news; neither while the rule is
    // asked nor while news are raised. Taken before the lock of the order.
    mutable TavSDK::Mutex _mutex;
    boost::unordered_flat_set<boost::uuids::uuid, Hash> _ids TAVSDK_GUARDED_BY(_mutex);
    std::map<boost::uuids::uuid, Change>
        _changes TAVSDK_GUARDED_BY(_mutex); ///< since the oldest evaluation that still runs
    std::atomic<Sequence> _sequence = 0;    ///< may be read without the mutex: whether anything was decided since
    Sequence _lastInvalidation TAVSDK_GUARDED_BY(_mutex) = 0;
    int _evaluations TAVSDK_GUARDED_BY(_mutex) = 0;
};

/// Somebody is asking the rule, about one machine or about one after the other.
///
/// Thread: one.
class AcceptedMachines::Evaluation
{
public:
    enum class Kind
    {
        Announcement, ///< a machine that the source announced: a rejection changes nothing
        Invalidation, ///< all machines again
    };

    Evaluation(AcceptedMachines& io_machines, Kind i_kind);
    ~Evaluation();
    Evaluation(const Evaluation&) = delete;
    Evaluation& operator=(const Evaluation&) = delete;

    /// Takes the rule's answer, which was asked for after the last call of Apply or, the first one, after construction.
    /// Nothing when somebody else decided meanwhile, whose decision may be newer than the answer: ask again.
    std::optional<NewsOrder::Place> Apply(const boost::uuids::uuid& i_id, bool i_is_accepted);
    /// Which of the machines are accepted at this moment: one look for many, which costs little where one for each
    /// would have to fetch the ids from memory again and again.
    std::vector<bool> Look(std::span<const boost::uuids::uuid> i_ids);
    /// Has nothing at all happened since the last Look? An answer that agrees with it then changes nothing and needs no
    /// Apply.
    bool IsAsLooked() const;
    /// Has the machine gone since construction, and not come back?
    bool HasGone(const boost::uuids::uuid& i_id) const;

private:
    NewsOrder::Place _Accept(const boost::uuids::uuid& i_id) TAVSDK_REQUIRES(_machines._mutex);
    NewsOrder::Place _Reject(const boost::uuids::uuid& i_id) TAVSDK_REQUIRES(_machines._mutex);

    AcceptedMachines& _machines;
    const Kind _kind;
    Sequence _begin = 0;
    Sequence _seen = 0; ///< what happened until the rule was asked
    Sequence _looked = 0;
};

} // namespace MachineService
