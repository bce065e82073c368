#include "machine-check/Session.h"
#include "tavsdk/Text.h"
#include "wire/Conversions.h"

#include <boost/uuid/random_generator.hpp>
#include <boost/uuid/uuid_io.hpp>

#include <algorithm>

namespace MachineCheck {

namespace {

/// Of a heartbeat that is a little late.
constexpr auto Patience = std::chrono::seconds(1);

/// Where somebody who listened to the catalog is.
struct Place
{
    std::string epoch;
    std::uint64_t revision = 0;
};

std::string MakeSecret()
{
    return boost::uuids::to_string(boost::uuids::random_generator()());
}

/// Whether somebody with this token is let in.
grpc::Status TryToken(const Session& i_session, const std::string& i_token)
{
    Target target = i_session.GetTarget();
    target.token = i_token;
    return Session(target).Read<pb::WatchCatalogRequest, pb::CatalogEvent>(
        &pb::MachineService::Stub::WatchCatalog, {}, [](const pb::CatalogEvent&) { return false; });
}

Place ReadPlace(Session& io_session)
{
    Place place;
    io_session.Read<pb::WatchCatalogRequest, pb::CatalogEvent>(&pb::MachineService::Stub::WatchCatalog, {},
                                                               [&](const pb::CatalogEvent& i_event) {
                                                                   place = {i_event.epoch(), i_event.revision()};
                                                                   return !i_event.snapshot().is_last();
                                                               });
    return place;
}

/// Goes on from a place. \param i_take called with each message; false ends it, and so does a heartbeat that does not
/// come.
void Resume(const Session& i_session, const Place& i_place, std::uint32_t i_heartbeat_ms,
            const std::function<bool(const pb::CatalogEvent&)>& i_take)
{
    Target target = i_session.GetTarget();
    if (i_heartbeat_ms > 0)
        target.longestCall =
            std::min(target.longestCall,
                     std::chrono::ceil<std::chrono::seconds>(Patience + 2 * std::chrono::milliseconds(i_heartbeat_ms)));
    pb::WatchCatalogRequest request;
    request.set_epoch(i_place.epoch);
    request.set_revision(i_place.revision);
    Session(target).Read<pb::WatchCatalogRequest, pb::CatalogEvent>(&pb::MachineService::Stub::WatchCatalog, request,
                                                                    i_take);
}

} // namespace

void CheckAuthentication(Session& io_session, bool i_is_required, Report& io_report)
{
    const auto status = TryToken(io_session, {});
    const bool isRefused = status.error_code() == grpc::StatusCode::UNAUTHENTICATED;
    io_report.Expect(isRefused == i_is_required, "U1",
                     i_is_required ? "WatchCatalog was answered without them, with the code " +
                                         std::to_string(status.error_code()) + '.'
                                   : "WatchCatalog was refused.");
    if (!i_is_required)
        return;
    pb::AuthenticationRequest request;
    request.set_user("machine-check");
    request.set_secret(MakeSecret());
    pb::AuthenticationReply reply;
    const auto answer = io_session.Call(&pb::MachineService::Stub::SetAuthentication, request, reply);
    io_report.Expect(answer.ok() && reply.result() == pb::AUTHENTICATION_RESULT_REJECTED && reply.token().empty(), "U2",
                     answer.ok() ? "The result was " + std::to_string(reply.result()) + '.'
                                 : "The call said " + TavSDK::Quote(answer.error_message(), 200) + '.');
    const auto other = TryToken(io_session, MakeSecret());
    io_report.Expect(other.error_code() == grpc::StatusCode::UNAUTHENTICATED, "U3",
                     "WatchCatalog was answered with the code " + std::to_string(other.error_code()) + '.');
}

void CheckResumption(Session& io_session, std::uint32_t i_heartbeat_ms, Report& io_report)
{
    const auto place = ReadPlace(io_session);
    Resume(io_session, place, i_heartbeat_ms, [&](const pb::CatalogEvent& i_event) {
        if (i_event.has_snapshot())
            return false;
        io_report.Expect(i_event.epoch() == place.epoch && i_event.revision() >= place.revision, "W1",
                         "Behind revision " + std::to_string(place.revision) + " came revision " +
                             std::to_string(i_event.revision()) + " without a snapshot.");
        // The status comes first, whatever follows.
        return i_event.event_case() == pb::CatalogEvent::kStatus;
    });
    io_report.Look("W1");
    bool hasSnapshot = false;
    const Place foreign{MachineService::Wire::ToBytes(boost::uuids::random_generator()()), place.revision};
    Resume(io_session, foreign, i_heartbeat_ms, [&](const pb::CatalogEvent& i_event) {
        hasSnapshot = i_event.has_snapshot();
        const auto kind = i_event.event_case();
        return !hasSnapshot && (kind == pb::CatalogEvent::kStatus || kind == pb::CatalogEvent::kHeartbeat);
    });
    io_report.Expect(hasSnapshot, "W2", "None came.");
}

} // namespace MachineCheck
