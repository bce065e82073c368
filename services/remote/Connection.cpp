#include "remote/Connection.h"

#include "remote/trust/PinnedCredentials.h"
#include "wire/Protocol.h"

#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <grpcpp/support/channel_arguments.h>

namespace MachineService::Remote {

namespace {

constexpr int KeepaliveMs = 30'000;
constexpr int KeepaliveTimeoutMs = 10'000;

std::shared_ptr<grpc::Channel> MakeChannel(const ServiceAddress& i_address, const ServiceTrust& i_trust)
{
    grpc::ChannelArguments arguments;
    arguments.SetMaxReceiveMessageSize(Wire::MaxMessageBytes);
    // Each connection is one of its own: when it is tried again is decided here, not by a shared back-off.
    arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
    // A machine service is in the house; what the environment names is the way out of it.
    arguments.SetInt(GRPC_ARG_ENABLE_HTTP_PROXY, 0);
    arguments.SetServiceConfigJSON("{}");
    if (i_address.isLocal)
        return grpc::CreateCustomChannel(i_address.target, grpc::InsecureChannelCredentials(), arguments);
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIME_MS, KeepaliveMs);
    arguments.SetInt(GRPC_ARG_KEEPALIVE_TIMEOUT_MS, KeepaliveTimeoutMs);
    arguments.SetInt(GRPC_ARG_HTTP2_MAX_PINGS_WITHOUT_DATA, 0);
    if (!i_trust.pin.empty())
        return grpc::CreateCustomChannel(i_address.target, MakePinnedCredentials(i_trust.pin), arguments);
    grpc::SslCredentialsOptions options;
    options.pem_root_certs = i_trust.authority;
    return grpc::CreateCustomChannel(i_address.target, grpc::SslCredentials(options), arguments);
}

} // namespace

Connection::Connection(const ServiceAddress& i_address, const ServiceTrust& i_trust)
    : _channel(MakeChannel(i_address, i_trust))
    , _stub(pb::MachineService::NewStub(_channel))
{}

Call::Call(const Connection& i_connection, std::optional<std::chrono::milliseconds> i_deadline,
           std::initializer_list<std::stop_token> i_stops)
{
    if (i_deadline)
        _context.set_deadline(std::chrono::system_clock::now() + *i_deadline);
    if (!i_connection.token.empty())
        _context.AddMetadata(Wire::TokenMetadata, i_connection.token);
    for (const auto& stop : i_stops)
        _stops.emplace_back(stop, [this] { _context.TryCancel(); });
}

} // namespace MachineService::Remote
