#include "machined/Daemon.h"

#include "client/interface/AbstractPluginUtility.h"
#include "core/ServicesCatalog.h"
#include "machined/Log.h"
#include "machined/ManagerService.h"
#include "machined/Notify.h"
#include "machined/TokenStore.h"
#include "machinemanager/page/Sessions.h"
#include "server/MachineServer.h"
#include "tavsdk/FileError.h"
#include "tavsdk/Path.h"
#include "tavsdk/RunFolder.h"
#include "tavsdk/Text.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace Machined {

namespace {

using namespace MachineService;

/// Folders and settings of the Build Processors: the same as in a host of this user.
class Utility final : public AbstractPluginUtility
{
public:
    explicit Utility(const Settings& i_settings)
        : _settings(i_settings)
    {}

    std::filesystem::path GetConfigurationDir() const override
    {
        return TavSDK::GetUserFolder(TavSDK::UserFolder::Configuration) / "machineservice" / "build-processors";
    }
    std::filesystem::path GetDataDir() const override
    {
        return _settings.data.empty()
                   ? TavSDK::GetUserFolder(TavSDK::UserFolder::Data) / "machineservice" / "build-processors"
                   : _settings.data;
    }
    std::optional<std::string> GetSetting(const std::string& i_name) const override
    {
        return i_name == "engine.path" && !_settings.engine.empty() ? std::optional(_settings.engine) : std::nullopt;
    }

private:
    const Settings _settings;
};

std::vector<ServiceId> GetOffered(const Settings& i_settings)
{
    switch (i_settings.offer) {
    case Settings::Offer::Manager:
        return {ServiceId::MachineManager};
    case Settings::Offer::MachinesAndManager:
        return {ServiceId::BuildProcessors, ServiceId::MachineManager};
    default:
        return {ServiceId::BuildProcessors};
    }
}

MachineServerOptions MakeOptions(const Settings& i_settings, const TokenStore& i_tokens)
{
    MachineServerOptions options;
    options.name = "machined";
    // The Build Processors and the Machine Manager have no other.
    options.language = "en";
    options.services = GetOffered(i_settings);
    if (const auto socket = GetSocket(i_settings); !socket.empty())
        options.addresses.push_back("unix:" + socket);
    for (const auto& address : i_settings.listen)
        options.addresses.push_back("tls://" + address);
    options.tls = {i_settings.certificate, i_settings.key, i_settings.clientCa};
    options.limits.connections = i_settings.connections;
    options.limits.streams = i_settings.streams;
    options.limits.runs.runningOfOneClient = i_settings.runsOfOneClient;
    options.limits.runs.inputBytes = i_settings.uploadBytes;
    options.heartbeat = i_settings.heartbeat;
    options.log = Log;
    options.admitsLocalHosts = true;
    if (!i_settings.listen.empty() && i_settings.clientCa.empty())
        options.admit = [&i_tokens](const std::string& i_secret) {
            try {
                // Hosts by the protocol hand jobs in, and let machines work.
                const auto actor = i_tokens.Find(i_secret);
                return actor && actor->role >= MachineManager::Role::Submit ? std::optional(actor->name) : std::nullopt;
            } catch (const std::exception& error) {
                Log(error.what());
                return std::optional<std::string>();
            }
        };
    return options;
}

/// \return the next signal that is for the daemon; SIGTERM when it is to end by itself.
int WaitForSignal(const Settings& i_settings, const std::function<bool()>& i_is_idle)
{
    using Clock = std::chrono::steady_clock;
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&signals, signal);
    const bool isBounded = i_settings.idle > std::chrono::minutes(0);
    constexpr timespec interval = {15, 0};
    for (auto busy = Clock::now();;) {
        const int signal = isBounded ? sigtimedwait(&signals, nullptr, &interval) : sigwaitinfo(&signals, nullptr);
        if (signal > 0)
            return signal;
        if (!isBounded || !i_is_idle())
            busy = Clock::now();
        else if (Clock::now() - busy >= i_settings.idle)
            return SIGTERM;
    }
}

void Reload(const Settings& i_settings, AbstractMachinesCatalog& io_catalog)
{
    Log("reading profiles and certificates again");
    io_catalog.Refresh(ServiceId::BuildProcessors);
    if (i_settings.listen.empty())
        return;
    try {
        CheckTlsFiles({i_settings.certificate, i_settings.key, i_settings.clientCa});
    } catch (const std::exception& error) {
        Log(std::string(error.what()) + " The former certificate stays in use.");
    }
}

/// Before the manager goes, whose machines may be among those of the services.
struct ServicesStop
{
    ServicesCatalog& services;
    ~ServicesStop() { services.Stop(); }
};

void Announce(const Settings& i_settings, const std::vector<std::string>& i_addresses, const std::string& i_page)
{
    for (const auto& address : i_addresses) {
        Log("listening on " + address);
        if (i_settings.printAddress)
            std::printf("%s\n", address.c_str());
    }
    if (!i_page.empty())
        Log("the page of jobs is at " + i_page);
    if (i_settings.printAddress) {
        std::puts("ready");
        std::fflush(stdout);
    }
}

