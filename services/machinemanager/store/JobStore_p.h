#pragma once

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/ChangeFeed.h"
#include "machinemanager/store/DaemonNews.h"
#include "machinemanager/store/JobRows.h"
#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/StoreLock.h"
#include "machinemanager/store/Transaction.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace MachineService::MachineManager {

/// A transaction of the store, and the changes that it will tell of.
struct Writing
{
    Connection& connection;
    std::vector<boost::uuids::uuid> changed;
};

/// What the parts of the store share.
struct JobStore::Impl
{
    explicit Impl(StoreOptions i_options);

    Time Now() const;
    void Log(const std::string& i_line) const;

    /// Runs a function of a connection that changes nothing.
    template <class Function>
    auto Read(const Function& i_read)
    {
        try {
            return i_read(pool.Get());
        } catch (const SqlFailure& failure) {
            // Harmless to repeat: a server that was started anew has only left the old connection.
            if (failure.GetCause() != SqlFailure::Cause::Lost)
                throw;
            return i_read(pool.Get());
        }
    }

    /// Runs a function of a Writing in a transaction, tells of its changes when they are on the disk, and gives back
    /// what it returns. The function may be run several times, of which only the last counts.
    template <class Function>
    auto Write(const Function& i_write)
    {
        for (int attempt = 1;; ++attempt) {
            try {
                return _WriteOnce(i_write);
            } catch (const SqlFailure& failure) {
                if (failure.GetCause() != SqlFailure::Cause::Crossed || attempt == MostAttempts)
                    throw;
            }
        }
    }

    /// Locks the row until the transaction ends.
    std::optional<Job> Lock(Writing& io_writing, const boost::uuids::uuid& i_id) const;
    Job LockKnown(Writing& io_writing, const boost::uuids::uuid& i_id) const;
    /// One step by the table.
    Job Step(Writing& io_writing, const Job& i_job, const JobChange& i_change) const;
    /// For a machine, by this daemon.
    Job Claim(Writing& io_writing, const Job& i_job, const boost::uuids::uuid& i_machine,
              const std::string& i_name) const;
    /// Counts the version up, writes the job and its line in the history.
    void Keep(Writing& io_writing, const Job& i_before, Job& io_after, const char* ip_event, const std::string& i_actor,
              const std::string& i_detail) const;
    void AddHistory(Writing& io_writing, const Job& i_job, const char* ip_event, const std::string& i_actor,
                    const std::string& i_detail) const;

    static constexpr int MostAttempts = 5;

    const StoreOptions options;
    const std::unique_ptr<const Dialect> dialect;
    const std::optional<StoreLock> lock;
    ConnectionPool pool;
    ChangeFeed feed;
    std::unique_ptr<DaemonNews> news; ///< null: no other daemon can be there

private:
    template <class Function>
    auto _WriteOnce(const Function& i_write)
    {
        std::vector<boost::uuids::uuid> changed;
        auto result = [&] {
            Transaction transaction(pool, options.log);
            Writing writing{transaction.GetConnection(), {}};
            auto written = i_write(writing);
            transaction.Commit();
            changed = std::move(writing.changed);
            return written;
        }();
        _Tell(changed);
        return result;
    }
    void _Tell(const std::vector<boost::uuids::uuid>& i_changed) const;
};

/// All rows that a SELECT of jobs finds.
std::vector<Job> ReadJobs(Connection& io_connection, const QString& i_condition, const QVariantList& i_values);

} // namespace MachineService::MachineManager
