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
    options.kept = i_settings.kept;
    options.keptBytes = i_settings.keptBytes;
    options.largestPlatform = i_settings.jobBytes;
    options.log = Log;
    return options;
}

MachineManager::ManagerPageOptions MakePageOptions(const Settings& i_settings, const TokenStore& i_tokens)
{
    MachineManager::ManagerPageOptions options;
    options.socket = GetInterfaceSocket(i_settings);
    options.sessions = GetManagerFolder() / "sessions";
    options.connections = i_settings.pageConnections;
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
        return i_tokens.Find(i_token);
    };
    // A token that was revoked, or has another role now, counts for browsers that signed in by it too.
    options.confirm = [&i_tokens, owner = GetUserName()](const Actor& i_actor) -> std::optional<Actor> {
        if (auto known = i_tokens.FindByName(i_actor.name))
            return known;
        return i_actor.name == owner ? std::optional(i_actor) : std::nullopt;
    };
    return options;
}

} // namespace

struct ManagerService::Impl
{
    Impl(const Settings& i_settings, const TokenStore& i_tokens, AbstractMachinesCatalog& io_catalog)
        : owner{GetUserName(), Role::Operate}
        , tokens(i_tokens)
        , hasTokens(!i_settings.listen.empty() && i_settings.clientCa.empty())
        , manager(MakeManagerOptions(i_settings), io_catalog)
        , page(manager.GetDesk(), MakePageOptions(i_settings, i_tokens))
    {}

    /// Whom a host acts for, by what the wire calls it.
    Actor FindActor(const std::string& i_caller) const;

    const Actor owner;
    const TokenStore& tokens;
    const bool hasTokens; ///< hosts of other computers come in by them, and not by certificates
    MachineManager::Manager manager;
    MachineManager::ManagerPage page;
};

Actor ManagerService::Impl::FindActor(const std::string& i_caller) const
{
    // Of this computer only the owner's processes get here, see the server's options.
    if (i_caller.empty() || i_caller == "fd")
        return owner;
    if (!hasTokens)
        return {i_caller, Role::Operate};
    return tokens.FindByName(i_caller).value_or(Actor{i_caller, Role::None});
}

ManagerService::ManagerService(const Settings& i_settings, const TokenStore& i_tokens,
                               AbstractMachinesCatalog& io_catalog)
    : _impl(std::make_unique<Impl>(i_settings, i_tokens, io_catalog))
{}

ManagerService::~ManagerService() = default;

std::unique_ptr<AbstractServiceCatalog> ManagerService::MakeCatalog()
{
    const auto* const impl = _impl.get();
    return _impl->manager.MakeCatalog(
        [page = &_impl->page](const boost::uuids::uuid& i_job, const Actor& i_actor) {
            return page->GetAddress().empty() ? JobListAddress() : page->MakeJobAddress(i_job, i_actor);
        },
        [impl](const std::string& i_caller) { return impl->FindActor(i_caller); });
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
