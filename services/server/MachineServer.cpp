#include "server/MachineServer.h"

#include "client/interface/CommunicationException.h"
#include "server/ServerState.h"
#include "server/ServiceCalls.h"
#include "server/TlsFiles.h"
#include "server/UnixListener.h"

#include <algorithm>
#include <grpcpp/ext/health_check_service_server_builder_option.h>
#include <grpcpp/health_check_service_interface.h>
#include <grpcpp/resource_quota.h>
#include <grpcpp/server.h>
#include <grpcpp/server_builder.h>
#include <grpcpp/server_posix.h>

#include <optional>
#include <string_view>
#include <thread>

namespace MachineService {

namespace {

constexpr std::string_view UnixScheme = "unix:";
constexpr std::string_view TlsScheme = "tls://";
/// Between hosts a connection that says nothing is looked after; what comes more often than this is refused.
constexpr int KeepaliveMs = 20'000;
constexpr int LeastPingIntervalMs = 5'000;
constexpr auto TendInterval = std::chrono::milliseconds(250);
/// What calls have for their last words after everything was told to end.
constexpr auto LastWords = std::chrono::seconds(2);

[[noreturn]] void Fail(const std::string& i_sentence)
{
    throw CommunicationException(ErrorCode::InternalError, i_sentence.c_str());
}

} // namespace

struct MachineServer::Impl
{
    Impl(AbstractMachinesCatalog& io_catalog, MachineServerOptions i_options)
        : options(std::move(i_options))
        , state(io_catalog, options)
        , calls(state)
    {}

    void Configure(grpc::ServerBuilder& io_builder);
    void Listen(grpc::ServerBuilder& io_builder);
    void Tend();

    const MachineServerOptions options;
    Server::ServerState state;
    Server::ServiceCalls calls;
    std::vector<std::string> addresses;
    std::vector<int> ports; ///< as gRPC chose them
    std::optional<Server::CatalogFeed> feed;
    std::unique_ptr<grpc::Server> server;
    std::vector<std::unique_ptr<Server::UnixListener>> listeners;
    Server::Bell tendBell;
    std::atomic<bool> hasEnded = false;
    std::thread tender;
};

MachineServer::MachineServer(AbstractMachinesCatalog& io_catalog, MachineServerOptions i_options)
    : _impl(std::make_unique<Impl>(io_catalog, std::move(i_options)))
{}

MachineServer::~MachineServer()
{
    Stop(std::chrono::milliseconds(0));
}

void MachineServer::Impl::Configure(grpc::ServerBuilder& io_builder)
{
    const auto& limits = options.limits;
    io_builder.SetMaxReceiveMessageSize(limits.messageBytes);
    io_builder.SetMaxSendMessageSize(limits.messageBytes);
    grpc::ResourceQuota quota("machine service");
    quota.SetMaxThreads(limits.threads);
    io_builder.SetResourceQuota(quota);
    io_builder.SetSyncServerOption(grpc::ServerBuilder::NUM_CQS, 1);
    io_builder.SetSyncServerOption(grpc::ServerBuilder::MAX_POLLERS, 2);
    io_builder.AddChannelArgument(GRPC_ARG_MAX_CONCURRENT_STREAMS, limits.callsOfOneConnection);
    io_builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_TIME_MS, KeepaliveMs);
    io_builder.AddChannelArgument(GRPC_ARG_KEEPALIVE_PERMIT_WITHOUT_CALLS, 1);
    io_builder.AddChannelArgument(GRPC_ARG_HTTP2_MIN_RECV_PING_INTERVAL_WITHOUT_DATA_MS, LeastPingIntervalMs);
    // Two services on one port would take each other's hosts.
    io_builder.AddChannelArgument(GRPC_ARG_ALLOW_REUSEPORT, 0);
    io_builder.RegisterService(&calls);
}

