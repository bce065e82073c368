#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace TestSupport {

/// What a RawHttpServer has got of one request.
struct HeardRequest
{
    std::string line; ///< method and path
    std::string head; ///< all of it
    std::string body;
};

/// The server's end of a connection whose head was read.
class RawConnection
{
public:
    RawConnection(int i_socket, HeardRequest& io_heard, std::string i_rest)
        : _socket(i_socket)
        , _heard(io_heard)
    {
        _heard.body = std::move(i_rest);
    }
    void ReadBody()
    {
        const auto at = _heard.head.find("Content-Length: ");
        const auto size = at == std::string::npos ? 0 : std::strtoull(_heard.head.c_str() + at + 16, nullptr, 10);
        while (_heard.body.size() < size && _Receive()) {
        }
    }
    /// \return false when the client has gone.
    bool Write(std::string_view i_bytes)
    {
        while (!i_bytes.empty()) {
            const auto count = ::send(_socket, i_bytes.data(), i_bytes.size(), MSG_NOSIGNAL);
            if (count <= 0)
                return false;
            i_bytes.remove_prefix(static_cast<std::size_t>(count));
        }
        return true;
    }
    void Answer(int i_status, const std::string& i_body)
    {
        ReadBody();
        Write("HTTP/1.1 " + std::to_string(i_status) + " X\r\nContent-Length: " + std::to_string(i_body.size()) +
              "\r\nConnection: close\r\n\r\n" + i_body);
    }
    void WaitUntilClientGoes()
    {
        while (_Receive()) {
        }
    }
    /// A piece, again and again.
    void WriteUntilClientGoes(const std::string& i_piece, int i_pause_ms)
    {
        while (Write(i_piece)) {
            pollfd client = {_socket, POLLRDHUP, 0};
            if (::poll(&client, 1, i_pause_ms) > 0 && (client.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0)
                return;
        }
    }

private:
    bool _Receive()
    {
        std::array<char, 65'536> bytes;
        const auto count = ::recv(_socket, bytes.data(), bytes.size(), 0);
        if (count > 0)
            _heard.body.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    const int _socket;
    HeardRequest& _heard;
};

/// A server of HTTP that does with a request what a test says, also what no server should. One connection at a time.
///
/// Thread: any; answers are made on one of its own.
class RawHttpServer
{
public:
    using Answer = std::function<void(RawConnection&)>;

    RawHttpServer()
        : _listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        if (::bind(_listener, reinterpret_cast<const sockaddr*>(&address), size) != 0 || ::listen(_listener, 8) != 0 ||
            ::getsockname(_listener, reinterpret_cast<sockaddr*>(&address), &size) != 0)
            throw std::runtime_error("no server");
        _port = ntohs(address.sin_port);
        _thread = std::thread([this] { _Run(); });
    }
    ~RawHttpServer() { Stop(); }
    RawHttpServer(const RawHttpServer&) = delete;
    RawHttpServer& operator=(const RawHttpServer&) = delete;

    int GetPort() const { return _port; }
    /// Nobody is at the port afterwards.
    void Stop()
    {
        if (!_thread.joinable())
            return;
        {
            const std::lock_guard lock(_mutex);
            _isStopped = true;
            ::shutdown(_listener, SHUT_RDWR);
            if (_connection >= 0)
                ::shutdown(_connection, SHUT_RDWR);
        }
        _thread.join();
        ::close(_listener);
    }
    /// From now on, for requests whose method and path begin so; the last one that fits counts.
    void On(std::string i_beginning, Answer i_answer)
    {
        const std::lock_guard lock(_mutex);
        _answers.emplace_back(std::move(i_beginning), std::move(i_answer));
    }
    void On(std::string i_beginning, int i_status, const std::string& i_body = {})
    {
        On(std::move(i_beginning), [=](RawConnection& io_connection) { io_connection.Answer(i_status, i_body); });
    }
    /// Since the last call, when the one that is being answered is over.
    std::vector<HeardRequest> Take()
    {
        std::unique_lock lock(_mutex);
        _idle.wait(lock, [this] { return _connection < 0; });
        return std::exchange(_heard, {});
    }

private:
    void _Run()
    {
        for (;;) {
            const int connection = ::accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
            if (connection < 0)
                return;
            {
                const std::lock_guard lock(_mutex);
                if (_isStopped) {
                    ::close(connection);
                    return;
                }
                _connection = connection;
            }
            _Serve(connection);
            const std::lock_guard lock(_mutex);
            _connection = -1;
            ::close(connection);
            _idle.notify_all();
        }
    }
    void _Serve(int i_connection)
    {
        HeardRequest heard;
        std::string bytes;
        std::array<char, 4096> piece;
        std::size_t end = std::string::npos;
        while ((end = bytes.find("\r\n\r\n")) == std::string::npos) {
            const auto count = ::recv(i_connection, piece.data(), piece.size(), 0);
            if (count <= 0)
                return;
            bytes.append(piece.data(), static_cast<std::size_t>(count));
        }
        heard.head = bytes.substr(0, end + 4);
        heard.line = heard.head.substr(0, heard.head.find(" HTTP/1.1"));
        RawConnection connection(i_connection, heard, bytes.substr(end + 4));
        Answer answer;
        {
            const std::lock_guard lock(_mutex);
            for (const auto& [beginning, made] : _answers) {
                if (heard.line.compare(0, beginning.size(), beginning) == 0)
                    answer = made;
            }
        }
        if (answer)
            answer(connection);
        else
            connection.Answer(404, "nothing here");
        // The client reads all before the connection ends.
        ::shutdown(i_connection, SHUT_WR);
        const std::lock_guard lock(_mutex);
        _heard.push_back(std::move(heard));
    }

    const int _listener;
    int _port = 0;
    std::mutex _mutex; ///< guards everything below but the thread
    std::condition_variable _idle;
    bool _isStopped = false;
    int _connection = -1;
    std::vector<std::pair<std::string, Answer>> _answers;
    std::vector<HeardRequest> _heard;
    std::thread _thread;
};

} // namespace TestSupport
