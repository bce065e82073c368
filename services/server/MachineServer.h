#pragma once

#include "client/interface/AbstractMachinesCatalog.h"
#include "server/RunBook.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace MachineService {

/// How a server is reached, what it takes, and what it tells of itself.
struct MachineServerOptions
{
    /// Certificate and key of `tls://` addresses, as PEM files; they are read again when they change, without a
    /// connection being lost. With a CA file, hosts need a certificate of it.
    struct Tls
    {
        std::string certificateFile;
        std::string keyFile;
        std::string clientCaFile;
    };
    struct Limits
    {
        int messageBytes = 4 * 1024 * 1024;
        std::size_t connections = 256; ///< of each address
        std::size_t streams = 512;     ///< of catalog and runs that hosts listen to, in all
        int callsOfOneConnection = 100;
        int threads = 64; ///< for calls that wait for a machine or a file, in all; more are refused as busy
        std::uint64_t platformBytes = 256ULL << 20;                ///< of a platform that a host sends to be changed
        std::chrono::milliseconds idle = std::chrono::seconds(30); ///< in which a transfer has to move
        Server::RunBook::Limits runs;
    };

    /// `unix:/absolute/path` and `tls://HOST:PORT`. On a unix socket only processes of the same user (and root) are
    /// served; the folder of the socket is made for its owner alone when it is not there.
    std::vector<std::string> addresses;
    Tls tls;
    Limits limits;
    std::string name = "Machine service";
    /// That the catalog's texts are in, in BCP 47; empty: not known. The contract has one language for all hosts.
    std::string language;
    /// Of the catalog: for these Start, Refresh and SetAuthentication are called.
    std::vector<ServiceId> services;
    std::chrono::milliseconds heartbeat = std::chrono::seconds(5);
    /// Whether a secret lets its bearer in, and under which name it is known; empty function: everybody who reaches the
    /// server may.
    /// Thread: any, several at a time; called with every call.
    std::function<std::optional<std::string>(const std::string& i_secret)> admit;
    /// Hosts on a unix socket are processes of the same user and need no secret.
    bool admitsLocalHosts = false;
    /// Lines for the log; those about a run have its id. Empty: they are lost.
    /// Thread: any.
    std::function<void(const std::string&)> log;
};

/// Looks whether certificate, key and CA file can be used: they are there, belong together, and have not expired.
/// \throws CommunicationException InternalError with one sentence that names the file.
void CheckTlsFiles(const MachineServerOptions::Tls& i_tls);

/// Offers a catalog's machines to hosts elsewhere, by the machine service protocol.
///
/// Normal use: `MachineServer server(catalog, options); server.Start(); …; server.Stop(10s);`
///
/// The streams that hosts listen to all the time (catalog, runs) take no thread: they are driven by gRPC's callbacks,
/// which never wait, and by one thread that passes news and heartbeats on. Whatever waits for a machine, a disk or a
/// sender has a thread of a bounded number for as long as it takes, which a watchdog bounds; a callback would need the
/// same thread behind it, and say less plainly what happens in which order.
///
/// Thread: Start and Stop one at a time.
/// Ownership: the catalog is not owned and must outlive the server. Destroying stops at once.
class MachineServer
{
public:
    MachineServer(AbstractMachinesCatalog& io_catalog, MachineServerOptions i_options);
    ~MachineServer();
    MachineServer(const MachineServer&) = delete;
    MachineServer& operator=(const MachineServer&) = delete;

    /// Once.
    /// \throws CommunicationException InternalError with one sentence that names the address or the file.
    void Start();
    /// Refuses new runs, waits at most so long for those that are there, then ends every call. Twice is harmless.
    void Stop(std::chrono::milliseconds i_drain);
    /// Where it is reached: with the port that the system chose for port 0.
    std::vector<std::string> GetAddresses() const;
    /// Somebody is connected.
    /// Thread: any, while it runs.
    bool HasConnections() const;

private:
    struct Impl;
    const std::unique_ptr<Impl> _impl;
};

} // namespace MachineService
