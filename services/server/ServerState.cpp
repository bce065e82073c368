#include "server/ServerState.h"

#include "wire/Conversions.h"

#include <grpc/grpc_security_constants.h>

#include <boost/uuid/random_generator.hpp>

namespace MachineService::Server {

ServerState::ServerState(AbstractMachinesCatalog& io_catalog, const MachineServerOptions& i_options)
    : catalog(io_catalog)
    , options(i_options)
    , journal(Wire::ToBytes(boost::uuids::random_generator()()), bell, {})
    , book(i_options.limits.runs, bell, i_options.log)
    , pump(bell, i_options.heartbeat, i_options.limits.streams)
{}

bool ServerState::NeedsSecret(const grpc::ServerContextBase& i_context) const
{
    if (!options.admit || !options.admitsLocalHosts)
        return static_cast<bool>(options.admit);
    // Whatever says nothing of its security is taken to come from elsewhere.
    const auto security = i_context.auth_context();
    const auto kinds = security ? security->FindPropertyValues(GRPC_TRANSPORT_SECURITY_TYPE_PROPERTY_NAME)
                                : std::vector<grpc::string_ref>();
    return i_context.peer().rfind("fd:", 0) != 0 || !kinds.empty();
}

std::string ServerState::Admit(const grpc::ServerContextBase& i_context) const
{
    std::string peer = i_context.peer();
    // Another port is the same host.
    const auto identity =
        i_context.auth_context() ? i_context.auth_context()->GetPeerIdentity() : std::vector<grpc::string_ref>();
    if (!identity.empty())
        peer.assign(identity.front().data(), identity.front().size());
    else if (const auto port = peer.rfind(':'); port != std::string::npos)
        peer.resize(port);
    if (!NeedsSecret(i_context))
        return peer;
    const auto& metadata = i_context.client_metadata();
    const auto token = metadata.find(Wire::TokenMetadata);
    if (token != metadata.end()) {
        if (const auto name = options.admit({token->second.data(), token->second.size()}))
            return *name;
    }
    throw Wire::WireFailure(Wire::WireFailure::Kind::CredentialsNeeded, ErrorCode::InternalError,
                            "The service needs credentials; enter those that its administrator gave you.",
                            "credentials-needed");
}

Machine ServerState::FindMachine(const Wire::pb::MachineReference& i_reference) const
{
    const auto id = ReadRequest([&] { return Wire::ToUuid(i_reference.machine_id(), "machine's id"); });
    const auto representation = static_cast<MachineRepresentation>(i_reference.representation());
    if (catalog.HasMachine(id)) {
        const Machine machine = catalog.GetMachine(id);
        if (representation == MachineRepresentation::Default)
            return machine;
        const auto data = machine.GetMachineData();
        if (representation == data.representation)
            return machine;
        if (const auto other = catalog.TryGetMachine(data.serviceId, id, representation))
            return *other;
    }
    throw CommunicationException(ErrorCode::MachineNotFound,
                                 "The service does not know the machine; look whether it is still there.");
}

void ServerState::CheckWait(const grpc::ServerContext& i_context) const
{
    if (isStopping)
        throw CommunicationException(ErrorCode::ServicesUnavailable, "The service goes down; try again later.");
    if (i_context.IsCancelled())
        throw CommunicationException(ErrorCode::ProcessingAborted, "The host gave up waiting.");
}

} // namespace MachineService::Server
