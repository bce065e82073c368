// Adds jobs to a store, one after the other, and says so of each: tests limit and kill it. It has no Qt application.
#include "machinemanager/jobs/ManagerError.h"
#include "machinemanager/store/JobStore.h"

#include <boost/uuid/random_generator.hpp>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <sys/resource.h>

using namespace MachineService::MachineManager;

/// Arguments: address of the store, how many jobs, bytes that a file may have at most (0: any number).
int main(int i_argc, char** ip_argv)
{
    if (i_argc != 4)
        return 2;
    try {
        JobStore store({ip_argv[1], "child", {}, {}});
        if (const rlim_t bytes = std::strtoull(ip_argv[3], nullptr, 10); bytes != 0) {
            std::signal(SIGXFSZ, SIG_IGN);
            const rlimit limit = {bytes, bytes};
            if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
                return 3;
        }
        boost::uuids::random_generator random;
        for (int number = 0; number < std::atoi(ip_argv[2]); ++number) {
            NewJob job;
            job.id = random();
            job.name = "job " + std::to_string(number) + std::string(2000, 'x');
            job.platform = {"a.TavAMX", std::string(64, 'a'), 1};
            try {
                std::printf("kept %lld\n", static_cast<long long>(store.Add(job, true).number));
            } catch (const ManagerError& failure) {
                std::printf("refused %d %s\n", failure.GetKind() == ManagerError::Kind::Storage, failure.what());
            }
            std::fflush(stdout);
        }
        return 0;
    } catch (const std::exception& failure) {
        std::printf("failed %s\n", failure.what());
        return 1;
    }
}