/// Everything temporary goes below a folder of this process, so that the next daemon removes what a killed one left.
std::unique_ptr<TavSDK::RunFolder> MakeTemporaryFolder()
{
    const auto parent = TavSDK::GetTemporaryFolder();
    try {
        auto folder = std::make_unique<TavSDK::RunFolder>(parent, "machined-");
        setenv("TMPDIR", folder->GetPath().c_str(), 1);
        return folder;
    } catch (const TavSDK::FileError& failure) {
        throw TavSDK::FileError("No folder can be made in " + TavSDK::Quote(TavSDK::ShowPath(parent)) + ": " +
                                failure.what() + "; make room there, or set TMPDIR to another one.");
    }
}

} // namespace

void CheckSettings(const Settings& i_settings)
{
    if (GetSocket(i_settings).empty() && i_settings.listen.empty())
        throw WrongUsage("There is nothing to listen on; give --socket or --listen.");
    if (i_settings.listen.empty())
        return;
    CheckTlsFiles({i_settings.certificate, i_settings.key, i_settings.clientCa});
    if (i_settings.clientCa.empty() && TokenStore(GetTokenFile(i_settings)).GetTokens().empty())
        throw WrongUsage(
            "Nobody could come in by --listen; give it a --client-ca, or add a token by machined token add.");
}

void RunDaemon(const Settings& i_settings)
{
    CheckSettings(i_settings);
    // Before any thread begins, and gone after all of them.
    const auto temporary = MakeTemporaryFolder();
    const TokenStore tokens(GetTokenFile(i_settings));
    const auto services = CreateServicesCatalog([&](ServiceId) { return std::make_unique<Utility>(i_settings); });
    std::unique_ptr<ManagerService> manager;
    const ServicesStop stop{*services};
    std::unique_ptr<AbstractServiceCatalog> managed;
    AbstractMachinesCatalog* offered = services.get();
    if (i_settings.offer != Settings::Offer::Machines) {
        manager = std::make_unique<ManagerService>(i_settings, tokens, *services);
        managed = manager->MakeCatalog();
        manager->Start();
    }
    if (i_settings.offer == Settings::Offer::Manager) {
        offered = managed.get();
        services->Start(ServiceId::BuildProcessors);
    } else if (managed) {
        services->AddService(ServiceId::MachineManager, std::move(managed));
    }
    MachineServer server(*offered, MakeOptions(i_settings, tokens));
    server.Start();
    Announce(i_settings, server.GetAddresses(), manager ? manager->GetAddress() : std::string());
    NotifyManager("READY=1");
    const auto isIdle = [&] {
        return !server.HasConnections() && (!manager || manager->IsIdle());
    };
    while (WaitForSignal(i_settings, isIdle) == SIGHUP)
        Reload(i_settings, *services);
    NotifyManager("STOPPING=1");
    Log("stopping; runs have " + std::to_string(i_settings.drain.count() / 1000) + " s to end");
    server.Stop(i_settings.drain);
    if (manager)
        manager->Stop();
    services->Stop();
    managed.reset();
    Log("stopped");
}

namespace {

MachineManager::Role ReadRole(const std::string& i_word)
{
    const auto role = MachineManager::FindRole(i_word);
    if (!role || *role == MachineManager::Role::None)
        throw WrongUsage("There is no role " + TavSDK::Quote(i_word) + "; a token may see, submit or operate.");
    return *role;
}

} // namespace

void RunTokenCommand(const Settings& i_settings)
{
    TokenStore tokens(GetTokenFile(i_settings));
    const auto& words = i_settings.command;
    const auto action = words.size() > 1 ? words[1] : std::string();
    if (words.front() == "token" && words.size() == 2 && action == "list") {
        for (const auto& token : tokens.GetTokens())
            std::printf("%s %s\n", token.name.c_str(), MachineManager::GetName(token.role));
    } else if (words.front() == "token" && words.size() == 3 && action == "add") {
        std::printf("%s\n", tokens.Add(words[2]).c_str());
    } else if (words.front() == "token" && words.size() == 4 && action == "add") {
        std::printf("%s\n", tokens.Add(words[2], ReadRole(words[3])).c_str());
    } else if (words.front() == "token" && words.size() == 4 && action == "role") {
        tokens.SetRole(words[2], ReadRole(words[3]));
    } else if (words.front() == "token" && words.size() == 3 && action == "rotate") {
        std::printf("%s\n", tokens.Rotate(words[2]).c_str());
    } else if (words.front() == "token" && words.size() == 3 && action == "revoke") {
        tokens.Revoke(words[2]);
    } else {
        throw WrongUsage(TavSDK::Quote(words.front()) +
                         " is no command; machined token add|list|role|rotate|revoke is.");
    }
}

} // namespace Machined
