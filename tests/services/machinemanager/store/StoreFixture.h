#pragma once

#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/JobStore.h"
#include "services/machinemanager/store/PostgresCluster.h"
#include "support/Test.h"

#include <QTemporaryDir>

#include <boost/uuid/name_generator_sha1.hpp>

/// Stores of both kinds, each empty and of one test alone.
namespace TestSupport {

using namespace MachineService::MachineManager;
using boost::uuids::uuid;

enum class Kind
{
    Sqlite,
    Postgres,
};

inline uuid MakeUuid(const std::string& i_name)
{
    return boost::uuids::name_generator_sha1(boost::uuids::ns::url())(i_name);
}

inline NewJob MakeNewJob(const std::string& i_name, const JobTarget& i_target)
{
    NewJob job;
    job.id = MakeUuid(i_name);
    job.name = i_name;
    job.owner = "ada";
    job.target = i_target;
    job.platform = {"plate.TavAMX", std::string(64, 'a'), 1000};
    return job;
}

class StoreTest : public ::testing::TestWithParam<Kind>
{
protected:
    StoreTest()
        : address(GetParam() == Kind::Sqlite ? "sqlite:" + folder.filePath(QStringLiteral("jobs.db")).toStdString()
                                             : PostgresCluster::Get().MakeDatabase())
    {}

    StoreOptions MakeOptions(const std::string& i_daemon = "one")
    {
        return {address, i_daemon, [this] { return Time(std::chrono::milliseconds(now.load())); },
                [this](const std::string& i_line) {
                    const std::lock_guard lock(mutex);
                    log.push_back(i_line);
                }};
    }

    const uuid machine = MakeUuid("Kestrel");
    const JobTarget toMachine = {machine, "K180", ""};
    const JobTarget toModel = {{}, "K180", "PETG"};

    QTemporaryDir folder;
    const std::string address;
    std::atomic<std::int64_t> now = 1'000'000'000'000;
    std::mutex mutex;
    std::vector<std::string> log;
};

inline std::string GetKindName(const ::testing::TestParamInfo<Kind>& i_kind)
{
    return i_kind.param == Kind::Sqlite ? "Sqlite" : "Postgres";
}

/// Kind and sentence of what an action threw; empty when it threw nothing.
template <class Action>
std::pair<std::optional<ManagerError::Kind>, std::string> GetRefusal(const Action& i_action)
{
    try {
        i_action();
    } catch (const ManagerError& failure) {
        return {failure.GetKind(), failure.what()};
    }
    return {};
}

inline std::vector<std::string> GetNames(const std::vector<Job>& i_jobs)
{
    std::vector<std::string> names;
    for (const Job& job : i_jobs)
        names.push_back(job.name);
    return names;
}

} // namespace TestSupport
