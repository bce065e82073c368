#include "Comparison.h"

#include "machinemanager/store/ConnectionPool.h"
#include "machinemanager/store/JobStore.h"
#include "services/machinemanager/store/PostgresCluster.h"

#include <QCoreApplication>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Bench {

namespace {

using namespace MachineService::MachineManager;

constexpr int Workers = 8;
/// Many: what it takes to open a worker's connection is no part of an insert or a claim.
constexpr int JobsOfEach = 60;
const char* const Model = "K180";

void Expect(bool i_is_true, const QSqlQuery& i_query)
{
    if (i_is_true)
        return;
    std::fprintf(stderr, "%s\n", qPrintable(i_query.lastError().text()));
    std::abort();
}

/// The same work by each of the workers, with connections of their own.
void RunWorkers(const std::function<void()>& i_work)
{
    std::vector<std::thread> threads;
    for (int worker = 0; worker < Workers; ++worker)
        threads.emplace_back(i_work);
    for (auto& thread : threads)
        thread.join();
}

NewJob MakeNewJob(boost::uuids::random_generator& io_random)
{
    NewJob job;
    job.id = io_random();
    job.name = "A job of usual length";
    job.owner = "ada";
    job.target.model = Model;
    job.platform = {"plate.TavAMX", std::string(64, 'a'), 1'000'000};
    job.settings = {{"Material", "PETG"}, {"LayerHeight", "0.2"}};
    return job;
}

/// A store, and what anybody would write by hand into the same tables.
class Subject
{
public:
    explicit Subject(std::string i_address)
        : _address(std::move(i_address))
        , _isPostgres(!_address.starts_with("sqlite:"))
        , _dialect(MakeDialect(ParseStoreAddress(_address)))
    {
        Open();
    }

    void Open() { _store = std::make_unique<JobStore>(StoreOptions{_address, "bench", {}, {}}); }
    void Close() { _store.reset(); }
    JobStore& GetStore() { return *_store; }

