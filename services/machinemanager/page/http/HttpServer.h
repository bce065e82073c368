#pragma once

#include "machinemanager/page/http/ClientSocket.h"
#include "machinemanager/page/http/Http.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

namespace MachineService::MachineManager {

/// Where a server listens: at a unix socket, or at a port.
struct ServerOptions
{
    std::filesystem::path socket; ///< empty: at host and port
    std::string host = "127.0.0.1";
    int port = 0; ///< 0: one that the system chooses
    std::filesystem::path certificate;
    std::filesystem::path key; ///< both empty: no TLS
    int connections = 96;      ///< at a time; others get 503
    ClientPatience patience;
    std::function<void(const std::string&)> log;
};

/// Speaks HTTP/1.1 with clients; a thread for each connection, as many as are allowed.
///
/// Thread: one; the handler is called on those of the connections.
class HttpServer
{
public:
    /// Takes its place; clients that connect wait for Start().
    /// \throws std::runtime_error with a sentence.
    HttpServer(ServerOptions i_options, HttpHandler i_handler);
    /// Ends all connections, whatever they are doing, and waits for the calls of the handler that are on their way.
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Once.
    void Start();
    int GetPort() const;
    /// Connections that are open now.
    int GetConnections() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService::MachineManager
