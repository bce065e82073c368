#include "BareService.h"
#include "Comparison.h"
#include "ProcessStatus.h"

#include "client/interface/CommunicationException.h"
#include "contract/OfferedMachinesCatalog.h"
#include "remote/RemoteCatalog.h"
#include "server/MachineServer.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>

// Machines of services elsewhere, beside bare gRPC with the same messages. In a program of its own, because no other
// one of ours is linked with the transport.

namespace Bench {

int RunAll(int i_argc, char** ip_argv);

namespace {

using namespace MachineService;
using Clock = std::chrono::steady_clock;

constexpr auto RemoteId = ServiceId(FirstEndpointService);
constexpr std::uint64_t TransferBytes = 1ULL << 30;
constexpr std::size_t ManyMachines = 10'000;
constexpr auto Outage = std::chrono::seconds(45);
constexpr std::chrono::milliseconds QuestionDeadline(5000); ///< of a host of ours

double GetSeconds(Clock::duration i_time)
{
    return std::chrono::duration<double>(i_time).count();
}

/// A host's folders below a temporary one.
class Utility final : public AbstractPluginUtility
{
public:
    explicit Utility(std::filesystem::path i_dir)
        : _dir(std::move(i_dir))
    {}
    std::filesystem::path GetConfigurationDir() const override { return _dir; }
    std::filesystem::path GetDataDir() const override { return _dir; }
    std::optional<std::string> GetSetting(const std::string&) const override { return {}; }

private:
    const std::filesystem::path _dir;
};

/// Our side of a service: its news are counted, so that somebody can wait for them.
class Host
{
public:
    Host(const ServiceEndpoint& i_endpoint, const std::filesystem::path& i_dir)
        : remote(RemoteId, i_endpoint, std::make_unique<Utility>(i_dir))
    {
        remote.ConnectMachineUpdated([this](const auto&, MachineChanges) { _Count(_updates); });
        remote.ConnectServiceStatusUpdated([this](ServiceId, ServiceStatus i_status) {
            if (i_status == ServiceStatus::Running)
                _Count(_runs);
        });
    }
    ~Host() { remote.Stop(); }

    void Connect()
    {
        remote.Start(RemoteId);
        AwaitRunning(1);
    }
    void AwaitRunning(int i_times) { _Await(_runs, i_times); }
    int GetRuns() const { return _runs; }
    int GetUpdates() const { return _updates; }
    void AwaitUpdates(int i_times) { _Await(_updates, i_times); }

    Remote::RemoteCatalog remote;

private:
    void _Count(std::atomic<int>& io_count)
    {
        const std::lock_guard lock(_mutex);
        ++io_count;
        _changed.notify_all();
    }
    void _Await(const std::atomic<int>& i_count, int i_times)
    {
        std::unique_lock lock(_mutex);
        _changed.wait(lock, [&] { return i_count >= i_times; });
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::atomic<int> _updates = 0;
    std::atomic<int> _runs = 0;
};

/// Our service with so many machines, the first of which gives back what it is given.
class Service
{
public:
    explicit Service(std::size_t i_machines, bool i_is_tls = false)
        : count(i_machines)
        , catalog(OfferedMachinesCatalog::Service{ServiceId::BuildProcessors, "Bench", "1"},
                  [this] { return _Make(count); })
    {
        options.services = {ServiceId::BuildProcessors};
        options.addresses = {i_is_tls ? "tls://localhost:0"
                                      : "unix:" + (folder.GetAbsoluteDir() / "own" / "socket").string()};
        if (i_is_tls)
            options.tls = MakeTlsFiles(folder.GetAbsoluteDir());
        Open();
    }
    void Open()
    {
        server = std::make_unique<MachineServer>(catalog, options);
        server->Start();
    }
    ServiceEndpoint GetEndpoint() const { return {server->GetAddresses().front(), options.tls.certificateFile}; }

