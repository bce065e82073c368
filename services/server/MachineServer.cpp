#include "server/MachineServer.h"

#include "client/interface/CommunicationException.h"
#include "server/ConnectionListener.h"
#include "server/ListeningSockets.h"
#include "server/ServerState.h"
#include "server/ServiceCalls.h"
#include "server/TlsFiles.h"

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

#include <unistd.h>

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

    using Acceptor = grpc::experimental::ExternalConnectionAcceptor;
    /// One of the addresses.
    struct Door
    {
        std::string address;
        std::filesystem::path path;         ///< of a unix socket
        std::unique_ptr<Acceptor> acceptor; ///< of TLS
        std::vector<int> sockets;           ///< until they are listened on
        bool hasSocketFile = false;
    };

    ~Impl();
    void Configure(grpc::ServerBuilder& io_builder);
    void AddDoor(const std::string& i_address, grpc::ServerBuilder& io_builder);
    void Open(Door& io_door);
    void Tend();

    const MachineServerOptions options;
    Server::ServerState state;
    Server::ServiceCalls calls;
    std::vector<Door> doors;
    std::optional<Server::CatalogFeed> feed;
    std::unique_ptr<grpc::Server> server;
    std::vector<std::unique_ptr<Server::ConnectionListener>> listeners;
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
    io_builder.RegisterService(&calls);
}

void MachineServer::Impl::AddDoor(const std::string& i_address, grpc::ServerBuilder& io_builder)
{
    Door door;
    door.address = i_address;
    if (i_address.starts_with(UnixScheme)) {
        door.path = i_address.substr(UnixScheme.size());
    } else if (i_address.starts_with(TlsScheme)) {
        door.acceptor = io_builder.experimental().AddExternalConnectionAcceptor(
            grpc::ServerBuilder::experimental_type::ExternalConnectionType::FROM_FD,
            Server::MakeTlsCredentials(options.tls));
        int port = 0;
        door.sockets = Server::ListenOnTcp(i_address.substr(TlsScheme.size()), port);
        door.address = i_address.substr(0, i_address.rfind(':') + 1) + std::to_string(port);
    } else {
        Fail("The address '" + i_address + "' is of no known kind; use unix:/PATH or tls://HOST:PORT.");
    }
    doors.push_back(std::move(door));
}

void MachineServer::Impl::Open(Door& io_door)
{
    Server::ConnectionListener::Handlers handlers;
    handlers.log = [this](const std::string& i_line) {
        state.Log(i_line);
    };
    if (io_door.acceptor) {
        handlers.take = [&acceptor = *io_door.acceptor](int i_connection) {
            Acceptor::NewConnectionParameters parameters;
            parameters.fd = i_connection;
            acceptor.HandleNewConnection(&parameters);
        };
    } else {
        io_door.sockets = {Server::ListenOnUnix(io_door.path)};
        io_door.hasSocketFile = true;
        handlers.admit = [this](int i_connection) {
            std::string user;
            const bool isOurs = Server::IsOfSameUser(i_connection, user);
            if (!isOurs)
                state.Log("A connection of user " + user + " was refused.");
            return isOurs;
        };
        handlers.take = [this](int i_connection) {
            grpc::AddInsecureChannelFromFd(server.get(), i_connection);
        };
    }
    listeners.push_back(std::make_unique<Server::ConnectionListener>(std::exchange(io_door.sockets, {}),
                                                                     options.limits.connections, std::move(handlers)));
}

MachineServer::Impl::~Impl()
{
    for (const Door& door : doors) {
        for (const int socket : door.sockets)
            close(socket);
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
    for (const auto& address : impl.options.addresses)
        impl.AddDoor(address, builder);
    impl.server = builder.BuildAndStart();
    if (!impl.server)
        Fail("The server cannot be started.");
    // A host that comes while the machines are still looked for waits for them.
    const bool startsServices = !impl.options.services.empty();
    impl.feed.emplace(impl.state.catalog, impl.state.journal, impl.state.icons, startsServices, impl.options.language,
                      [&impl](const std::string& i_line) { impl.state.Log(i_line); });
    for (const auto service : impl.options.services) {
        if (!impl.state.catalog.Start(service))
            Fail("The machines cannot be offered because their service cannot be started.");
    }
    impl.tender = std::thread([&impl] { impl.Tend(); });
    for (auto& door : impl.doors)
        impl.Open(door);
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
    for (auto& door : impl.doors) {
        // One that this service never had may be another one's.
        if (std::exchange(door.hasSocketFile, false))
            unlink(door.path.c_str());
    }
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

bool MachineServer::HasConnections() const
{
    return std::any_of(_impl->listeners.begin(), _impl->listeners.end(),
                       [](const auto& i_listener) { return i_listener->GetConnectionCount() > 0; });
}

std::vector<std::string> MachineServer::GetAddresses() const
{
    std::vector<std::string> addresses;
    for (const auto& door : _impl->doors)
        addresses.push_back(door.address);
    return addresses;
}

} // namespace MachineService
