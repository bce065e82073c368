#include "machined/ManagerService.h"

#include "machined/Log.h"
#include "machined/TokenStore.h"
#include "machinemanager/Manager.h"
#include "machinemanager/page/ManagerPage.h"
#include "tavsdk/Text.h"

#include <pwd.h>
#include <unistd.h>

#include <charconv>

namespace Machined {

namespace {

using namespace MachineService;
using MachineManager::Actor;
using MachineManager::Role;

std::string GetUserName()
{
    const auto* const entry = getpwuid(geteuid());
    return entry && entry->pw_name ? entry->pw_name : "user " + std::to_string(geteuid());
}

MachineManager::ManagerOptions MakeManagerOptions(const Settings& i_settings)
{
    const auto folder = GetManagerFolder();
    MachineManager::ManagerOptions options;
    options.store = i_settings.store.empty() ? "sqlite:" + (folder / "jobs.sqlite").native() : i_settings.store;
    options.files = i_settings.files.empty() ? folder / "files" : i_settings.files;
    options.daemon = i_settings.daemonName;
    options.owner = GetUserName();
    options.log = Log;
    return options;
}

MachineManager::ManagerPageOptions MakePageOptions(const Settings& i_settings, const TokenStore& i_tokens)
{
    MachineManager::ManagerPageOptions options;
    options.socket = GetInterfaceSocket(i_settings);
    options.sessions = GetManagerFolder() / "sessions";
    options.log = Log;
    const auto place = i_settings.page.value_or("127.0.0.1:0");
    const auto colon = place.rfind(':');
    if (place.empty()) {
        options.port = -1;
        return options;
    }
    const auto* const end = place.data() + place.size();
    const auto* const port = colon == std::string::npos ? end : place.data() + colon + 1;
    const auto read = std::from_chars(port, end, options.port);
    if (read.ec != std::errc() || read.ptr != end || options.port < 0 || options.port > 65535)
        throw WrongUsage("The page's address " + TavSDK::Quote(place) + " cannot be used; write HOST:PORT.");
    options.host = place.substr(0, colon);
    options.publicAddress = i_settings.pageAddress;
    if (options.host == "127.0.0.1")
        return options;
    options.certificate = i_settings.certificate;
    options.key = i_settings.key;
    options.admit = [&i_tokens](const std::string& i_token) -> std::optional<Actor> {
        if (auto name = i_tokens.Find(i_token))
            return Actor{std::move(*name), Role::Operate};
        return std::nullopt;
    };
    return options;
}

} // namespace

struct ManagerService::Impl
{
    Impl(const Settings& i_settings, const TokenStore& i_tokens, AbstractMachinesCatalog& io_catalog)
        : owner{GetUserName(), Role::Operate}
        , manager(MakeManagerOptions(i_settings), io_catalog)
        , page(manager.GetDesk(), MakePageOptions(i_settings, i_tokens))
    {}

    const Actor owner;
    MachineManager::Manager manager;
    MachineManager::ManagerPage page;
};

ManagerService::ManagerService(const Settings& i_settings, const TokenStore& i_tokens,
                               AbstractMachinesCatalog& io_catalog)
    : _impl(std::make_unique<Impl>(i_settings, i_tokens, io_catalog))
{}

ManagerService::~ManagerService() = default;

std::unique_ptr<AbstractServiceCatalog> ManagerService::MakeCatalog()
{
    return _impl->manager.MakeCatalog([impl = _impl.get()](const boost::uuids::uuid& i_job) {
        return impl->page.GetAddress().empty() ? JobListAddress() : impl->page.MakeJobAddress(i_job, impl->owner);
    });
}

void ManagerService::Start()
{
    _impl->page.Start();
    _impl->manager.Start();
}

void ManagerService::Stop()
{
    _impl->page.Stop();
    _impl->manager.Stop();
}

std::string ManagerService::GetAddress() const
{
    return _impl->page.GetAddress();
}

bool ManagerService::IsIdle() const
{
    return _impl->manager.IsIdle() && _impl->page.GetConnections() == 0;
}

} // namespace Machined