    const ScopedTempDir folder;
    MachineServerOptions options;
    std::atomic<std::size_t> count; ///< of machines
    std::atomic<int> number = 0;    ///< of what the first machine says of itself
    OfferedMachinesCatalog catalog;
    std::unique_ptr<MachineServer> server;

private:
    std::vector<OfferedMachine> _Make(std::size_t i_machines) const
    {
        std::vector<OfferedMachine> machines(i_machines);
        for (std::size_t index = 0; index < i_machines; ++index) {
            machines[index].data = MakeData(index);
            OfferedCommand command;
            command.description = {CommandType::Additional, MakeId(index), DataFormat::Document, "Give back", "", {}};
            command.run = [](const CommandRun& i_run) {
                std::filesystem::create_hard_link(i_run.parameters.inputFile, i_run.parameters.outputDir / "result");
                CommandResult result;
                result.dataFormat = DataFormat::Document;
                return result;
            };
            machines[index].commands = {command};
        }
        if (i_machines > 0)
            machines.front().data.name = std::to_string(number);
        return machines;
    }
};

Body MakeCall(bool i_is_tls)
{
    const auto service = std::make_shared<Service>(1, i_is_tls);
    const auto host = std::make_shared<Host>(service->GetEndpoint(), service->folder.GetAbsoluteDir());
    host->Connect();
    return [service, host] {
        benchmark::DoNotOptimize(host->remote.GetMachine(MakeId(0)).GetProfileAssignments().get());
    };
}

Body MakeBareCall(bool i_is_tls)
{
    const auto service = std::make_shared<BareService>(1, i_is_tls);
    const auto stub = service->MakeStub();
    Body call = [service, stub] {
        grpc::ClientContext context;
        pb::ProfileAssignments reply;
        stub->GetProfileAssignments(&context, {}, &reply);
    };
    // The first one connects.
    call();
    return call;
}

std::filesystem::path MakeInput(const std::filesystem::path& i_folder)
{
    const auto path = i_folder / "input";
    std::ofstream file(path, std::ios::binary);
    const std::string block(1 << 20, 'x');
    for (std::uint64_t bytes = 0; bytes < TransferBytes; bytes += block.size())
        file << block;
    return path;
}

/// One run that takes a file and gives it back.
void TransferOnce(Host& io_host, const std::filesystem::path& i_folder)
{
    CommandParameters parameters;
    parameters.commandId = MakeId(0);
    parameters.inputFile = i_folder / "input";
    parameters.outputDir = i_folder / "out";
    std::filesystem::create_directories(parameters.outputDir);
    io_host.remote.GetMachine(MakeId(0)).RunCommand(parameters).get();
    if (std::filesystem::file_size(parameters.outputDir / "result") != TransferBytes)
        std::abort();
    std::filesystem::remove_all(parameters.outputDir);
}

Body MakeTransfer()
{
    const auto service = std::make_shared<Service>(1);
    const auto host = std::make_shared<Host>(service->GetEndpoint(), service->folder.GetAbsoluteDir());
    MakeInput(service->folder.GetAbsoluteDir());
    host->Connect();
    return [service, host] {
        TransferOnce(*host, service->folder.GetAbsoluteDir());
    };
}

Body MakeBareTransfer()
{
    const auto service = std::make_shared<BareService>(1, false);
    const auto stub = service->MakeStub();
    const auto input = MakeInput(service->GetFolder());
    ReadSnapshot(*stub);
    return [service, stub, input] {
        StreamThere(*stub, input);
        StreamBack(*stub, service->GetFolder() / "back");
    };
}

/// More than when idle, of host and service together in this process.
double MeasureTransferMemory()
{
    const auto transfer = MakeTransfer();
    transfer();
    const auto idle = ResetPeakMemory();
    transfer();
    return static_cast<double>(GetPeakMemory() - idle);
}

Body MakeSnapshot()
{
    const auto service = std::make_shared<Service>(ManyMachines);
    // The service looks for its machines once.
    Host(service->GetEndpoint(), service->folder.GetAbsoluteDir()).Connect();
    return [service] {
        Host host(service->GetEndpoint(), service->folder.GetAbsoluteDir());
        host.Connect();
        if (host.remote.GetMachineIds().size() != ManyMachines)
            std::abort();
    };
}

Body MakeBareSnapshot()
{
    const auto service = std::make_shared<BareService>(ManyMachines, false);
    return [service] {
        // As for a host, a connection of its own.
        if (ReadSnapshot(*service->MakeStub()) != ManyMachines)
            std::abort();
    };
}

double MeasureSnapshot()
{
    const auto snapshot = MakeSnapshot();
    const auto begin = Clock::now();
    snapshot();
    return GetSeconds(Clock::now() - begin);
}

Body MakeChange()
{
    const auto service = std::make_shared<Service>(1);
    const auto host = std::make_shared<Host>(service->GetEndpoint(), service->folder.GetAbsoluteDir());
    host->Connect();
    return [service, host] {
        const int before = host->GetUpdates();
        ++service->number;
        service->catalog.Refresh(ServiceId::BuildProcessors);
        host->AwaitUpdates(before + 1);
    };
}

Body MakeBareChange()
{
    const auto service = std::make_shared<BareService>(1, false);
    const auto stream = std::make_shared<BareStream>(service->MakeStub());
    return [service, stream] {
        service->TellChange();
        stream->AwaitEvent();
    };
}

/// By how much a question to a machine that does not answer lasts longer than it may.
double MeasureOvershoot()
{
    BareService service(1, false);
    service.SetAnswering(false);
    const ScopedTempDir folder;
    Host host({service.GetAddress(), {}}, folder.GetAbsoluteDir());
    host.Connect();
    const auto begin = Clock::now();
    try {
        host.remote.GetMachine(MakeId(0)).GetProfileAssignments().get();
        std::abort();
    } catch (const CommunicationException&) {
        return GetSeconds(Clock::now() - begin - QuestionDeadline);
    }
}

double MeasureRecovery()
{
    // It takes its time: measured once, whatever the number of repetitions.
    static const double mgp_seconds = [] {
        Service service(1);
        Host host(service.GetEndpoint(), service.folder.GetAbsoluteDir());
        host.Connect();
        service.server.reset();
        std::this_thread::sleep_for(Outage);
        const int runs = host.GetRuns();
        service.Open();
        const auto begin = Clock::now();
        host.AwaitRunning(runs + 1);
        return GetSeconds(Clock::now() - begin);
    }();
    return mgp_seconds;
}

/// Bytes, and seconds of processor time in a minute, of a service with many machines to which 100 hosts listen; with
/// what a bare host needs for each.
std::array<double, 2> MeasureIdle()
{
    Service service(ManyMachines);
    const auto before = ResetPeakMemory();
    std::vector<std::unique_ptr<BareStream>> hosts;
    for (int host = 0; host < 100; ++host) {
        hosts.push_back(std::make_unique<BareStream>(MakeStub(service.GetEndpoint().address)));
        hosts.back()->AwaitMachines(ManyMachines);
    }
    const auto bytes = static_cast<double>(ResetPeakMemory()) - static_cast<double>(before);
    const auto begin = std::clock();
    constexpr int seconds = 10;
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return {bytes, static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC * 60 / seconds};
}

const std::array<double, 2>& GetIdle()
{
    static const auto mgp_idle = MeasureIdle();
    return mgp_idle;
}

/// A service in a process of its own, for the benchmarks of the window: it has as many machines as the last line says.
int Serve()
{
    Service service(0);
    std::cout << service.GetEndpoint().address << std::endl;
    for (std::size_t count = 0; std::cin >> count;) {
        service.count = count;
        service.catalog.Refresh(ServiceId::BuildProcessors);
    }
    return 0;
}

} // namespace

void AddWireBenchmarks()
{
    for (const bool isTls : {false, true})
        ComparePrepared(
            isTls ? "question to a machine, TLS" : "question to a machine, unix socket", 1.3,
            [isTls] { return MakeCall(isTls); }, [isTls] { return MakeBareCall(isTls); });
    ComparePrepared("1 GiB up and down", 1.25, &MakeTransfer, &MakeBareTransfer);
    Limit("memory for 1 GiB, both sides", 2.0 * (64 << 20), "bytes", &MeasureTransferMemory);
    ComparePrepared("snapshot of 10,000 machines", 1.5, &MakeSnapshot, &MakeBareSnapshot);
    Limit("time of a snapshot of 10,000", 1, "s", &MeasureSnapshot);
    ComparePrepared("a change, until the host is told", 1.5, &MakeChange, &MakeBareChange, 0.002);
    Limit("deadline overshoot", 0.02, "s", &MeasureOvershoot);
    Limit("recovery after 45 s of outage", 1.2, "s", &MeasureRecovery, 1);
    Limit("memory for 100 hosts, 10,000 machines", 1e9, "bytes", [] { return GetIdle()[0]; });
    Limit("processor time of a minute, idle", 3, "s", [] { return GetIdle()[1]; });
}

} // namespace Bench

int main(int i_argc, char** ip_argv)
{
    QCoreApplication application(i_argc, ip_argv);
    if (i_argc == 2 && std::strcmp(ip_argv[1], "--serve") == 0)
        return Bench::Serve();
    Bench::AddWireBenchmarks();
    return Bench::RunAll(i_argc, ip_argv);
}
