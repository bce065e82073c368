#include "hosting/PluginUtility.h"

#include "tavsdk/Path.h"

#include <QByteArray>
#include <QString>

#include <utility>

namespace Hosting {

namespace {

const char* FolderOf(MachineService::ServiceId i_service)
{
    return i_service == MachineService::ServiceId::MachineManager ? "machine-manager" : "build-processors";
}

class PluginUtility final : public MachineService::AbstractPluginUtility
{
public:
    PluginUtility(MachineService::ServiceId i_service, const std::filesystem::path& i_data_dir, ServiceChoice i_choice,
                  ServiceListener i_listener)
        : _folder(TavSDK::GetUserFolder(TavSDK::UserFolder::Configuration) / "machineservice")
        , _configurationDir(_folder / FolderOf(i_service))
        , _dataDir(i_data_dir)
        , _choice(std::move(i_choice))
        , _listener(std::move(i_listener))
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
    std::vector<MachineService::ServiceEndpoint> GetServiceEndpoints() const override { return _choice.endpoints; }
    std::filesystem::path GetServiceListFile() const override
    {
        return _choice.areOnlyEndpoints ? std::filesystem::path() : _folder / "services.json";
    }
    std::filesystem::path GetCacheDir() const override
    {
        return TavSDK::GetUserFolder(TavSDK::UserFolder::Cache) / "machineservice" / "services";
    }
    std::filesystem::path GetPinFile() const override { return _folder / "pins"; }
    void HandleEndpoint(const MachineService::ServiceEndpoint& i_endpoint) override
    {
        if (_listener.handleEndpoint)
            _listener.handleEndpoint(i_endpoint);
    }
    void HandleStatus(MachineService::ServiceStatus i_status, const std::string& i_reason) override
    {
        if (_listener.handleStatus)
            _listener.handleStatus(i_status, i_reason);
    }
    void ConfirmCertificate(const MachineService::ServiceCertificate& i_certificate,
                            std::function<void(bool)> i_answer) override
    {
        if (_listener.confirmCertificate)
            _listener.confirmCertificate(i_certificate, std::move(i_answer));
    }

private:
    const std::filesystem::path _folder;
    const std::filesystem::path _configurationDir;
    const std::filesystem::path _dataDir;
    const ServiceChoice _choice;
    const ServiceListener _listener;
};

} // namespace

std::unique_ptr<MachineService::AbstractPluginUtility> MakePluginUtility(MachineService::ServiceId i_service,
                                                                         const std::filesystem::path& i_data_dir,
                                                                         ServiceChoice i_choice,
                                                                         ServiceListener i_listener)
{
    return std::make_unique<PluginUtility>(i_service, i_data_dir, std::move(i_choice), std::move(i_listener));
}

ServiceChoice ChooseServices(const std::vector<std::string>& i_addresses)
{
    ServiceChoice choice;
    for (const std::string& address : i_addresses)
        choice.endpoints.push_back({address, {}});
    choice.areOnlyEndpoints = !choice.endpoints.empty();
    return choice;
}

std::filesystem::path GetKeptResultsDir(const std::filesystem::path& i_data_dir)
{
    const auto setting =
        MakePluginUtility(MachineService::ServiceId::BuildProcessors, i_data_dir)->GetSetting("cache.path");
    return setting && !setting->empty() ? std::filesystem::path(*setting) : i_data_dir / "cache";
}

} // namespace Hosting
