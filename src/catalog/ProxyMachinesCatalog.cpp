#include "catalog/ProxyMachinesCatalog.h"

#include "catalog/AcceptedMachines.h"
#include "catalog/NewsOrder.h"
#include "client/events/LifetimeGate.h"
#include "client/interface/CommunicationException.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <tuple>
#include <utility>

namespace MachineService {

namespace {

// Enough that the looks at the set overlap, few enough that the lock is not held for long.
constexpr std::size_t LookedAtOnce = 256;

} // namespace

/// Outlives the proxy while something is under way; knows it by its signals only, and those as long as news have not
/// ended.
class ProxyMachinesCatalog::Impl
{
public:
    Impl(ProxyMachinesCatalog& io_proxy, AbstractMachinesCatalog* ip_source,
         const std::function<bool(const MachineData&)>& i_filtering_rule)
        : source(ip_source)
        , filteringRule(i_filtering_rule)
        , news([&io_proxy](const News& i_news) { _Raise(io_proxy, i_news); })
        , accepted(news)
    {}

    bool IsAcceptedByRule(const boost::uuids::uuid& i_id) const
    {
        const MachineData data = source->GetMachine(i_id).GetMachineData();
        return !news.HasEnded() && filteringRule(data);
    }
    void HandleMachineAdded(const boost::uuids::uuid& i_id);
    void Invalidate();

