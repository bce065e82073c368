#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/JobStore_p.h"

#include "tavsdk/Text.h"

#include <QStringList>

#include <algorithm>
#include <map>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

/// Jobs that are looked at together: few at first, because the first mostly fits; more with each step, because then
/// many do not.
constexpr int FirstBatch = 16;
constexpr int LargestBatch = 512;

[[noreturn]] void RefuseLost(const std::string& i_job)
{
    throw ManagerError(Kind::LostClaim, i_job + " is worked on by another daemon now, or by nobody. Leave it alone.");
}

/// Phases in which somebody has to have a claim, as a list for SQL.
const QString& GetClaimedPhases()
{
    static const QString mgp_phases = [] {
        QStringList names;
        for (const auto& info : GetJobPhases()) {
            if (NeedsClaim(info.phase))
                names.append(QLatin1Char('\'') + QLatin1String(info.name) + QLatin1Char('\''));
        }
        return names.join(QStringLiteral(", "));
    }();
    return mgp_phases;
}

/// What a job has to be that a queue may give away; its values are MakeReadyValues.
const QString Ready = QStringLiteral("WHERE phase = 'waiting' AND queue = ? AND ") + GetNotPutOff();
const QString InOrder = QStringLiteral(" ORDER BY priority DESC, COALESCE(position, number), number LIMIT ?");

QVariantList MakeReadyValues(const QString& i_queue, Time i_now)
{
    return QVariantList{i_queue} + MakePutOffValues(i_now);
}

/// Jobs of one queue that wait, in the order in which they are to go.
class WaitingJobs
{
public:
    WaitingJobs(QString i_queue, Time i_now)
        : _queue(std::move(i_queue))
        , _now(i_now)
    {}

    /// Null at the end. \param i_count to be read when there is nothing left.
    const Job* Peek(Connection& io_connection, int i_count)
    {
        if (_next == _jobs.size() && !_isAtEnd)
            _Read(io_connection, i_count);
        return _next == _jobs.size() ? nullptr : &_jobs[_next];
    }
    Job Pop() { return std::move(_jobs[_next++]); }

private:
    void _Read(Connection& io_connection, int i_count)
    {
        QString condition = Ready;
        QVariantList values = MakeReadyValues(_queue, _now);
        if (_last) {
            condition += QStringLiteral(" AND (priority < ? OR (priority = ? AND (COALESCE(position, number) > ? OR "
                                        "(COALESCE(position, number) = ? AND number > ?))))");
            values << _last->priority << _last->priority << _last->position << _last->position
                   << static_cast<qlonglong>(_last->number);
        }
        values << i_count;
        _jobs = ReadJobs(io_connection, condition + InOrder, values);
        _next = 0;
        _isAtEnd = static_cast<int>(_jobs.size()) < i_count;
        if (!_jobs.empty())
            _last = _jobs.back();
    }

    const QString _queue;
    const Time _now;
    std::vector<Job> _jobs;
    std::size_t _next = 0;
    std::optional<Job> _last; ///< that was read
    bool _isAtEnd = false;
};

bool GoesFirst(const Job& i_one, const Job& i_other)
{
    if (i_one.priority != i_other.priority)
        return i_one.priority > i_other.priority;
    if (i_one.position != i_other.position)
        return i_one.position < i_other.position;
    return i_one.number < i_other.number;
}

/// The next jobs of two queues.
std::vector<Job> TakeBatch(Connection& io_connection, WaitingJobs& io_own, WaitingJobs& io_of_model, int i_count)
{
    std::vector<Job> batch;
    while (static_cast<int>(batch.size()) < i_count) {
        const Job* const own = io_own.Peek(io_connection, i_count);
        const Job* const ofModel = io_of_model.Peek(io_connection, i_count);
        if (!own && !ofModel)
            break;
        batch.push_back(own && (!ofModel || GoesFirst(*own, *ofModel)) ? io_own.Pop() : io_of_model.Pop());
    }
    return batch;
}

/// Those of the queues that have a job, the one with the first job first.
std::vector<QString> FindQueues(Connection& io_connection, const std::vector<QString>& i_queues, Time i_now)
{
    std::vector<std::pair<Job, QString>> heads;
    for (const QString& queue : i_queues) {
        Rows rows = io_connection.Select(
            QStringLiteral("SELECT priority, COALESCE(position, number), number FROM jobs ") + Ready + InOrder,
            MakeReadyValues(queue, i_now) << 1);
        if (!rows.Next())
            continue;
        Job head;
        head.priority = rows[0].toInt();
        head.position = rows[1].toDouble();
        head.number = rows[2].toLongLong();
        heads.emplace_back(head, queue);
    }
    std::sort(heads.begin(), heads.end(),
              [](const auto& i_one, const auto& i_other) { return GoesFirst(i_one.first, i_other.first); });
    std::vector<QString> queues;
    for (auto& [head, queue] : heads)
        queues.push_back(std::move(queue));
    return queues;
}

