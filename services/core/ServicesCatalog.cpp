#include "core/ServicesCatalog.h"

#include "client/interface/CommunicationException.h"

#include "tavsdk/Mutex.h"

#include <condition_variable>
#include <deque>
#include <thread>

namespace MachineService {

namespace {

using Versions = std::vector<std::pair<std::string, std::string>>;

} // namespace

/// Waits for the answers of several services on a thread of its own, started with the first question.
class ServicesCatalog::VersionCollector
{
public:
    std::future<Versions> Collect(std::vector<std::future<Versions>> i_answers)
    {
        const TavSDK::MutexLock lock(_mutex);
        _questions.push_back({std::move(i_answers), {}});
        auto future = _questions.back().promise.get_future();
        if (!_thread.joinable())
            _thread = std::thread([this] { _Run(); });
        _wakeUp.notify_one();
        return future;
    }

    /// Comes to its end when the services have given every answer that is waited for, which stopping makes them do.
    ~VersionCollector()
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            _stop = true;
            _wakeUp.notify_one();
        }
        if (_thread.joinable())
            _thread.join();
    }

private:
    struct Question
    {
        std::vector<std::future<Versions>> answers;
        std::promise<Versions> promise;
    };

    void _Run()
    {
        TavSDK::MutexLock lock(_mutex);
        for (;;) {
            while (!_stop && _questions.empty())
                _wakeUp.wait(lock);
            if (_questions.empty())
                return;
            Question question = std::move(_questions.front());
            _questions.pop_front();
            lock.unlock();
            _Answer(question);
            lock.lock();
        }
    }

    static void _Answer(Question& io_question)
    {
        Versions all;
        std::exception_ptr failure;
        for (auto& answer : io_question.answers) {
            try {
                Versions versions = answer.get();
                all.insert(all.end(), versions.begin(), versions.end());
            } catch (...) {
                failure = std::current_exception();
            }
        }
        if (all.empty() && failure)
            io_question.promise.set_exception(failure);
        else
            io_question.promise.set_value(std::move(all));
    }

    TavSDK::Mutex _mutex; ///< guards _questions, _stop and the start of _thread
    std::condition_variable_any _wakeUp;
    std::deque<Question> _questions TAVSDK_GUARDED_BY(_mutex);
    bool _stop TAVSDK_GUARDED_BY(_mutex) = false;
    std::thread _thread TAVSDK_GUARDED_BY(_mutex);
};

ServicesCatalog::ServicesCatalog()
    : _versions(std::make_unique<VersionCollector>())
{}

ServicesCatalog::~ServicesCatalog()
{
    Stop();
}

void ServicesCatalog::Stop()
{
    for (auto& [id, service] : _services)
        service->Stop();
}

void ServicesCatalog::AddService(ServiceId i_service, std::unique_ptr<AbstractServiceCatalog> ip_catalog)
{
    // A signal that is called by another one lives until the call is over, also when a slot destroys this catalog.
    ip_catalog->ConnectMachineAdded(_machineAdded);
    ip_catalog->ConnectMachineRemoved(_machineRemoved);
    ip_catalog->ConnectMachineUpdated(_machineUpdated);
    ip_catalog->ConnectServiceStatusUpdated(_serviceStatusUpdated);
    _services[i_service] = std::move(ip_catalog);
}

AuthenticationResult ServicesCatalog::SetAuthentication(ServiceId i_service,
                                                        const std::optional<AuthenticationData>& i_data)
{
    auto* const service = _Find(i_service);
    return service ? service->SetAuthentication(i_service, i_data) : AuthenticationResult::Unavailable;
}

bool ServicesCatalog::Start(ServiceId i_service)
{
    auto* const service = _Find(i_service);
    return service && service->Start(i_service);
}

bool ServicesCatalog::Refresh(ServiceId i_service)
{
    auto* const service = _Find(i_service);
    return service && service->Refresh(i_service);
}

bool ServicesCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    for (const auto& [id, service] : _services) {
        if (service->HasMachine(i_id))
            return true;
    }
    return false;
}

Machine ServicesCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    for (const auto& [id, service] : _services) {
        if (service->HasMachine(i_id))
            return service->GetMachine(i_id);
    }
    throw CommunicationException(ErrorCode::MachineNotFound);
}

std::optional<Machine> ServicesCatalog::TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                      MachineRepresentation i_representation) const
{
    auto* const service = _Find(i_service);
    return service ? service->TryGetMachine(i_service, i_id, i_representation) : std::nullopt;
}

std::vector<Machine> ServicesCatalog::GetMachines() const
{
    std::vector<Machine> all;
    for (const auto& [id, service] : _services) {
        for (Machine& machine : service->GetMachines())
            all.push_back(machine);
    }
    return all;
}

std::vector<boost::uuids::uuid> ServicesCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> all;
    for (const auto& [id, service] : _services) {
        const auto ids = service->GetMachineIds();
        all.insert(all.end(), ids.begin(), ids.end());
    }
    return all;
}

std::future<Versions> ServicesCatalog::GetVersionInformation() const
{
    std::vector<std::future<Versions>> answers;
    for (const auto& [id, service] : _services)
        answers.push_back(service->GetVersionInformation());
    return _versions->Collect(std::move(answers));
}

std::future<std::string> ServicesCatalog::InstallMachine(ServiceId i_service, const std::filesystem::path& i_file)
{
    auto* const service = _Find(i_service);
    return service ? service->InstallMachine(i_service, i_file)
                   : AbstractMachinesCatalog::InstallMachine(i_service, i_file);
}

AbstractServiceCatalog* ServicesCatalog::_Find(ServiceId i_service) const
{
    const auto found = _services.find(i_service);
    return found == _services.end() ? nullptr : found->second.get();
}

} // namespace MachineService