    void InsertOurs()
    {
        RunWorkers([this] {
            boost::uuids::random_generator random;
            for (int number = 0; number < JobsOfEach; ++number)
                _store->Add(MakeNewJob(random), true);
        });
    }
    void InsertBare()
    {
        RunWorkers([this] {
            Connection connection(*_dialect);
            boost::uuids::random_generator random;
            QSqlQuery job(connection.GetDatabase());
            Expect(job.prepare(QString::fromLatin1(BareInsert).arg(QStringLiteral("?"))), job);
            QSqlQuery line(connection.GetDatabase());
            Expect(line.prepare(QString::fromLatin1(BareHistory)), line);
            for (int number = 0; number < JobsOfEach; ++number) {
                const auto turn = _GetTurn();
                _Run(connection, _isPostgres ? "BEGIN" : "BEGIN IMMEDIATE");
                job.bindValue(0, QString::fromStdString(boost::uuids::to_string(random())));
                Expect(job.exec() && job.next(), job);
                line.bindValue(0, job.value(0));
                job.finish();
                line.bindValue(1, 1);
                Expect(line.exec(), line);
                _Run(connection, "COMMIT");
            }
        });
    }
    void ClaimOurs()
    {
        RunWorkers([this] {
            const auto machine = boost::uuids::random_generator()();
            for (int number = 0; number < JobsOfEach; ++number) {
                if (!_store->ClaimNext(machine, "Kestrel", Model, {}))
                    std::abort();
            }
        });
    }
    void ClaimBare()
    {
        RunWorkers([this] {
            Connection connection(*_dialect);
            QSqlQuery job(connection.GetDatabase());
            Expect(job.prepare(QString::fromLatin1(BareClaim).arg(
                       _isPostgres ? QStringLiteral(" FOR UPDATE SKIP LOCKED") : QString())),
                   job);
            QSqlQuery line(connection.GetDatabase());
            Expect(line.prepare(QString::fromLatin1(BareHistory)), line);
            for (int number = 0; number < JobsOfEach; ++number) {
                const auto turn = _GetTurn();
                _Run(connection, _isPostgres ? "BEGIN" : "BEGIN IMMEDIATE");
                job.bindValue(0, QStringLiteral("model K180"));
                Expect(job.exec() && job.next(), job);
                line.bindValue(0, job.value(0));
                job.finish();
                line.bindValue(1, 2);
                Expect(line.exec(), line);
                _Run(connection, "COMMIT");
            }
        });
    }
    void ListOurs()
    {
        if (_store->List({.count = 50}).size() != 50)
            std::abort();
    }
    void ListBare()
    {
        static const auto mgp_connection = std::make_unique<std::pair<std::string, std::unique_ptr<Connection>>>();
        if (mgp_connection->first != _address)
            *mgp_connection = {_address, std::make_unique<Connection>(*_dialect)};
        QSqlQuery page(mgp_connection->second->GetDatabase());
        page.setForwardOnly(!_isPostgres);
        Expect(page.exec(QStringLiteral("SELECT * FROM jobs ORDER BY number DESC LIMIT 50")), page);
        int rows = 0;
        for (; page.next(); ++rows) {
            for (int column = 0; column < 51; ++column)
                benchmark::DoNotOptimize(page.value(column).toString());
        }
        if (rows != 50)
            std::abort();
    }
    /// At once, so that preparing takes little. They wait for a machine that does not come, or for the workers.
    void Fill(int i_count, const char* ip_queue)
    {
        Connection connection(*_dialect);
        _Run(connection, "BEGIN");
        QSqlQuery jobs(connection.GetDatabase());
        const QString id = _isPostgres
                               ? QStringLiteral("CAST(gen_random_uuid() AS TEXT)")
                               : QStringLiteral("lower(hex(randomblob(4)) || '-' || hex(randomblob(2)) || '-' || "
                                                "hex(randomblob(2)) || '-' || hex(randomblob(2)) || '-' || "
                                                "hex(randomblob(6)))");
        auto insert = QString::fromLatin1(BareInsert).arg(id);
        insert.replace(QLatin1String("'model K180'"),
                       QLatin1Char('\'') + QString::fromLatin1(ip_queue) + QLatin1Char('\''));
        insert.replace(QLatin1String("VALUES ("), QLatin1String("SELECT "))
            .replace(QLatin1String(") RETURNING number"), QString());
        Expect(jobs.exec(QStringLiteral(
                             "WITH RECURSIVE counted(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM counted WHERE i < "
                             "%1) ")
                             .arg(i_count) +
                         insert + QStringLiteral(" FROM counted")),
               jobs);
        Expect(jobs.exec(QStringLiteral(
                   "INSERT INTO history SELECT number, 1, 1, 'ada', 'submit', 'waiting', '' FROM jobs WHERE "
                   "NOT EXISTS (SELECT 1 FROM history WHERE job = number)")),
               jobs);
        _Run(connection, "COMMIT");
    }

private:
    static constexpr char BareInsert[] =
        "INSERT INTO jobs (id, name, name_folded, owner, target_machine, target_model, target_material, queue, "
        "priority, "
        "copies, is_draft, platform_hash, platform_name, platform_size, needs_model, needs_material, settings, phase, "
        "state, "
        "wait_reason, detail, created, changed, phase_since, version, machine, machine_name, percent, stage, attempts, "
        "copies_done, is_acknowledged, claimant, fence) VALUES (%1, 'A job of usual length', 'a job of usual length', "
        "'ada', "
        "'', 'K180', '', 'model K180', 50, 1, 0, 'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa', "
        "'plate.TavAMX', 1000000, '', '', '{\"LayerHeight\":\"0.2\",\"Material\":\"PETG\"}', 'waiting', 3, '', '', 1, "
        "1, 1, 1, "
        "'', '', 0, '', 0, 0, 0, '', 0) RETURNING number";
    static constexpr char BareHistory[] =
        "INSERT INTO history (job, version, time, actor, event, phase, detail) VALUES (?, ?, 1, "
        "'system', 'claim', 'building', '')";
    static constexpr char BareClaim[] = "UPDATE jobs SET phase = 'building', state = 5, claimant = 'bench', fence = "
                                        "fence + 1, version = version + 1, changed = "
                                        "2, phase_since = 2 WHERE number = (SELECT number FROM jobs WHERE phase = "
                                        "'waiting' AND queue = ? ORDER BY priority "
                                        "DESC, COALESCE(position, number), number LIMIT 1%1) RETURNING number";

