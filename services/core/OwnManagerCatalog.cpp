#include "core/OwnManagerCatalog.h"

#include "client/interface/CommunicationException.h"
#include "contract/ReadyFuture.h"
#include "core/ManagerLauncher.h"
#include "core/RemoteModule.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/StopExceptions.h"

#include <stop_token>
#include <thread>
#include <utility>

namespace MachineService {

namespace {

class OwnManagerCatalog final : public AbstractServiceCatalog
{
public:
    explicit OwnManagerCatalog(std::function<std::unique_ptr<AbstractPluginUtility>()> i_make_utility)
        : _makeUtility(std::move(i_make_utility))
    {}
    ~OwnManagerCatalog() override { Stop(); }

    void Stop() override
    {
        _stop.request_stop();
        std::thread starting;
        {
            const TavSDK::MutexLock lock(_mutex);
            _isStopped = true;
            starting.swap(_starting);
        }
        if (starting.joinable())
            starting.join();
        if (const auto catalog = _Get())
            catalog->Stop();
    }
    /// Comes back at once; the rest is told as news.
    bool Start(ServiceId i_service) override
    {
        if (i_service != ServiceId::MachineManager)
            return false;
        std::shared_ptr<AbstractPluginUtility> utility = _makeUtility ? _makeUtility() : nullptr;
        if (!utility)
            return false;
        const TavSDK::MutexLock lock(_mutex);
        if (_isStopped)
            return false;
        if (std::exchange(_isStarting, true))
            return true;
        if (_starting.joinable())
            _starting.join(); // it has come to its end, or is about to
        _starting = std::thread([this, utility = std::move(utility)] { _Start(*utility); });
        return true;
    }
    bool Refresh(ServiceId i_service) override
    {
        const auto catalog = _Get();
        return catalog && catalog->Refresh(i_service);
    }
    AuthenticationResult SetAuthentication(ServiceId i_service,
                                           const std::optional<AuthenticationData>& i_data) override
    {
        const auto catalog = _Get();
        return catalog ? catalog->SetAuthentication(i_service, i_data) : AuthenticationResult::NotRequired;
    }
    bool HasMachine(const boost::uuids::uuid& i_id) const override
    {
        const auto catalog = _Get();
        return catalog && catalog->HasMachine(i_id);
    }
    Machine GetMachine(const boost::uuids::uuid& i_id) const override
    {
        if (const auto catalog = _Get())
            return catalog->GetMachine(i_id);
        throw CommunicationException(ErrorCode::MachineNotFound);
    }
    std::optional<Machine> TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                         MachineRepresentation i_representation) const override
    {
        const auto catalog = _Get();
        return catalog ? catalog->TryGetMachine(i_service, i_id, i_representation) : std::nullopt;
    }
    std::vector<Machine> GetMachines() const override
    {
        const auto catalog = _Get();
        return catalog ? catalog->GetMachines() : std::vector<Machine>();
    }
    std::vector<boost::uuids::uuid> GetMachineIds() const override
    {
        const auto catalog = _Get();
        return catalog ? catalog->GetMachineIds() : std::vector<boost::uuids::uuid>();
    }
    std::future<std::vector<std::pair<std::string, std::string>>> GetVersionInformation() const override
    {
        if (const auto catalog = _Get())
            return catalog->GetVersionInformation();
        return Ready([] { return std::vector<std::pair<std::string, std::string>>(); });
    }

private:
    void _Start(AbstractPluginUtility& io_utility)
    {
        auto catalog = _Get();
        // One that was lost is started anew, and its catalog finds it by itself.
        if (!catalog)
            _Tell(io_utility, ServiceStatus::Starting, {});
        try {
            EnsureManager(io_utility, _stop.get_token());
            if (!catalog)
                catalog =
                    _Take(MakeRemoteCatalog(ServiceId::MachineManager, {GetManagerAddress(), {}}, _makeUtility()));
            if (catalog)
                catalog->Start(ServiceId::MachineManager);
        } catch (const std::exception& failure) {
            _Tell(io_utility, ServiceStatus::Failed, failure.what());
        }
        const TavSDK::MutexLock lock(_mutex);
        _isStarting = false;
    }
    void _Tell(AbstractPluginUtility& io_utility, ServiceStatus i_status, const std::string& i_reason)
    {
        // A listener's failure is its own.
        TavSDK::StopExceptions(
            [&] {
                io_utility.HandleStatus(i_status, i_reason);
                _serviceStatusUpdated(ServiceId::MachineManager, i_status);
            },
            [](const char*) {});
    }
    std::shared_ptr<AbstractServiceCatalog> _Get() const
    {
        const TavSDK::MutexLock lock(_mutex);
        return _catalog;
    }
    /// \return null when nobody wants it any more.
    std::shared_ptr<AbstractServiceCatalog> _Take(std::unique_ptr<AbstractServiceCatalog> ip_catalog)
    {
        // As ServicesCatalog passes news on: a signal that is called by another one lives until the call is over.
        ip_catalog->ConnectMachineAdded(_machineAdded);
        ip_catalog->ConnectMachineRemoved(_machineRemoved);
        ip_catalog->ConnectMachineUpdated(_machineUpdated);
        ip_catalog->ConnectServiceStatusUpdated(_serviceStatusUpdated);
        const TavSDK::MutexLock lock(_mutex);
        if (_isStopped)
            return nullptr;
        _catalog = std::move(ip_catalog);
        return _catalog;
    }

    const std::function<std::unique_ptr<AbstractPluginUtility>()> _makeUtility;
    std::stop_source _stop;
    mutable TavSDK::Mutex _mutex; ///< guards everything below
    bool _isStarting TAVSDK_GUARDED_BY(_mutex) = false;
    std::thread _starting TAVSDK_GUARDED_BY(_mutex);
    bool _isStopped TAVSDK_GUARDED_BY(_mutex) = false;
    std::shared_ptr<AbstractServiceCatalog> _catalog TAVSDK_GUARDED_BY(_mutex); ///< null before the first start
};

} // namespace

std::unique_ptr<AbstractServiceCatalog>
MakeOwnManagerCatalog(std::function<std::unique_ptr<AbstractPluginUtility>()> i_make_utility)
{
    return std::make_unique<OwnManagerCatalog>(std::move(i_make_utility));
}

} // namespace MachineService
