#pragma once

#include "remote/ServiceAddress.h"

#include <machineservice/v1/machines.grpc.pb.h>

#include <grpcpp/channel.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <list>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace MachineService::Remote {

/// The messages.
namespace pb = machineservice::v1;

/// What a service told of itself when it was connected to.
struct ServiceTold
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> components;
    std::chrono::milliseconds longestSilence{0}; ///< of a stream; 0: as long as it likes
    std::chrono::milliseconds grace{0};          ///< a run whose host is silent for longer is given up
    std::uint64_t largestInput = 0;              ///< 0: no bound
    bool takesLateHashes = false;                ///< an input may be announced without its hash
};

/// Whom a connection trusts; of tls.
struct ServiceTrust
{
    std::string authority; ///< PEM certificates that are trusted; empty: the system's
    std::string pin;       ///< fingerprint of the one certificate that counts instead; empty: none
};

/// One connection to a service, from the handshake on.
///
/// Thread: any, once the handshake is over.
class Connection
{
public:
    /// Connects with the first call.
    Connection(const ServiceAddress& i_address, const ServiceTrust& i_trust);

    pb::MachineService::Stub& GetStub() { return *_stub; }
    const std::shared_ptr<grpc::Channel>& GetChannel() const { return _channel; }

    // Set by the handshake.
    ServiceTold told;
    bool requiresAuthentication = false;
    std::string token; ///< goes with every call; secret

private:
    const std::shared_ptr<grpc::Channel> _channel;
    std::unique_ptr<pb::MachineService::Stub> _stub;
};

/// One call: what it takes with it, and what ends it.
class Call
{
public:
    /// \param i_deadline of the whole call; empty for what may last.
    /// \param i_stops any of them ends the call.
    Call(const Connection& i_connection, std::optional<std::chrono::milliseconds> i_deadline,
         std::initializer_list<std::stop_token> i_stops);
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    grpc::ClientContext& GetContext() { return _context; }

private:
    grpc::ClientContext _context;
    std::list<std::stop_callback<std::function<void()>>> _stops; ///< go first
};

} // namespace MachineService::Remote