void MachineServer::Impl::Listen(grpc::ServerBuilder& io_builder)
{
    ports.assign(options.addresses.size(), 0);
    for (std::size_t place = 0; place < options.addresses.size(); ++place) {
        const std::string& address = options.addresses[place];
        if (address.starts_with(TlsScheme))
            io_builder.AddListeningPort(address.substr(TlsScheme.size()), Server::MakeTlsCredentials(options.tls),
                                        &ports[place]);
        else if (!address.starts_with(UnixScheme))
            Fail("The address '" + address + "' is of no known kind; use unix:/PATH or tls://HOST:PORT.");
    }
}

void MachineServer::Impl::Tend()
{
    while (!hasEnded) {
        state.book.Tend();
        tendBell.Wait(Server::Bell::Clock::now() + TendInterval);
    }
}

void MachineServer::Start()
{
    auto& impl = *_impl;
    grpc::EnableDefaultHealthCheckService(true);
    grpc::ServerBuilder builder;
    impl.Configure(builder);
    impl.Listen(builder);
    impl.server = builder.BuildAndStart();
    for (std::size_t place = 0; place < impl.options.addresses.size(); ++place) {
        std::string address = impl.options.addresses[place];
        if (address.starts_with(TlsScheme)) {
            if (!impl.server || impl.ports[place] == 0)
                Fail("The address '" + address + "' cannot be listened on; look whether another program uses it.");
            address = address.substr(0, address.rfind(':') + 1) + std::to_string(impl.ports[place]);
        }
        impl.addresses.push_back(address);
    }
    if (!impl.server)
        Fail("The server cannot be started.");
    // A host that comes while the machines are still looked for waits for them.
    if (!impl.options.services.empty())
        impl.state.journal.SetStatus(Wire::pb::SERVICE_STATUS_STARTING);
    impl.feed.emplace(impl.state.catalog, impl.state.journal, impl.state.icons,
                      [&impl](const std::string& i_line) { impl.state.Log(i_line); });
    for (const auto service : impl.options.services) {
        if (!impl.state.catalog.Start(service))
            Fail("The machines cannot be offered because their service cannot be started.");
    }
    impl.tender = std::thread([&impl] { impl.Tend(); });
    for (const auto& address : impl.options.addresses) {
        if (address.starts_with(UnixScheme))
            impl.listeners.push_back(std::make_unique<Server::UnixListener>(
                address.substr(UnixScheme.size()), impl.options.limits.connections,
                [&impl](int i_connection) { grpc::AddInsecureChannelFromFd(impl.server.get(), i_connection); },
                [&impl](const std::string& i_line) { impl.state.Log(i_line); }));
    }
}

void MachineServer::Stop(std::chrono::milliseconds i_drain)
{
    auto& impl = *_impl;
    impl.state.book.Drain();
    if (impl.server && impl.server->GetHealthCheckService())
        impl.server->GetHealthCheckService()->SetServingStatus(false);
    const auto end = Server::Bell::Clock::now() + i_drain;
    while (!impl.state.book.IsIdle() && Server::Bell::Clock::now() < end)
        impl.tendBell.Wait(std::min(end, Server::Bell::Clock::now() + TendInterval));
    impl.hasEnded = true;
    impl.tendBell.Ring();
    if (impl.tender.joinable())
        impl.tender.join();
    impl.listeners.clear();
    impl.state.isStopping = true;
    impl.state.pump.EndAll();
    impl.state.book.Close();
    if (impl.server) {
        impl.server->Shutdown(std::chrono::system_clock::now() + LastWords);
        impl.server->Wait();
        impl.server.reset();
    }
    impl.feed.reset();
}

bool MachineServer::HasLocalHosts() const
{
    return std::any_of(_impl->listeners.begin(), _impl->listeners.end(),
                       [](const auto& i_listener) { return i_listener->GetConnectionCount() > 0; });
}

std::vector<std::string> MachineServer::GetAddresses() const
{
    return _impl->addresses;
}

} // namespace MachineService
