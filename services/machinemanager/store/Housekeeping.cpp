#include "machinemanager/store/JobStore.h"
#include "machinemanager/store/JobStore_p.h"
#include "machinemanager/store/SetAside.h"

namespace MachineService::MachineManager {

namespace {

/// Statements that find rows which nobody may have written; a row of each is told.
struct Rule
{
    const char* sentence; ///< before what was found
    const char* select;
};

constexpr Rule Rules[] = {
    {"A job's state is not that of its phase: job ",
     "SELECT number FROM jobs WHERE state <> CASE phase {states} ELSE 0 END LIMIT 1"},
    {"A job has no history: job ",
     "SELECT number FROM jobs WHERE NOT EXISTS (SELECT 1 FROM history WHERE history.job = jobs.number) LIMIT 1"},
    {"A history is ahead of its job: job ",
     "SELECT job FROM history JOIN jobs ON jobs.number = history.job WHERE history.version > jobs.version LIMIT 1"},
    {"A job is claimed that nobody may work on: job ",
     "SELECT number FROM jobs WHERE claimant <> '' AND state NOT IN (5, 6) LIMIT 1"},
    {"A history belongs to no job: job ",
     "SELECT job FROM history WHERE NOT EXISTS (SELECT 1 FROM jobs WHERE jobs.number = history.job) LIMIT 1"},
    {"A file has a name that is no SHA-256: job ",
     "SELECT number FROM jobs WHERE length(platform_hash) <> 64 OR length(picture_hash) <> 64 OR "
     "length(machine_file_hash) <> 64 LIMIT 1"},
};

/// What each phase's state has to be, for a CASE.
QString GetStatesOfPhases()
{
    QString text;
    for (const auto& info : GetJobPhases())
        text += QStringLiteral(" WHEN '%1' THEN %2").arg(QLatin1String(info.name)).arg(static_cast<int>(info.state));
    return text;
}

} // namespace

std::set<std::string> JobStore::GetNeededFiles() const
{
    return _impl->Read([](Connection& io_connection) {
        std::set<std::string> hashes;
        Rows rows = io_connection.Select(QStringLiteral(
            "SELECT platform_hash FROM jobs UNION SELECT picture_hash FROM jobs WHERE picture_hash IS NOT NULL "
            "UNION SELECT machine_file_hash FROM jobs WHERE machine_file_hash IS NOT NULL"));
        while (rows.Next())
            hashes.insert(rows[0].toString().toStdString());
        return hashes;
    });
}

int JobStore::RemoveFinal(Time i_before, int i_count)
{
    return _impl->Write([&](Writing& io_writing) {
        const auto jobs = ReadJobs(io_writing.connection,
                                   QStringLiteral("WHERE state >= 7 AND changed < ? ORDER BY changed LIMIT ?") +
                                       _impl->dialect->GetFreeRowLock(),
                                   {ToNumber(i_before), i_count});
        // The history goes with its job.
        for (const Job& job : jobs) {
            io_writing.connection.Run(QStringLiteral("DELETE FROM jobs WHERE number = ?"),
                                      {static_cast<qlonglong>(job.number)});
            io_writing.changed.push_back(job.id);
        }
        return static_cast<int>(jobs.size());
    });
}

StoreReport JobStore::Check(bool i_is_whole) const
{
    return _impl->Read([&](Connection& io_connection) {
        StoreReport report;
        if (!_impl->dialect->IsPostgres()) {
            for (auto& finding : CheckFile(io_connection, i_is_whole ? "integrity_check" : "quick_check"))
                report.findings.push_back("The file of the job store is damaged: " + finding + '.');
        }
        for (const Rule& rule : Rules) {
            const auto select =
                QString::fromLatin1(rule.select).replace(QLatin1String("{states}"), GetStatesOfPhases());
            const auto found = io_connection.SelectValue(select);
            if (found.isValid())
                report.findings.push_back(rule.sentence + found.toString().toStdString() + '.');
        }
        report.isSound = report.findings.empty();
        return report;
    });
}

} // namespace MachineService::MachineManager
