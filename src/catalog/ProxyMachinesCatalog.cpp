#include "catalog/ProxyMachinesCatalog.h"

#include "catalog/AcceptedMachines.h"
#include "client/events/LifetimeGate.h"
#include "client/interface/CommunicationException.h"

#include <algorithm>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>

namespace MachineService {

namespace {

// Enough that the looks at the set overlap, few enough that the lock is not held for long.
constexpr std::size_t LookedAtOnce = 256;

} // namespace

class ProxyMachinesCatalog::Impl
{
public:
    Impl(AbstractMachinesCatalog* ip_source, const std::function<bool(const MachineData&)>& i_filtering_rule)
        : source(ip_source)
        , filteringRule(i_filtering_rule)
    {}

    bool IsAcceptedByRule(const boost::uuids::uuid& i_id) const
    {
        return filteringRule(source->GetMachine(i_id).GetMachineData());
    }

    AbstractMachinesCatalog* const source;
    const std::function<bool(const MachineData&)> filteringRule;
    AcceptedMachines accepted;
    // Keeps the source from starting a handler once it is gone; the gate also waits for one that runs on another
    // thread.
    const std::shared_ptr<int> lifetimeToken = std::make_shared<int>(0);
    LifetimeGate gate;
};

ProxyMachinesCatalog::ProxyMachinesCatalog(AbstractMachinesCatalog* ip_catalog,
                                           const std::function<bool(const MachineData&)>& i_filtering_rule)
    : _impl(std::make_unique<Impl>(ip_catalog, i_filtering_rule))
{
    if (!ip_catalog)
        throw std::runtime_error("machines catalog is nullptr");
    if (!i_filtering_rule)
        throw std::runtime_error("filtering rule is empty");

    const std::weak_ptr<int> token = _impl->lifetimeToken;
    // The handler itself touches the proxy only with the gate held open.
    const auto guarded = [gate = _impl->gate](auto i_handler) {
        return [gate, i_handler](auto... i_news) {
            if (const auto entry = gate.Enter())
                i_handler(i_news...);
        };
    };
    ip_catalog->ConnectMachineAdded(MachineSignal::slot_type(guarded([this](const boost::uuids::uuid& i_id) {
                                        _HandleMachineAdded(i_id);
                                    })).track_foreign(token));
    ip_catalog->ConnectMachineRemoved(MachineSignal::slot_type(guarded([this](const boost::uuids::uuid& i_id) {
                                          if (_impl->accepted.Remove(i_id))
                                              _machineRemoved(i_id);
                                      })).track_foreign(token));
    ip_catalog->ConnectMachineUpdated(
        MachineUpdatedSignal::slot_type(guarded([this](const boost::uuids::uuid& i_id, MachineChanges i_changes) {
            if (_impl->accepted.Contains(i_id))
                _machineUpdated(i_id, i_changes);
        })).track_foreign(token));
    ip_catalog->ConnectServiceStatusUpdated(
        ServiceStatusSignal::slot_type(guarded([this](ServiceId i_service, ServiceStatus i_status) {
            _serviceStatusUpdated(i_service, i_status);
        })).track_foreign(token));
}

ProxyMachinesCatalog::~ProxyMachinesCatalog()
{
    _impl->gate.Close();
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
    std::vector<Machine> machines = _impl->source->GetMachines();
    std::vector<boost::uuids::uuid> ids;
    ids.reserve(machines.size());
    for (const Machine& machine : machines)
        ids.push_back(machine.GetMachineData().id);
    const std::vector<bool> are_accepted = _impl->accepted.Contain(ids);
    std::erase_if(machines, [&, i = std::size_t(0)](const Machine&) mutable { return !are_accepted[i++]; });
    return machines;
}

std::vector<boost::uuids::uuid> ProxyMachinesCatalog::GetMachineIds() const
{
    std::vector<boost::uuids::uuid> ids = _impl->source->GetMachineIds();
    const std::vector<bool> are_accepted = _impl->accepted.Contain(ids);
    std::erase_if(ids, [&, i = std::size_t(0)](const boost::uuids::uuid&) mutable { return !are_accepted[i++]; });
    return ids;
}

std::future<std::vector<std::pair<std::string, std::string>>> ProxyMachinesCatalog::GetVersionInformation() const
{
    return _impl->source->GetVersionInformation();
}

void ProxyMachinesCatalog::_HandleMachineAdded(const boost::uuids::uuid& i_id)
{
    using Outcome = AcceptedMachines::Outcome;
    Outcome outcome = Outcome::AskAgain;
    AcceptedMachines::Evaluation evaluation(_impl->accepted, AcceptedMachines::Evaluation::Kind::Announcement);
    while (outcome == Outcome::AskAgain)
        outcome = evaluation.Apply(i_id, _impl->IsAcceptedByRule(i_id));
    if (outcome != Outcome::Added && outcome != Outcome::Confirmed)
        return;
    _machineAdded(i_id);
    if (evaluation.HasGone(i_id))
        _machineRemoved(i_id);
}

void ProxyMachinesCatalog::Invalidate()
{
    using Outcome = AcceptedMachines::Outcome;
    // Begun before the source is asked, so that no machine goes unnoticed between the list and the question about it.
    AcceptedMachines::Evaluation evaluation(_impl->accepted, AcceptedMachines::Evaluation::Kind::Invalidation);
    const auto evaluate = [&](const boost::uuids::uuid& i_id, bool i_was_accepted) {
        try {
            const bool is_accepted = _impl->IsAcceptedByRule(i_id);
            // The usual case: nothing to decide, and nobody who decided meanwhile.
            if (is_accepted == i_was_accepted && evaluation.IsAsLooked())
                return Outcome::Unchanged;
            return evaluation.Apply(i_id, is_accepted);
        } catch (...) {
            // The source no longer knows a machine that it has just taken away: that is no failure.
            if (evaluation.HasGone(i_id))
                return Outcome::Gone;
            throw;
        }
    };
    const std::vector<boost::uuids::uuid> ids = _impl->source->GetMachineIds();
    for (std::size_t begin = 0; begin < ids.size(); begin += LookedAtOnce) {
        const auto some = std::span(ids).subspan(begin, std::min(LookedAtOnce, ids.size() - begin));
        const std::vector<bool> were_accepted = evaluation.Look(some);
        for (std::size_t index = 0; index < some.size(); ++index) {
            Outcome outcome = Outcome::AskAgain;
            while (outcome == Outcome::AskAgain)
                outcome = evaluate(some[index], were_accepted[index]);
            if (outcome == Outcome::Added) {
                _machineAdded(some[index]);
                if (evaluation.HasGone(some[index]))
                    _machineRemoved(some[index]);
            } else if (outcome == Outcome::Removed)
                _machineRemoved(some[index]);
        }
    }
}

} // namespace MachineService
