#include "buildprocessor/ServiceContext.h"

#include <QStandardPaths>
#include <QString>

#include <algorithm>
#include <thread>

namespace MachineService::BuildProcessor {

namespace {

// Each engine uses several cores by itself; more than a few at once only take memory.
std::size_t GetJobThreadCount()
{
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 4);
}

std::filesystem::path GetDefaultDir(QStandardPaths::StandardLocation i_location)
{
    return std::filesystem::path(QStandardPaths::writableLocation(i_location).toStdString()) / "machineservice" /
           "build-processors";
}

} // namespace

ServiceContext::ServiceContext(const AbstractPluginUtility* ip_utility)
    : jobs(GetJobThreadCount())
{
    using Location = QStandardPaths::StandardLocation;
    profilesDir =
        (ip_utility ? ip_utility->GetConfigurationDir() : GetDefaultDir(Location::GenericConfigLocation)) / "profiles";
    const auto dataDir = ip_utility ? ip_utility->GetDataDir() : GetDefaultDir(Location::GenericDataLocation);
    jobsDir = dataDir / "jobs";
    settingsDir = dataDir / "machines";
    if (ip_utility)
        enginePath = ip_utility->GetSetting("engine.path");
}

void ServiceContext::Close()
{
    registry.Close();
    jobs.Close();
    queries.Close();
}

} // namespace MachineService::BuildProcessor
