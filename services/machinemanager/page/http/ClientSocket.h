#pragma once

#include "tavsdk/Mutex.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

typedef struct ssl_ctx_st SSL_CTX;
typedef struct ssl_st SSL;

namespace MachineService::MachineManager {

/// How long a client may take.
struct ClientPatience
{
    std::chrono::milliseconds idle = std::chrono::seconds(15);  ///< between two requests
    std::chrono::milliseconds head = std::chrono::seconds(10);  ///< for first line and headers, and for TLS before them
    std::chrono::milliseconds stall = std::chrono::seconds(15); ///< without a byte that comes or goes
    /// Who takes or sends fewer bytes a second, once it took longer than that, is cut off.
    std::size_t slowest = 1'024;
    std::chrono::milliseconds slowAfter = std::chrono::seconds(30);
};

/// A connection with a client, with TLS or without; never waits longer than the client's patience.
///
/// Thread: one; Shutdown any.
/// Ownership: closes the descriptor; the context is the caller's.
class ClientSocket
{
public:
    /// \param ip_context empty: no TLS.
    ClientSocket(int i_descriptor, SSL_CTX* ip_context, const ClientPatience& i_patience);
    ~ClientSocket();
    ClientSocket(const ClientSocket&) = delete;
    ClientSocket& operator=(const ClientSocket&) = delete;

    bool Handshake();
    /// Waits for the next request.
    /// \return false when there will be none.
    bool WaitForRequest();

    enum class Head
    {
        Whole,
        TooLong,
        Missing, ///< it broke off or took too long
    };
    /// Takes a request up to its empty line.
    Head ReadHead(std::string& o_head, std::size_t i_longest);
    /// Of the body. \return 0 at its end, -1 when it broke off.
    std::ptrdiff_t Read(char* op_bytes, std::size_t i_count);
    bool Write(std::string_view i_bytes);

    /// Waits until another descriptor can be read, or the time is over.
    /// \return false when the client is gone.
    bool WaitFor(int i_descriptor, std::chrono::milliseconds i_longest);
    /// Tells the client that nothing follows, lets it read what was written, and closes.
    void Finish();
    /// From now on nothing comes and nothing goes.
    void Shutdown();

private:
    using Clock = std::chrono::steady_clock;
    struct Pace
    {
        Clock::time_point begin = Clock::now();
        std::size_t bytes = 0;
    };

    bool _Wait(short i_events, Clock::time_point i_until);
    bool _IsTooSlow(Pace& io_pace, std::size_t i_bytes) const;
    /// -1: broken; 0: closed.
    std::ptrdiff_t _Receive(char* op_bytes, std::size_t i_count, Clock::time_point i_until);

    TavSDK::Mutex _closing; ///< guards _isClosed: what has the number of a closed descriptor is not ours
    bool _isClosed TAVSDK_GUARDED_BY(_closing) = false;
    const int _descriptor;
    SSL* _tls = nullptr;
    const ClientPatience _patience;
    std::string _buffer; ///< came and was not taken yet
    std::size_t _taken = 0;
    Pace _request;
    Pace _answer;
};

} // namespace MachineService::MachineManager
