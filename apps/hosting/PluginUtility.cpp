#include "hosting/PluginUtility.h"

#include "tavsdk/Path.h"

#include <QByteArray>
#include <QString>

namespace Hosting {

namespace {

const char* FolderOf(MachineService::ServiceId i_service)
{
    return i_service == MachineService::ServiceId::MachineManager ? "machine-manager" : "build-processors";
}

class PluginUtility final : public MachineService::AbstractPluginUtility
{
public:
    PluginUtility(MachineService::ServiceId i_service, const std::filesystem::path& i_data_dir)
        : _configurationDir(TavSDK::GetUserFolder(TavSDK::UserFolder::Configuration) / "machineservice" /
                            FolderOf(i_service))
        , _dataDir(i_data_dir)
    {}

    std::filesystem::path GetConfigurationDir() const override { return _configurationDir; }
    std::filesystem::path GetDataDir() const override { return _dataDir; }
    std::optional<std::string> GetSetting(const std::string& i_name) const override
    {
        const QByteArray variable = "MACHINESERVICE_" + QByteArray::fromStdString(i_name).toUpper().replace('.', '_');
        if (!qEnvironmentVariableIsSet(variable.constData()))
            return std::nullopt;
        return qgetenv(variable.constData()).toStdString();
    }

private:
    const std::filesystem::path _configurationDir;
    const std::filesystem::path _dataDir;
};

} // namespace

std::unique_ptr<MachineService::AbstractPluginUtility> MakePluginUtility(MachineService::ServiceId i_service,
                                                                         const std::filesystem::path& i_data_dir)
{
    return std::make_unique<PluginUtility>(i_service, i_data_dir);
}

std::filesystem::path GetKeptResultsDir(const std::filesystem::path& i_data_dir)
{
    const auto setting =
        MakePluginUtility(MachineService::ServiceId::BuildProcessors, i_data_dir)->GetSetting("cache.path");
    return setting && !setting->empty() ? std::filesystem::path(*setting) : i_data_dir / "cache";
}

} // namespace Hosting
