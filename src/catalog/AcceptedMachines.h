#pragma once

#include <boost/unordered/unordered_flat_set.hpp>
#include <boost/uuid/uuid.hpp>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <span>
#include <vector>

namespace MachineService {

/// The ids of the machines that the rule accepted, and what happened to them while somebody was asking the rule.
///
/// The rule is asked without a lock, so its answer may be out of date when it comes: the machine may have gone, or
/// another thread may have decided about it. An Evaluation notices and says what to do with the answer.
///
/// Thread: any.
class AcceptedMachines
{
public:
    enum class Outcome
    {
        Added,     ///< not accepted before
        Confirmed, ///< accepted before as well
        Removed,   ///< accepted before
        Unchanged, ///< not accepted before either
        Gone,      ///< the machine went meanwhile: the answer is about nothing
        AskAgain,  ///< somebody else decided meanwhile: the answer may be older than that
    };

    class Evaluation;

    bool Contains(const boost::uuids::uuid& i_id) const;
    /// One answer per id, in order.
    std::vector<bool> Contain(const std::vector<boost::uuids::uuid>& i_ids) const;
    /// The source says that the machine is gone; true when it was accepted.
    bool Remove(const boost::uuids::uuid& i_id);

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

    void _Record(const boost::uuids::uuid& i_id, bool i_is_gone, int i_own_evaluations);

    mutable std::mutex _mutex; // guards all below; held neither while the rule is asked nor while a signal is raised
    boost::unordered_flat_set<boost::uuids::uuid, Hash> _ids;
    std::map<boost::uuids::uuid, Change> _changes; ///< since the oldest evaluation that still runs
    std::atomic<Sequence> _sequence = 0; ///< may be read without the mutex: whether anything was decided since
    Sequence _lastInvalidation = 0;
    int _evaluations = 0;
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
    Outcome Apply(const boost::uuids::uuid& i_id, bool i_is_accepted);
    /// Which of the machines are accepted at this moment: one look for many, which costs little where one for each
    /// would have to fetch the ids from memory again and again.
    std::vector<bool> Look(std::span<const boost::uuids::uuid> i_ids);
    /// Has nothing at all happened since the last Look? An answer that agrees with it then changes nothing and needs no
    /// Apply.
    bool IsAsLooked() const;
    /// Has the machine gone since construction, and not come back?
    bool HasGone(const boost::uuids::uuid& i_id) const;

private:
    AcceptedMachines& _machines;
    const Kind _kind;
    Sequence _begin = 0;
    Sequence _seen = 0; ///< what happened until the rule was asked
    Sequence _looked = 0;
};

} // namespace MachineService
