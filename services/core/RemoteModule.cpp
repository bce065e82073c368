#include "core/RemoteModule.h"

#include "contract/Failure.h"
#include "contract/ReadyFuture.h"
#include "contract/ServiceCatalogBase.h"
#include "core/OwnFolder.h"
#include "tavsdk/Path.h"
#include "tavsdk/Text.h"

#include <dlfcn.h>

#include <sstream>

namespace MachineService {

namespace {

// As remote/Module.h declares it; nothing of that folder is linked here.
using MakeCatalog = AbstractServiceCatalog* (*)(ServiceId, const ServiceEndpoint*, AbstractPluginUtility*);
constexpr const char* MakeCatalogName = "machineservice_remote_make_catalog";
constexpr const char* ModuleName = "libmachineservice_remote.so";
constexpr std::size_t MaxShown = 300;

/// Empty when there is none.
std::filesystem::path FindModule()
{
    const auto own = GetOwnFolder();
    std::istringstream places(SERVICES_REMOTE_DIRS);
    for (std::string place; !own.empty() && std::getline(places, place, ':');) {
        std::error_code failure;
        auto file = std::filesystem::canonical(own / place / ModuleName, failure);
        if (!failure)
            return file;
    }
    return {};
}

/// Whether the host shows a protobuf of its own to all that it loads: that would take the place of the module's, and
/// end the program where it is of another version.
bool ShowsProtobuf()
{
    return dlsym(RTLD_DEFAULT, "_ZN6google8protobuf8internal13VerifyVersionEiiPKc") != nullptr;
}

/// \throws CommunicationException that says what is missing.
MakeCatalog LoadModule()
{
    const auto file = FindModule();
    if (file.empty())
        Fail(ErrorCode::InternalError, "This library was built without the connection to machine services in other "
                                       "processes and on other hosts: build it with MACHINESERVICE_BUILD_WIRE=ON.");
    // Bound to what it brings along only where it must be: allocators that a host puts in place pass it by then.
    const int binding = ShowsProtobuf() ? RTLD_DEEPBIND : 0;
    void* const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE | binding);
    void* const function = module ? dlsym(module, MakeCatalogName) : nullptr;
    if (!function) {
        const char* const reason = dlerror();
        Fail(ErrorCode::InternalError, "The file " + TavSDK::Quote(TavSDK::ShowPath(file), MaxShown) +
                                           " cannot be loaded (" + (reason ? reason : "it is another program's") +
                                           "): install this program and what it needs anew.");
    }
    return reinterpret_cast<MakeCatalog>(function);
}

/// Stands for a service that cannot be had, so that whoever starts it reads why.
class MissingCatalog final : public ServiceCatalogBase
{
public:
    MissingCatalog(ServiceId i_service, const CommunicationException& i_failure)
        : ServiceCatalogBase(i_service, "a missing service")
        , _service(i_service)
        , _failure(i_failure)
    {}
    ~MissingCatalog() override { Stop(); }

    /// \throws CommunicationException why there is no such service.
    bool Start(ServiceId i_service) override
    {
        if (i_service != _service)
            return false;
        throw _failure;
    }
    std::vector<boost::uuids::uuid> GetMachineIds() const override { return {}; }
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override
    {
        return Ready([this]() -> std::vector<std::pair<std::string, std::string>> { throw _failure; });
    }

protected:
    MachineNews _FindNews() override { return {}; }
    std::optional<Machine> _MakeMachine(const boost::uuids::uuid& /*i_id*/) const override { return std::nullopt; }

private:
    const ServiceId _service;
    const CommunicationException _failure;
};

} // namespace

std::unique_ptr<AbstractServiceCatalog> MakeRemoteCatalog(ServiceId i_service, const ServiceEndpoint& i_endpoint,
                                                          std::unique_ptr<AbstractPluginUtility> ip_utility)
{
    try {
        const auto makeCatalog = LoadModule();
        return std::unique_ptr<AbstractServiceCatalog>(makeCatalog(i_service, &i_endpoint, ip_utility.release()));
    } catch (const CommunicationException& failure) {
        return MakeMissingCatalog(i_service, failure);
    }
}

std::unique_ptr<AbstractServiceCatalog> MakeMissingCatalog(ServiceId i_service, const CommunicationException& i_failure)
{
    return std::make_unique<MissingCatalog>(i_service, i_failure);
}

} // namespace MachineService