    static void _Run(Connection& io_connection, const char* ip_statement)
    {
        QSqlQuery query(io_connection.GetDatabase());
        Expect(query.exec(QString::fromLatin1(ip_statement)), query);
    }
    /// Whoever writes to SQLite by hand takes turns as well: with the file's own lock alone, the floor is far lower.
    std::unique_lock<std::mutex> _GetTurn()
    {
        return _isPostgres ? std::unique_lock<std::mutex>() : std::unique_lock(_turn);
    }

    const std::string _address;
    const bool _isPostgres;
    const std::unique_ptr<const Dialect> _dialect;
    std::unique_ptr<JobStore> _store;
    std::mutex _turn;
};

std::unique_ptr<TestSupport::PostgresCluster> mgp_cluster;

std::string MakeAddress(const QTemporaryDir& i_folder, bool i_is_postgres)
{
    static std::atomic<int> mgp_stores = 0;
    return i_is_postgres ? mgp_cluster->MakeDatabase()
                         : "sqlite:" + i_folder.path().toStdString() + "/jobs" + std::to_string(++mgp_stores) + ".db";
}

void AddDatabaseBenchmarks(const std::shared_ptr<QTemporaryDir>& i_folder, bool i_is_postgres)
{
    const std::string database = i_is_postgres ? ", PostgreSQL" : ", SQLite";
    const auto make = [=](void (Subject::*i_work)()) -> std::function<Body()> {
        return [=]() -> Body {
            const auto subject = std::make_shared<Subject>(MakeAddress(*i_folder, i_is_postgres));
            // As many as the repetitions may claim.
            if (i_work == &Subject::ClaimOurs || i_work == &Subject::ClaimBare)
                subject->Fill(60'000, "model K180");
            return [subject, i_work] {
                (subject.get()->*i_work)();
            };
        };
    };
    // At least 0.7 of what bare SQL does in the same time.
    ComparePrepared("insert by 8 workers" + database, 1 / 0.7, make(&Subject::InsertOurs), make(&Subject::InsertBare));
    ComparePrepared("claim by 8 workers" + database, 1 / 0.7, make(&Subject::ClaimOurs), make(&Subject::ClaimBare));

    const auto full = std::make_shared<std::shared_ptr<Subject>>();
    const auto getFull = [=] {
        if (!*full) {
            *full = std::make_shared<Subject>(MakeAddress(*i_folder, i_is_postgres));
            (*full)->Fill(100'000, "another machine");
        }
        return *full;
    };
    ComparePrepared(
        "first page of 100,000 jobs" + database, 2,
        [=]() -> Body {
            return [subject = getFull()] {
                subject->ListOurs();
            };
        },
        [=]() -> Body {
            return [subject = getFull()] {
                subject->ListBare();
            };
        });
    Limit("start with 100,000 jobs" + database, 1, "s", [=] {
        const auto subject = getFull();
        subject->Close();
        const auto begin = std::chrono::steady_clock::now();
        subject->Open();
        subject->ListOurs();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    });
}

} // namespace

int RunAll(int i_argc, char** ip_argv);

} // namespace Bench

int main(int i_argc, char** ip_argv)
{
    QCoreApplication application(i_argc, ip_argv);
    Bench::mgp_cluster = std::make_unique<TestSupport::PostgresCluster>(TestSupport::PostgresCluster::Disk::Synced);
    const auto folder = std::make_shared<QTemporaryDir>();
    Bench::AddDatabaseBenchmarks(folder, false);
    Bench::AddDatabaseBenchmarks(folder, true);
    const int status = Bench::RunAll(i_argc, ip_argv);
    Bench::mgp_cluster.reset();
    return status;
}
