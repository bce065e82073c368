#include "client/interface/ICommunicationServiceAPI.h"
#include "client/interface/ScopedTempDir.h"
#include "services/ServiceFiles.h"
#include "support/ServedProgram.h"
#include "support/Test.h"

#include <cstdlib>

// What a host shows that links another version of protobuf: functions of the same names that do something else.

extern "C" {
void VerifyVersion() asm("_ZN6google8protobuf8internal13VerifyVersionEiiPKc");
void ParseFromArray() asm("_ZN6google8protobuf11MessageLite14ParseFromArrayEPKvi");
void ParseFromStream() asm("_ZN6google8protobuf11MessageLite23ParseFromZeroCopyStreamEPNS0_2io19ZeroCopyInputStreamE");
void SetString() asm("_ZN6google8protobuf8internal14ArenaStringPtr3SetERKNSt7__cxx1112basic_stringIcSt11char_"
                     "traitsIcESaIcEEEPNS0_5ArenaE");
void DestroyString() asm("_ZN6google8protobuf8internal14ArenaStringPtr7DestroyEv");
}

void VerifyVersion()
{
    std::abort();
}
void ParseFromArray()
{
    std::abort();
}
void ParseFromStream()
{
    std::abort();
}
void SetString()
{
    std::abort();
}
void DestroyString()
{
    std::abort();
}

namespace MachineService {

namespace {

class EndpointUtility final : public AbstractPluginUtility
{
public:
    explicit EndpointUtility(std::string i_address)
        : _address(std::move(i_address))
    {}
    std::filesystem::path GetConfigurationDir() const override { return "/nonexistent"; }
    std::filesystem::path GetDataDir() const override { return "/nonexistent"; }
    std::optional<std::string> GetSetting(const std::string&) const override { return {}; }
    std::vector<ServiceEndpoint> GetServiceEndpoints() const override { return {{_address, {}}}; }

private:
    const std::string _address;
};

TEST(HostWithProtobufTest, GetsItsMachinesByTheProtobufThatComesWithUs)
{
    const ScopedTempDir folder;
    const auto path = [&](const char* ip_name) {
        return QString::fromStdString((folder.GetAbsoluteDir() / ip_name).string());
    };
    TestSupport::ServedProgram service(QStringLiteral(MACHINED),
                                       {QStringLiteral("--socket"), path("socket/machined"), QStringLiteral("--data"),
                                        path("data"), QStringLiteral("--print-address")});
    const auto addresses = service.WaitUntilReady();
    ASSERT_EQ(addresses.size(), 1u) << service.GetErrors();
    const auto catalog = CreateCommunicationService()->CreateMachinesCatalog(
        [&](ServiceId) { return std::make_unique<EndpointUtility>(addresses.front()); });
    Testing::Journal<ServiceStatus> journal;
    const boost::signals2::scoped_connection connection =
        catalog->ConnectServiceStatusUpdated([&](ServiceId, ServiceStatus i_status) { journal.Add(i_status); });
    ASSERT_TRUE(catalog->Start(ServiceId(FirstEndpointService)));
    EXPECT_TRUE(journal.WaitFor([](const auto& i_all) {
        return std::find(i_all.begin(), i_all.end(), ServiceStatus::Running) != i_all.end();
    }));
    EXPECT_GE(catalog->GetMachines().size(), 4u);
}

} // namespace

} // namespace MachineService
