#include "workbench/access/ServiceAccess.h"

#include <algorithm>
#include <utility>

namespace Workbench {

using MachineService::AuthenticationData;
using MachineService::ServiceStatus;

ServiceAccess::ServiceAccess(ISecretStore& io_store, SignInCall i_sign_in, QObject* ip_parent)
    : QObject(ip_parent)
    , _store(io_store)
    , _signIn(std::move(i_sign_in))
{}

void ServiceAccess::NoteStatus(Id i_service, const QString& i_address, ServiceStatus i_status, const QString& i_reason)
{
    Service& service = _services[i_service];
    service.address = i_address;
    service.status = i_status;
    service.reason = i_reason;
    if (i_status == ServiceStatus::AuthenticationRequired)
        _Require(i_service);
    else if (i_status == ServiceStatus::Running)
        _NoteAccepted(i_service);
    Q_EMIT OffersChanged();
}

void ServiceAccess::_Require(Id i_id)
{
    Service& service = _services[i_id];
    if (service.isDeclined)
        return;
    if (std::exchange(service.isStoreAsked, true)) {
        // Until the store has answered, nothing was given.
        if (service.given)
            _Ask(i_id);
        return;
    }
    _store.Read(service.address, [this, i_id](const auto& i_data) { _TakeStored(i_id, i_data); });
}

void ServiceAccess::_TakeStored(Id i_id, const std::optional<AuthenticationData>& i_data)
{
    Service& service = _services[i_id];
    service.given = i_data.value_or(AuthenticationData{});
    if (service.status != ServiceStatus::AuthenticationRequired)
        return;
    if (i_data)
        _signIn(i_id, i_data);
    else
        _Ask(i_id);
}

void ServiceAccess::_NoteAccepted(Id i_id)
{
    // A service that was lost while it was asked about may come back with what it had.
    const bool wasShown = !_asked.empty() && _asked.front().service == i_id;
    std::erase_if(_asked, [i_id](const Asked& i_asked) { return i_asked.service == i_id; });
    Service& service = _services[i_id];
    service.isDeclined = false;
    if (std::exchange(service.isFromUser, false)) {
        if (service.isToBeKept)
            _store.Write(service.address, *service.given, [this](const QString& i_why) {
                if (!i_why.isEmpty())
                    Q_EMIT Told(i_why);
            });
        else
            _store.Remove(service.address);
    }
    if (wasShown)
        Q_EMIT QuestionChanged();
}

void ServiceAccess::_Ask(Id i_id)
{
    const Asked asked{i_id, {}, {}};
    if (std::find(_asked.begin(), _asked.end(), asked) != _asked.end())
        return;
    _asked.push_back(asked);
    if (_asked.size() == 1)
        Q_EMIT QuestionChanged();
}

void ServiceAccess::NoteCertificate(const MachineService::ServiceCertificate& i_certificate,
                                    std::function<void(bool)> i_answer)
{
    const Asked asked{Id::None, QString::fromStdString(i_certificate.address),
                      QString::fromStdString(i_certificate.fingerprint)};
    // A service that shows another one than before is not asked about twice at once.
    std::erase_if(_certificates, [&](const Certificate& i_one) {
        return i_one.address == asked.address && i_one.fingerprint == asked.fingerprint;
    });
    _certificates.push_back({asked.address, asked.fingerprint, std::move(i_answer)});
    if (std::find(_asked.begin(), _asked.end(), asked) == _asked.end())
        _asked.push_back(asked);
    if (_asked.size() == 1)
        Q_EMIT QuestionChanged();
}

std::optional<ServiceAccess::Question> ServiceAccess::GetQuestion() const
{
    if (_asked.empty())
        return std::nullopt;
    const Asked& asked = _asked.front();
    if (asked.service == Id::None)
        return Question{Question::Kind::Certificate, asked.address, {}, {}, asked.fingerprint};
    const Service& service = _services.at(asked.service);
    const QString user = service.given ? QString::fromStdString(service.given->user) : QString();
    return Question{Question::Kind::SignIn, service.address, user, service.reason, {}};
}

void ServiceAccess::SignIn(const AuthenticationData& i_data, bool i_is_kept)
{
    if (_asked.empty() || _asked.front().service == Id::None)
        return;
    const Id id = _asked.front().service;
    _asked.pop_front();
    Service& service = _services[id];
    service.given = i_data;
    service.isFromUser = true;
    service.isToBeKept = i_is_kept;
    _signIn(id, i_data);
    Q_EMIT QuestionChanged();
}

void ServiceAccess::Trust()
{
    if (_asked.empty() || _asked.front().service != Id::None)
        return;
    const Asked asked = _asked.front();
    _asked.pop_front();
    const auto found = std::find_if(_certificates.begin(), _certificates.end(), [&](const Certificate& i_one) {
        return i_one.address == asked.address && i_one.fingerprint == asked.fingerprint;
    });
    if (found != _certificates.end()) {
        const auto answer = std::move(found->answer);
        _certificates.erase(found);
        answer(true);
    }
    Q_EMIT OffersChanged();
    Q_EMIT QuestionChanged();
}

void ServiceAccess::Decline()
{
    if (_asked.empty())
        return;
    const Asked asked = _asked.front();
    _asked.pop_front();
    if (asked.service != Id::None)
        _services[asked.service].isDeclined = true;
    // The answer is kept: no is what nobody says, and the user may still say yes.
    for (Certificate& one : _certificates)
        one.isDeclined = one.isDeclined || (one.address == asked.address && one.fingerprint == asked.fingerprint);
    Q_EMIT OffersChanged();
    Q_EMIT QuestionChanged();
}

const ServiceAccess::Certificate* ServiceAccess::_FindDeclined(const QString& i_address) const
{
    // The last one that the service has shown.
    const auto found = std::find_if(_certificates.rbegin(), _certificates.rend(), [&](const Certificate& i_one) {
        return i_one.isDeclined && i_one.address == i_address;
    });
    return found == _certificates.rend() ? nullptr : &*found;
}

ServiceAccess::Offer ServiceAccess::GetOffer(Id i_service) const
{
    const auto found = _services.find(i_service);
    if (found == _services.end())
        return Offer::Nothing;
    const Service& service = found->second;
    if (service.status == ServiceStatus::AuthenticationRequired)
        return Offer::SignIn;
    if (service.status == ServiceStatus::Running)
        return service.given && !service.given->secret.empty() ? Offer::SignOut : Offer::Nothing;
    return _FindDeclined(service.address) ? Offer::Certificate : Offer::Nothing;
}

void ServiceAccess::TakeOffer(Id i_service)
{
    switch (GetOffer(i_service)) {
    case Offer::Nothing:
        break;
    case Offer::SignIn:
        _services[i_service].isDeclined = false;
        _Ask(i_service);
        break;
    case Offer::SignOut: {
        Service& service = _services[i_service];
        service.given = AuthenticationData{};
        // The service asks for credentials at once, which is what the user wants now.
        service.isDeclined = true;
        _store.Remove(service.address);
        _signIn(i_service, std::nullopt);
        break;
    }
    case Offer::Certificate: {
        const Certificate found = *_FindDeclined(_services[i_service].address);
        NoteCertificate({found.address.toStdString(), found.fingerprint.toStdString()}, found.answer);
        break;
    }
    }
}

} // namespace Workbench
