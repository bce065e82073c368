#pragma once

#include "support/Test.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::MachineManager::Testing {

/// A client that says what it wants, byte by byte.
class RawClient
{
public:
    explicit RawClient(int i_port)
        : _socket(::socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(i_port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(0, ::connect(_socket, reinterpret_cast<sockaddr*>(&address), sizeof address));
    }
    RawClient(RawClient&& io_other) noexcept
        : _socket(std::exchange(io_other._socket, -1))
    {}
    ~RawClient()
    {
        if (_socket >= 0)
            ::close(_socket);
    }

    /// \return false when the server has closed.
    bool Send(std::string_view i_bytes)
    {
        while (!i_bytes.empty()) {
            const auto count = ::send(_socket, i_bytes.data(), i_bytes.size(), MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            i_bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }
    /// Until the text has come, or the server has closed.
    std::string ReadUntil(const std::string& i_end)
    {
        std::string text;
        std::array<char, 4096> bytes;
        while (i_end.empty() || text.find(i_end) == std::string::npos) {
            pollfd waiting = {_socket, POLLIN, 0};
            if (::poll(&waiting, 1, 60'000) <= 0)
                break;
            const auto count = ::recv(_socket, bytes.data(), bytes.size(), 0);
            if (count <= 0)
                break;
            text.append(bytes.data(), static_cast<std::size_t>(count));
        }
        return text;
    }
    std::string ReadAll() { return ReadUntil({}); }

private:
    int _socket;
};

} // namespace MachineService::MachineManager::Testing