/// Locks the first job of the queues that nobody else works on just now.
std::optional<Job> LockFirst(Writing& io_writing, const std::vector<QString>& i_queues, Time i_now)
{
    for (const QString& queue : i_queues) {
        auto jobs =
            ReadJobs(io_writing.connection, Ready + InOrder + io_writing.connection.GetDialect().GetFreeRowLock(),
                     MakeReadyValues(queue, i_now) << 1);
        if (!jobs.empty())
            return std::move(jobs.front());
    }
    return std::nullopt;
}

/// Locks the job unless somebody else works on the row just now, and it no longer waits for the same.
std::optional<Job> LockWaiting(Writing& io_writing, const Job& i_seen)
{
    auto jobs = ReadJobs(io_writing.connection,
                         QStringLiteral("WHERE number = ? AND phase = 'waiting'") +
                             io_writing.connection.GetDialect().GetFreeRowLock(),
                         {static_cast<qlonglong>(i_seen.number)});
    if (jobs.empty() || jobs.front().target != i_seen.target || jobs.front().notBefore != i_seen.notBefore)
        return std::nullopt;
    return std::move(jobs.front());
}

} // namespace

Job JobStore::Impl::Claim(Writing& io_writing, const Job& i_job, const boost::uuids::uuid& i_machine,
                          const std::string& i_name) const
{
    // What another machine's Build made is not sent to this one.
    const bool isBuilt = i_job.machineFile && i_job.machine == i_machine;
    const auto edit = [&](Job& io_job) {
        if (!isBuilt)
            io_job.machineFile.reset();
        io_job.machine = i_machine;
        io_job.machineName = i_name;
    };
    return Step(
        io_writing, i_job,
        {isBuilt ? JobEvent::ClaimForSending : JobEvent::Claim, "system", TavSDK::Quote(i_name) + " takes it.", edit});
}

Job JobStore::Change(const JobClaim& i_claim, const JobChange& i_change)
{
    return _impl->Write([&](Writing& io_writing) {
        const Job job = _impl->LockKnown(io_writing, i_claim.job);
        if (job.claimant != GetDaemon() || job.fence != i_claim.fence)
            RefuseLost(ShowJob(job));
        return _impl->Step(io_writing, job, i_change);
    });
}

void JobStore::SetProgress(const JobClaim& i_claim, int i_percent, const std::string& i_stage)
{
    _impl->Write([&](Writing& io_writing) {
        const int count = io_writing.connection.Run(
            QStringLiteral("UPDATE jobs SET percent = ?, stage = ? WHERE id = ? AND claimant = ? AND fence = ?"),
            {i_percent, ToText(i_stage), ToText(i_claim.job), ToText(GetDaemon()),
             static_cast<qlonglong>(i_claim.fence)});
        if (count < 1)
            RefuseLost(ShowJob(_impl->LockKnown(io_writing, i_claim.job)));
        io_writing.changed.push_back(i_claim.job);
        return count;
    });
}

std::optional<Job> JobStore::ClaimNext(const boost::uuids::uuid& i_machine, const std::string& i_name,
                                       const std::string& i_model,
                                       const std::function<std::string(const Job&)>& i_refusal)
{
    const Time now = _impl->Now();
    const auto queues = _impl->Read([&](Connection& io_connection) {
        return FindQueues(io_connection, {GetQueue(i_machine), GetQueue(i_model)}, now);
    });
    if (queues.empty())
        return std::nullopt;
    // Jobs that were refused, as they were then: nobody is asked twice.
    std::map<std::int64_t, std::uint64_t> refused;
    const auto fits = [&](const Job& i_job) {
        const auto known = refused.find(i_job.number);
        if (!i_refusal || (known != refused.end() && known->second == i_job.version))
            return !i_refusal;
        const bool isFitting = i_refusal(i_job).empty();
        if (!isFitting)
            refused[i_job.number] = i_job.version;
        return isFitting;
    };
    // Mostly the first job is the one: it is locked as it is found, so that claimants do not run after the same.
    auto claimed = _impl->Write([&](Writing& io_writing) -> std::optional<Job> {
        const auto job = LockFirst(io_writing, queues, now);
        return job && fits(*job) ? std::optional(_impl->Claim(io_writing, *job, i_machine, i_name)) : std::nullopt;
    });
    if (claimed)
        return claimed;
    WaitingJobs own(GetQueue(i_machine), now);
    WaitingJobs ofModel(GetQueue(i_model), now);
    for (int size = FirstBatch;; size = std::min(size * 2, LargestBatch)) {
        // Looked at without a lock, so that a long queue of jobs that do not fit stops nobody.
        auto batch =
            _impl->Read([&](Connection& io_connection) { return TakeBatch(io_connection, own, ofModel, size); });
        if (batch.empty())
            return std::nullopt;
        std::erase_if(batch, [&](const Job& i_job) { return !fits(i_job); });
        if (batch.empty())
            continue;
        claimed = _impl->Write([&](Writing& io_writing) -> std::optional<Job> {
            for (const Job& seen : batch) {
                const auto job = LockWaiting(io_writing, seen);
                if (job && (job->version == seen.version || fits(*job)))
                    return _impl->Claim(io_writing, *job, i_machine, i_name);
            }
            return std::nullopt;
        });
        if (claimed)
            return claimed;
    }
}