    AbstractMachinesCatalog* const source;
    const std::function<bool(const MachineData&)> filteringRule;
    NewsOrder news;
    AcceptedMachines accepted;
    LifetimeGate gate;
    std::tuple<MachineSignal, MachineSignal, MachineUpdatedSignal, ServiceStatusSignal> signalsOfTheDestroyed;

private:
    static void _Raise(ProxyMachinesCatalog& io_proxy, const News& i_news);
    void _Evaluate(AcceptedMachines::Evaluation& io_evaluation, const boost::uuids::uuid& i_id, bool i_was_accepted);
};

void ProxyMachinesCatalog::Impl::_Raise(ProxyMachinesCatalog& io_proxy, const News& i_news)
{
    switch (i_news.kind) {
    case News::Kind::MachineAdded:
        io_proxy._machineAdded(i_news.machine);
        break;
    case News::Kind::MachineRemoved:
        io_proxy._machineRemoved(i_news.machine);
        break;
    case News::Kind::MachineUpdated:
        io_proxy._machineUpdated(i_news.machine, i_news.changes);
        break;
    case News::Kind::ServiceStatus:
        io_proxy._serviceStatusUpdated(i_news.service, i_news.status);
        break;
    }
}

void ProxyMachinesCatalog::Impl::HandleMachineAdded(const boost::uuids::uuid& i_id)
{
    std::optional<NewsOrder::Place> place;
    {
        AcceptedMachines::Evaluation evaluation(accepted, AcceptedMachines::Evaluation::Kind::Announcement);
        while (!place && !news.HasEnded())
            place = evaluation.Apply(i_id, IsAcceptedByRule(i_id));
    }
    if (place)
        news.Raise(*place);
}

void ProxyMachinesCatalog::Impl::Invalidate()
{
    // Begun before the source is asked, so that no machine goes unnoticed between the list and the question about it.
    AcceptedMachines::Evaluation evaluation(accepted, AcceptedMachines::Evaluation::Kind::Invalidation);
    const std::vector<boost::uuids::uuid> ids = source->GetMachineIds();
    for (std::size_t begin = 0; begin < ids.size(); begin += LookedAtOnce) {
        const auto some = std::span(ids).subspan(begin, std::min(LookedAtOnce, ids.size() - begin));
        const std::vector<bool> wereAccepted = evaluation.Look(some);
        for (std::size_t index = 0; index < some.size() && !news.HasEnded(); ++index)
            _Evaluate(evaluation, some[index], wereAccepted[index]);
    }
}

void ProxyMachinesCatalog::Impl::_Evaluate(AcceptedMachines::Evaluation& io_evaluation, const boost::uuids::uuid& i_id,
                                           bool i_was_accepted)
{
    std::optional<NewsOrder::Place> place;
    while (!place && !news.HasEnded()) {
        try {
            const bool isAccepted = IsAcceptedByRule(i_id);
            // The usual case: nothing to decide, and nobody who decided meanwhile.
            if (isAccepted == i_was_accepted && io_evaluation.IsAsLooked())
                return;
            place = io_evaluation.Apply(i_id, isAccepted);
        } catch (...) {
            // The source no longer knows a machine that it has just taken away: that is no failure.
            if (io_evaluation.HasGone(i_id))
                return;
            throw;
        }
    }
    if (place)
        news.Raise(*place);
}

ProxyMachinesCatalog::ProxyMachinesCatalog(AbstractMachinesCatalog* ip_catalog,
                                           const std::function<bool(const MachineData&)>& i_filtering_rule)
    : _impl(std::make_shared<Impl>(*this, ip_catalog, i_filtering_rule))
{
    if (!ip_catalog)
        throw std::runtime_error("machines catalog is nullptr");
    if (!i_filtering_rule)
        throw std::runtime_error("filtering rule is empty");

    const std::weak_ptr<int> token = _lifetimeToken;
    const auto guarded = [weak = std::weak_ptr(_impl), gate = _impl->gate](auto i_handler) {
        return [weak, gate, i_handler](auto... i_news) {
            const auto entry = gate.Enter();
            if (!entry)
                return;
            if (const auto impl = weak.lock())
                i_handler(*impl, i_news...);
        };
    };
    ip_catalog->ConnectMachineAdded(MachineSignal::slot_type(guarded([](Impl& io_impl, const boost::uuids::uuid& i_id) {
                                        io_impl.HandleMachineAdded(i_id);
                                    })).track_foreign(token));
    ip_catalog->ConnectMachineRemoved(
        MachineSignal::slot_type(guarded([](Impl& io_impl, const boost::uuids::uuid& i_id) {
            io_impl.news.Raise(io_impl.accepted.Remove(i_id));
        })).track_foreign(token));
    ip_catalog->ConnectMachineUpdated(
        MachineUpdatedSignal::slot_type(guarded([](Impl& io_impl, const boost::uuids::uuid& i_id,
                                                   MachineChanges i_changes) {
            io_impl.news.Raise(io_impl.accepted.Update(i_id, i_changes));
        })).track_foreign(token));
    ip_catalog->ConnectServiceStatusUpdated(
        ServiceStatusSignal::slot_type(guarded([](Impl& io_impl, ServiceId i_service, ServiceStatus i_status) {
            const News status{.kind = News::Kind::ServiceStatus, .service = i_service, .status = i_status};
            io_impl.news.Raise(io_impl.news.Append(status));
        })).track_foreign(token));
}

ProxyMachinesCatalog::~ProxyMachinesCatalog()
{
    EndNews();
    _impl->gate.Close();
    // The destructor may run inside one of the signals, which the call that is under way needs to its end.
    _machineAdded.disconnect_all_slots();
    _machineRemoved.disconnect_all_slots();
    _machineUpdated.disconnect_all_slots();
    _serviceStatusUpdated.disconnect_all_slots();
    _impl->signalsOfTheDestroyed = {std::move(_machineAdded), std::move(_machineRemoved), std::move(_machineUpdated),
                                    std::move(_serviceStatusUpdated)};
}

void ProxyMachinesCatalog::EndNews()
{
    _impl->news.End();
}

AuthenticationResult ProxyMachinesCatalog::SetAuthentication(ServiceId i_service,
                                                             const std::optional<AuthenticationData>& i_data)
{
    return _impl->source->SetAuthentication(i_service, i_data);
}

bool ProxyMachinesCatalog::Start(ServiceId i_service)
{
    return _impl->source->Start(i_service);
}

bool ProxyMachinesCatalog::Refresh(ServiceId i_service)
{
    return _impl->source->Refresh(i_service);
}

bool ProxyMachinesCatalog::HasMachine(const boost::uuids::uuid& i_id) const
{
    return _impl->accepted.Contains(i_id) && _impl->source->HasMachine(i_id);
}

Machine ProxyMachinesCatalog::GetMachine(const boost::uuids::uuid& i_id) const
{
    if (!_impl->accepted.Contains(i_id))
        throw CommunicationException(ErrorCode::MachineNotFound);
    return _impl->source->GetMachine(i_id);
}

std::optional<Machine> ProxyMachinesCatalog::TryGetMachine(ServiceId i_service, const boost::uuids::uuid& i_id,
                                                           MachineRepresentation i_representation) const
{
    return _impl->source->TryGetMachine(i_service, i_id, i_representation);
}

std::vector<Machine> ProxyMachinesCatalog::GetMachines() const
{
    const auto impl = _impl;
    std::vector<Machine> machines = impl->source->GetMachines();
    std::vector<boost::uuids::uuid> ids;
    ids.reserve(machines.size());
    for (const Machine& machine : machines)
        ids.push_back(machine.GetMachineData().id);
    const std::vector<bool> areAccepted = impl->accepted.Contain(ids);
    std::erase_if(machines, [&, i = std::size_t(0)](const Machine&) mutable { return !areAccepted[i++]; });
    return machines;
}

std::vector<boost::uuids::uuid> ProxyMachinesCatalog::GetMachineIds() const
{
    const auto impl = _impl;
    std::vector<boost::uuids::uuid> ids = impl->source->GetMachineIds();
    const std::vector<bool> areAccepted = impl->accepted.Contain(ids);
    std::erase_if(ids, [&, i = std::size_t(0)](const boost::uuids::uuid&) mutable { return !areAccepted[i++]; });
    return ids;
}

std::future<std::vector<std::pair<std::string, std::string>>> ProxyMachinesCatalog::GetVersionInformation() const
{
    return _impl->source->GetVersionInformation();
}

std::future<std::string> ProxyMachinesCatalog::InstallMachine(ServiceId i_service, const std::filesystem::path& i_file)
{
    return _impl->source->InstallMachine(i_service, i_file);
}

void ProxyMachinesCatalog::Invalidate()
{
    // Held: a slot may destroy this proxy.
    const auto impl = _impl;
    impl->Invalidate();
}

} // namespace MachineService
