#pragma once

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <list>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace TestSupport {

/// Stands between two programs that speak over a unix socket, and does to their bytes what the test says.
///
/// Thread: any; one of its own.
class SocketProxy
{
public:
    SocketProxy(const std::string& i_path, std::string i_target)
        : _target(std::move(i_target))
        , _listener(_MakeSocket())
    {
        const auto address = _MakeAddress(i_path);
        if (bind(_listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            listen(_listener, 16) != 0)
            throw std::runtime_error("no proxy at " + i_path);
        _thread = std::thread([this] { _Run(); });
    }
    ~SocketProxy()
    {
        _isStopped = true;
        _thread.join();
        CloseAll();
        close(_listener);
    }
    SocketProxy(const SocketProxy&) = delete;
    SocketProxy& operator=(const SocketProxy&) = delete;

    /// Breaks every connection; new ones are taken.
    void CloseAll()
    {
        const std::lock_guard lock(_mutex);
        for (const auto& pair : _pairs) {
            close(pair[0]);
            close(pair[1]);
        }
        _pairs.clear();
    }
    /// Lets nothing pass any more, and tells nobody; later connections too, until it is set to false.
    void SetSilent(bool i_is_silent) { _isSilent = i_is_silent; }
    /// Lets one byte a second pass each way.
    void SetSlow(bool i_is_slow) { _isSlow = i_is_slow; }
    /// Where the text passes next, one bit of it comes out wrong.
    void FlipOnceIn(std::string i_text)
    {
        const std::lock_guard lock(_mutex);
        _flipIn = std::move(i_text);
    }
    /// Breaks all connections when so many bytes have passed from now on.
    void CloseAfter(std::size_t i_bytes) { _closeAfter = i_bytes; }
    /// Breaks all connections as soon as the text has passed, before anything comes back.
    void CloseBehind(std::string i_text)
    {
        const std::lock_guard lock(_mutex);
        _closeBehind = std::move(i_text);
    }
    bool HasFlipped()
    {
        const std::lock_guard lock(_mutex);
        return _flipIn.empty();
    }

private:
    static int _MakeSocket() { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0); }
    static sockaddr_un _MakeAddress(const std::string& i_path)
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, i_path.c_str(), sizeof address.sun_path - 1);
        return address;
    }

    void _Run()
    {
        while (!_isStopped) {
            std::list<pollfd> all{{_listener, POLLIN, 0}};
            // What is not read now would only keep it from sleeping.
            if (!_isSilent && !_isSlow) {
                const std::lock_guard lock(_mutex);
                for (const auto& pair : _pairs) {
                    all.push_back({pair[0], POLLIN, 0});
                    all.push_back({pair[1], POLLIN, 0});
                }
            }
            std::vector<pollfd> polled(all.begin(), all.end());
            // Long enough to sleep, short enough to end and to see what the test has changed.
            poll(polled.data(), polled.size(), 20);
            if (polled.front().revents & POLLIN)
                _Accept();
            const std::lock_guard lock(_mutex);
            if (_isSlow && std::chrono::steady_clock::now() < _nextByte)
                continue;
            _nextByte = std::chrono::steady_clock::now() + std::chrono::seconds(1);
            for (auto pair = _pairs.begin(); pair != _pairs.end();)
                pair = _Forward(*pair) ? std::next(pair) : _Drop(pair);
            if (_closeAfter == 0) {
                _closeAfter = SIZE_MAX;
                while (!_pairs.empty())
                    _Drop(_pairs.begin());
            }
        }
    }

    void _Accept()
    {
        const int source = accept4(_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const int target = _MakeSocket();
        const auto address = _MakeAddress(_target);
        if (connect(target, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(source);
            close(target);
            return;
        }
        const std::lock_guard lock(_mutex);
        _pairs.push_back({source, target});
    }

    using Pair = std::array<int, 2>;
    std::list<Pair>::iterator _Drop(std::list<Pair>::iterator i_pair)
    {
        close((*i_pair)[0]);
        close((*i_pair)[1]);
        return _pairs.erase(i_pair);
    }

    bool _Forward(const Pair& i_pair)
    {
        if (_isSilent)
            return true;
        for (const int side : {0, 1}) {
            std::array<char, 16384> bytes;
            const auto count = recv(i_pair[side], bytes.data(),
                                    std::min(_isSlow ? 1 : bytes.size(), _closeAfter.load()), MSG_DONTWAIT);
            if (count == 0)
                return false;
            if (count < 0)
                continue;
            if (_closeAfter != SIZE_MAX)
                _closeAfter -= static_cast<std::size_t>(count);
            if (!_flipIn.empty()) {
                const std::string_view text(bytes.data(), static_cast<std::size_t>(count));
                if (const auto place = text.find(_flipIn); place != std::string_view::npos) {
                    bytes[place] = static_cast<char>(bytes[place] ^ 1);
                    _flipIn.clear();
                }
            }
            const bool isLast = !_closeBehind.empty() &&
                                std::string_view(bytes.data(), static_cast<std::size_t>(count)).find(_closeBehind) !=
                                    std::string_view::npos;
            if (send(i_pair[1 - side], bytes.data(), static_cast<std::size_t>(count), MSG_NOSIGNAL) != count)
                return false;
            if (isLast) {
                _closeBehind.clear();
                _closeAfter = 0;
                return false;
            }
        }
        return true;
    }

    const std::string _target;
    const int _listener;
    std::atomic<bool> _isStopped = false;
    std::atomic<bool> _isSilent = false;
    std::atomic<bool> _isSlow = false;
    std::atomic<std::size_t> _closeAfter = SIZE_MAX;
    std::mutex _mutex; ///< guards everything below
    std::list<Pair> _pairs;
    std::string _flipIn;
    std::string _closeBehind;
    std::chrono::steady_clock::time_point _nextByte;
    std::thread _thread;
};

} // namespace TestSupport