std::optional<Job> JobStore::Adopt(const boost::uuids::uuid& i_id)
{
    return _impl->Write([&](Writing& io_writing) -> std::optional<Job> {
        const auto before = _impl->Lock(io_writing, i_id);
        if (!before || !NeedsClaim(before->phase) || !before->claimant.empty())
            return std::nullopt;
        Job job = *before;
        job.claimant = GetDaemon();
        ++job.fence;
        _impl->Keep(io_writing, *before, job, "adopt", "system", {});
        return job;
    });
}

std::vector<Job> JobStore::GetUnclaimed() const
{
    return _impl->Read([&](Connection& io_connection) {
        // The states say the same as the phases, and have an index.
        return ReadJobs(io_connection,
                        QStringLiteral("WHERE state IN (5, 6) AND claimant = '' AND phase IN (%1) ORDER BY number")
                            .arg(GetClaimedPhases()),
                        {});
    });
}

std::vector<Job> JobStore::ReleaseClaims(const std::string& i_daemon)
{
    const auto claimed = _impl->Read([&](Connection& io_connection) {
        return ReadJobs(io_connection, QStringLiteral("WHERE claimant = ? AND claimant <> '' ORDER BY number"),
                        {ToText(i_daemon)});
    });
    std::vector<Job> released;
    for (const Job& seen : claimed) {
        auto job = _impl->Write([&](Writing& io_writing) -> std::optional<Job> {
            const auto locked = _impl->Lock(io_writing, seen.id);
            // Somebody else was quicker, or the daemon lives and ended it.
            if (!locked || locked->claimant != i_daemon || locked->fence != seen.fence)
                return std::nullopt;
            return _impl->Step(io_writing, *locked,
                               {JobEvent::ClaimLost,
                                "system",
                                "The daemon " + TavSDK::Quote(i_daemon) + " that worked on it is gone.",
                                {}});
        });
        if (job)
            released.push_back(std::move(*job));
    }
    return released;
}

void JobStore::Beat()
{
    _impl->Write([&](Writing& io_writing) {
        return io_writing.connection.Run(
            QStringLiteral("INSERT INTO daemons (name, beats) VALUES (?, 1) ON CONFLICT (name) "
                           "DO UPDATE SET beats = daemons.beats + 1"),
            {ToText(GetDaemon())});
    });
}

std::vector<std::pair<std::string, std::uint64_t>> JobStore::GetBeats() const
{
    return _impl->Read([](Connection& io_connection) {
        std::vector<std::pair<std::string, std::uint64_t>> beats;
        Rows rows = io_connection.Select(
            QStringLiteral("SELECT DISTINCT jobs.claimant, COALESCE(daemons.beats, 0) FROM jobs LEFT JOIN daemons ON "
                           "daemons.name = jobs.claimant WHERE jobs.claimant <> ''"));
        while (rows.Next())
            beats.emplace_back(rows[0].toString().toStdString(), rows[1].toULongLong());
        return beats;
    });
}

std::vector<TimedJob> JobStore::GetTimed() const
{
    return _impl->Read([](Connection& io_connection) {
        std::vector<TimedJob> jobs;
        Rows rows = io_connection.Select(
            QStringLiteral("SELECT id, phase, phase_since, version FROM jobs WHERE deadline IS NOT NULL"));
        while (rows.Next()) {
            if (const auto phase = FindPhase(rows[1].toString().toStdString()))
                jobs.push_back({ToUuid(rows[0].toString()), *phase, ToTime(rows[2]), rows[3].toULongLong()});
        }
        return jobs;
    });
}

std::optional<Time> JobStore::GetNextAttempt(Time i_looked_at) const
{
    const auto next = _impl->Read([&](Connection& io_connection) {
        // An attempt that could be made then waits for a machine and no longer for a time.
        return io_connection.SelectValue(
            QStringLiteral("SELECT min(not_before) FROM jobs WHERE not_before > ? AND not_before <= ?"),
            MakePutOffValues(i_looked_at));
    });
    return next.isNull() ? std::nullopt : std::optional(ToTime(next));
}

} // namespace MachineService::MachineManager
