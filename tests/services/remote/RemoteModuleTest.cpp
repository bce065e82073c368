#include "client/interface/ICommunicationServiceAPI.h"
#include "client/interface/ScopedTempDir.h"
#include "services/ServiceFiles.h"
#include "support/Failures.h"
#include "support/Test.h"

namespace MachineService {

namespace {

using namespace Testing;

/// A host's folders, and the endpoints that it names.
class EndpointUtility final : public AbstractPluginUtility
{
public:
    EndpointUtility(std::vector<ServiceEndpoint> i_endpoints, Journal<std::string>& io_journal)
        : _endpoints(std::move(i_endpoints))
        , _journal(io_journal)
    {}
    std::filesystem::path GetConfigurationDir() const override { return "/nonexistent"; }
    std::filesystem::path GetDataDir() const override { return "/nonexistent"; }
    std::optional<std::string> GetSetting(const std::string&) const override { return {}; }
    std::vector<ServiceEndpoint> GetServiceEndpoints() const override { return _endpoints; }
    void HandleStatus(ServiceStatus, const std::string& i_reason) override { _journal.Add(i_reason); }

private:
    const std::vector<ServiceEndpoint> _endpoints;
    Journal<std::string>& _journal;
};

bool IsLoaded(const std::string& i_library)
{
    return ReadFile("/proc/self/maps").find(i_library) != std::string::npos;
}

TEST(RemoteModuleTest, NothingOfTheTransportIsLoadedForAHostWithoutEndpoints)
{
    Journal<std::string> journal;
    std::vector<ServiceEndpoint> endpoints;
    const auto make = [&] {
        return CreateCommunicationService()->CreateMachinesCatalog(
            [&](ServiceId) { return std::make_unique<EndpointUtility>(endpoints, journal); });
    };
    make();
    EXPECT_FALSE(IsLoaded("libgrpc"));
    EXPECT_FALSE(IsLoaded("libmachineservice_remote"));

    const ScopedTempDir folder;
    const std::string socket = "unix:" + (folder.GetAbsoluteDir() / "nobody").string();
    endpoints = {{socket, {}}, {"http://nowhere", {}}};
    const auto catalog = make();
    EXPECT_TRUE(IsLoaded("libmachineservice_remote"));
    EXPECT_TRUE(IsLoaded("libgrpc"));
    EXPECT_TRUE(catalog->Start(ServiceId(FirstEndpointService)));
    EXPECT_TRUE(journal.WaitFor([&](const auto& i_all) {
        return std::any_of(i_all.begin(), i_all.end(), [&](const std::string& i_reason) {
            return i_reason.starts_with("No machine service answers at '" + socket + "'");
        });
    }));
    EXPECT_THAT(GetFailure([&] { catalog->Start(ServiceId(FirstEndpointService + 1)); }).text,
                StartsWith("The address 'http://nowhere' is none of a machine service"));
    EXPECT_FALSE(catalog->Start(ServiceId(FirstEndpointService + 2)));
}

} // namespace

} // namespace MachineService
