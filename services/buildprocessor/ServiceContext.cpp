#include "buildprocessor/ServiceContext.h"

#include "tavsdk/Path.h"

#include <algorithm>
#include <charconv>
#include <thread>

namespace MachineService::BuildProcessor {

namespace {

// Each engine uses several cores by itself; more than a few at once only take memory.
std::size_t GetJobThreadCount()
{
    return std::clamp<std::size_t>(std::thread::hardware_concurrency(), 2, 4);
}

using TavSDK::UserFolder;

std::filesystem::path GetDefaultDir(UserFolder i_folder)
{
    return TavSDK::GetUserFolder(i_folder) / "machineservice" / "build-processors";
}

std::filesystem::path GetCacheDir(const AbstractPluginUtility* ip_utility)
{
    if (!ip_utility)
        return GetDefaultDir(UserFolder::Cache);
    const auto setting = ip_utility->GetSetting("cache.path");
    return setting && !setting->empty() ? std::filesystem::path(*setting) : ip_utility->GetDataDir() / "cache";
}

ContentCache::Bounds GetCacheBounds(const AbstractPluginUtility* ip_utility)
{
    ContentCache::Bounds bounds;
    const auto setting = ip_utility ? ip_utility->GetSetting("cache.megabytes") : std::nullopt;
    std::uintmax_t megabytes = 0;
    if (setting &&
        std::from_chars(setting->data(), setting->data() + setting->size(), megabytes).ptr ==
            setting->data() + setting->size() &&
        !setting->empty())
        bounds.bytes = std::min<std::uintmax_t>(megabytes, 1'000'000) * 1'000'000;
    return bounds;
}

} // namespace

ServiceContext::ServiceContext(const AbstractPluginUtility* ip_utility)
    : cache(GetCacheDir(ip_utility), GetCacheBounds(ip_utility))
    , jobs(GetJobThreadCount())
{
    profilesDir =
        (ip_utility ? ip_utility->GetConfigurationDir() : GetDefaultDir(UserFolder::Configuration)) / "profiles";
    const auto dataDir = ip_utility ? ip_utility->GetDataDir() : GetDefaultDir(UserFolder::Data);
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
