#include "machinemanager/store/JobStore.h"

#include "machinemanager/store/JobStore_p.h"
#include "machinemanager/store/Migrations.h"
#include "machinemanager/store/SetAside.h"

#include "tavsdk/Text.h"

#include <boost/uuid/uuid_io.hpp>

namespace MachineService::MachineManager {

namespace {

using Kind = ManagerError::Kind;

[[noreturn]] void RefuseUnknown(const std::string& i_job)
{
    throw ManagerError(Kind::NotFound,
                       "There is no job " + i_job + "; it may have been removed. Look at the list of jobs.");
}

void CheckVersion(const Job& i_job, std::optional<std::uint64_t> i_version)
{
    if (i_version && *i_version != i_job.version)
        throw ManagerError(Kind::Conflict,
                           ShowJob(i_job) + " was changed by somebody else meanwhile. Look at it, then try again.");
}

/// What only the store itself changes.
void TakeBack(Job& io_job, const Job& i_kept)
{
    io_job.id = i_kept.id;
    io_job.number = i_kept.number;
    io_job.phase = i_kept.phase;
    io_job.created = i_kept.created;
    io_job.phaseSince = i_kept.phaseSince;
    io_job.version = i_kept.version;
    io_job.claimant = i_kept.claimant;
    io_job.fence = i_kept.fence;
}

Job MakeJob(const NewJob& i_job, bool i_is_whole, Time i_now)
{
    Job job;
    static_cast<NewJob&>(job) = i_job;
    const JobPhase phase = i_job.isDraft ? JobPhase::Held : JobPhase::Waiting;
    job.phase = i_is_whole ? phase : JobPhase::Incoming;
    job.created = job.changed = job.phaseSince = i_now;
    job.version = 1;
    return job;
}

} // namespace

JobStore::Impl::Impl(StoreOptions i_options)
    : options(std::move(i_options))
    , dialect(MakeDialect(ParseStoreAddress(options.address)))
    , lock(dialect->IsPostgres() ? std::nullopt : std::optional<StoreLock>(std::in_place, dialect->GetAddress().file))
    , pool(*dialect)
    , feed(options.log)
{
    if (!dialect->IsPostgres())
        SetAsideWhenDamaged(*dialect, Now(), options.log);
    Migrate(pool, options.log);
    if (dialect->IsPostgres())
        news = std::make_unique<DaemonNews>(*dialect, feed, options.log);
}

Time JobStore::Impl::Now() const
{
    return options.now ? options.now() : std::chrono::time_point_cast<Time::duration>(std::chrono::system_clock::now());
}

void JobStore::Impl::Log(const std::string& i_line) const
{
    if (options.log)
        options.log(i_line);
}

void JobStore::Impl::_Tell(const std::vector<boost::uuids::uuid>& i_changed) const
{
    if (news)
        news->Send(i_changed);
    for (const auto& id : i_changed)
        feed.Tell(id);
}

std::vector<Job> ReadJobs(Connection& io_connection, const QString& i_condition, const QVariantList& i_values)
{
    std::vector<Job> jobs;
    Rows rows = io_connection.Select(GetJobSelect() + i_condition, i_values);
    while (rows.Next())
        jobs.push_back(ReadJob(rows));
    return jobs;
}

std::optional<Job> JobStore::Impl::Lock(Writing& io_writing, const boost::uuids::uuid& i_id) const
{
    auto jobs = ReadJobs(io_writing.connection, QStringLiteral("WHERE id = ?") + dialect->GetRowLock(), {ToText(i_id)});
    return jobs.empty() ? std::nullopt : std::optional(std::move(jobs.front()));
}

Job JobStore::Impl::LockKnown(Writing& io_writing, const boost::uuids::uuid& i_id) const
{
    auto job = Lock(io_writing, i_id);
    if (!job)
        RefuseUnknown(boost::uuids::to_string(i_id));
    return std::move(*job);
}

void JobStore::Impl::AddHistory(Writing& io_writing, const Job& i_job, const char* ip_event, const std::string& i_actor,
                                const std::string& i_detail) const
{
    io_writing.connection.Run(
        QStringLiteral(
            "INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (?, ?, ?, ?, ?, ?, ?)"),
        {static_cast<qlonglong>(i_job.number), static_cast<qlonglong>(i_job.version), ToNumber(i_job.changed),
         ToText(i_actor), QLatin1String(ip_event), QLatin1String(GetInfo(i_job.phase).name), ToText(i_detail)});
    io_writing.changed.push_back(i_job.id);
}

void JobStore::Impl::Keep(Writing& io_writing, const Job& i_before, Job& io_after, const char* ip_event,
                          const std::string& i_actor, const std::string& i_detail) const
{
    io_after.version = i_before.version + 1;
    io_after.changed = Now();
    UpdateJob(io_writing.connection, i_before, io_after);
    AddHistory(io_writing, io_after, ip_event, i_actor, i_detail);
}

Job JobStore::Impl::Step(Writing& io_writing, const Job& i_job, const JobChange& i_change) const
{
    const auto next = FindNextPhase(i_job.phase, i_change.event);
    if (!next)
        throw ManagerError(Kind::Conflict, ShowJob(i_job) + " is " + GetInfo(i_job.phase).name + ", where " +
                                               TavSDK::Quote(GetName(i_change.event)) +
                                               " means nothing. Look at its state first.");
    Job job = i_job;
    job.detail = i_change.detail;
    if (*next != job.phase) {
        job.phase = *next;
        job.phaseSince = Now();
        job.percent = 0;
        job.stage.clear();
        job.waitReason.clear();
        job.notBefore.reset();
    }
    if (i_change.event == JobEvent::Claim || i_change.event == JobEvent::ClaimForSending) {
        job.claimant = options.daemon;
        ++job.fence;
    } else if (i_change.event == JobEvent::ClaimLost || !NeedsClaim(job.phase)) {
        job.claimant.clear();
    }
    const Job kept = job;
    if (i_change.edit) {
        i_change.edit(job);
        TakeBack(job, kept);
    }
    Keep(io_writing, i_job, job, GetName(i_change.event), i_change.actor, i_change.detail);
    return job;
}

JobStore::JobStore(StoreOptions i_options)
    : _impl(std::make_unique<Impl>(std::move(i_options)))
{}

JobStore::~JobStore() = default;

Job JobStore::Add(const NewJob& i_job, bool i_is_whole)
{
    if (i_job.id.is_nil())
        throw ManagerError(Kind::BadInput, "The job has no id. Make one, and use it again when the job is sent again.");
    return _impl->Write([&](Writing& io_writing) {
        Job job = MakeJob(i_job, i_is_whole, _impl->Now());
        const auto number = InsertJob(io_writing.connection, job);
        if (!number)
            return _impl->LockKnown(io_writing, i_job.id);
        job.number = *number;
        job.position = static_cast<double>(*number);
        _impl->AddHistory(io_writing, job, "submit", job.owner, {});
        return job;
    });
}

Job JobStore::Change(const boost::uuids::uuid& i_id, const JobChange& i_change, std::optional<std::uint64_t> i_version)
{
    return _impl->Write([&](Writing& io_writing) {
        const Job job = _impl->LockKnown(io_writing, i_id);
        CheckVersion(job, i_version);
        return _impl->Step(io_writing, job, i_change);
    });
}

Job JobStore::Edit(const boost::uuids::uuid& i_id, const char* ip_event, const std::string& i_actor,
                   const std::string& i_detail, const std::function<void(Job&)>& i_edit,
                   std::optional<std::uint64_t> i_version)
{
    return _impl->Write([&](Writing& io_writing) {
        const Job before = _impl->LockKnown(io_writing, i_id);
        CheckVersion(before, i_version);
        if (IsFinal(before.phase))
            throw ManagerError(Kind::Conflict, ShowJob(before) + " is " + GetInfo(before.phase).name +
                                                   " and cannot be changed any more. Make a copy of it.");
        Job after = before;
        i_edit(after);
        TakeBack(after, before);
        _impl->Keep(io_writing, before, after, ip_event, i_actor, i_detail);
        return after;
    });
}

std::shared_ptr<void> JobStore::Subscribe(std::function<void(const boost::uuids::uuid& i_job)> i_slot)
{
    return _impl->feed.Subscribe(std::move(i_slot));
}

Time JobStore::Now() const
{
    return _impl->Now();
}

const std::string& JobStore::GetDaemon() const
{
    return _impl->options.daemon;
}

} // namespace MachineService::MachineManager
