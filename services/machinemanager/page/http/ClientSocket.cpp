#include "machinemanager/page/http/ClientSocket.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

constexpr std::size_t PieceSize = 64 * 1024;
// A body that was refused is still on its way, and its sender reads the answer behind it: what programs send at a time
// has room in it.
constexpr auto SilentFarewell = std::chrono::milliseconds(500);
constexpr auto LongestFarewell = std::chrono::seconds(5);
constexpr std::size_t LargestFarewell = 17 << 20;

int MillisecondsUntil(std::chrono::steady_clock::time_point i_until)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(i_until - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<std::int64_t>(left, 0, 1'000'000));
}

} // namespace

ClientSocket::ClientSocket(int i_descriptor, SSL_CTX* ip_context, const ClientPatience& i_patience)
    : _descriptor(i_descriptor)
    , _patience(i_patience)
{
    ::fcntl(_descriptor, F_SETFL, ::fcntl(_descriptor, F_GETFL) | O_NONBLOCK);
    // An event is a small packet that must not wait for the next.
    const int isOn = 1;
    ::setsockopt(_descriptor, IPPROTO_TCP, TCP_NODELAY, &isOn, sizeof isOn);
    if (ip_context) {
        _tls = ::SSL_new(ip_context);
        if (_tls)
            ::SSL_set_fd(_tls, _descriptor);
    }
}

ClientSocket::~ClientSocket()
{
    if (_tls)
        ::SSL_free(_tls);
    if (!_isClosed)
        ::close(_descriptor);
}

bool ClientSocket::_Wait(short i_events, Clock::time_point i_until)
{
    while (true) {
        pollfd waiting = {_descriptor, i_events, 0};
        const int count = ::poll(&waiting, 1, MillisecondsUntil(i_until));
        if (count > 0)
            return true;
        if (count == 0 || errno != EINTR)
            return false;
    }
}

bool ClientSocket::_IsTooSlow(Pace& io_pace, std::size_t i_bytes) const
{
    io_pace.bytes += i_bytes;
    const auto time = Clock::now() - io_pace.begin;
    return time > _patience.slowAfter &&
           static_cast<double>(io_pace.bytes) <
               std::chrono::duration<double>(time).count() * static_cast<double>(_patience.slowest);
}

bool ClientSocket::Handshake()
{
    if (!_tls)
        return false;
    const auto until = Clock::now() + _patience.head;
    while (true) {
        ::ERR_clear_error();
        const int result = ::SSL_accept(_tls);
        if (result == 1)
            return true;
        const int error = ::SSL_get_error(_tls, result);
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
            return false;
        if (!_Wait(error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT, until))
            return false;
    }
}

std::ptrdiff_t ClientSocket::_Receive(char* op_bytes, std::size_t i_count, Clock::time_point i_until)
{
    while (true) {
        short events = POLLIN;
        if (_tls) {
            ::ERR_clear_error();
            std::size_t count = 0;
            const int result = ::SSL_read_ex(_tls, op_bytes, i_count, &count);
            if (result == 1)
                return static_cast<std::ptrdiff_t>(count);
            const int error = ::SSL_get_error(_tls, result);
            if (error == SSL_ERROR_ZERO_RETURN)
                return 0;
            if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
                return -1;
            events = error == SSL_ERROR_WANT_READ ? POLLIN : POLLOUT;
        } else {
            const auto count = ::recv(_descriptor, op_bytes, i_count, 0);
            if (count >= 0)
                return count;
            if (errno == EINTR)
                continue;
            if (errno != EAGAIN && errno != EWOULDBLOCK)
                return -1;
        }
        if (!_Wait(events, i_until))
            return -1;
    }
}

bool ClientSocket::WaitForRequest()
{
    _buffer.erase(0, _taken);
    _taken = 0;
    if (!_buffer.empty())
        return true;
    std::array<char, 4096> bytes;
    const auto count = _Receive(bytes.data(), bytes.size(), Clock::now() + _patience.idle);
    if (count <= 0)
        return false;
    _buffer.assign(bytes.data(), static_cast<std::size_t>(count));
    return true;
}

ClientSocket::Head ClientSocket::ReadHead(std::string& o_head, std::size_t i_longest)
{
    const auto until = Clock::now() + _patience.head;
    _request = {};
    _answer = {};
    while (true) {
        // Empty lines before a request are to be passed over (RFC 9112, 2.2).
        const auto begin = std::min(_buffer.find_first_not_of("\r\n"), _buffer.size());
        const auto end = _buffer.find("\r\n\r\n", begin);
        if (end != std::string::npos && end + 4 - begin <= i_longest) {
            o_head = _buffer.substr(begin, end + 4 - begin);
            _taken = end + 4;
            return Head::Whole;
        }
        if (_buffer.size() > i_longest)
            return Head::TooLong;
        std::array<char, 4096> bytes;
        const auto count = _Receive(bytes.data(), bytes.size(), until);
        if (count <= 0)
            return Head::Missing;
        _buffer.append(bytes.data(), static_cast<std::size_t>(count));
    }
}

std::ptrdiff_t ClientSocket::Read(char* op_bytes, std::size_t i_count)
{
    if (_taken == _buffer.size()) {
        _buffer.resize(PieceSize);
        _taken = 0;
        const auto count = _Receive(_buffer.data(), _buffer.size(), Clock::now() + _patience.stall);
        _buffer.resize(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
        if (count <= 0)
            return count;
        if (_IsTooSlow(_request, _buffer.size()))
            return -1;
    }
    const auto count = std::min(i_count, _buffer.size() - _taken);
    std::memcpy(op_bytes, _buffer.data() + _taken, count);
    _taken += count;
    return static_cast<std::ptrdiff_t>(count);
}

bool ClientSocket::Write(std::string_view i_bytes)
{
    while (!i_bytes.empty()) {
        short events = POLLOUT;
        std::size_t written = 0;
        if (_tls) {
            ::ERR_clear_error();
            const int result = ::SSL_write_ex(_tls, i_bytes.data(), i_bytes.size(), &written);
            const int error = result == 1 ? SSL_ERROR_NONE : ::SSL_get_error(_tls, result);
            if (error != SSL_ERROR_NONE && error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
                return false;
            if (error == SSL_ERROR_WANT_READ)
                events = POLLIN;
        } else {
            const auto count = ::send(_descriptor, i_bytes.data(), i_bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno != EAGAIN && errno != EWOULDBLOCK && errno != EINTR)
                return false;
            written = static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0));
        }
        i_bytes.remove_prefix(written);
        if (written == 0 && !_Wait(events, Clock::now() + _patience.stall))
            return false;
        if (_IsTooSlow(_answer, written) && !i_bytes.empty())
            return false;
    }
    return true;
}

bool ClientSocket::WaitFor(int i_descriptor, std::chrono::milliseconds i_longest)
{
    const auto until = Clock::now() + i_longest;
    while (true) {
        std::array<pollfd, 2> waiting = {pollfd{i_descriptor, POLLIN, 0}, pollfd{_descriptor, POLLRDHUP, 0}};
        const int count = ::poll(waiting.data(), waiting.size(), MillisecondsUntil(until));
        if (count < 0 && errno == EINTR)
            continue;
        // A stream without an end is slow because nothing happens.
        _answer = {};
        return count >= 0 && waiting[1].revents == 0;
    }
}

void ClientSocket::Finish()
{
    if (_tls && ::SSL_is_init_finished(_tls)) {
        ::ERR_clear_error();
        ::SSL_shutdown(_tls);
    }
    ::shutdown(_descriptor, SHUT_WR);
    // Bytes that nobody reads would make the system take back the answer.
    const Clock::time_point until = Clock::now() + LongestFarewell;
    std::array<char, 65'536> bytes;
    std::size_t count = 0;
    while (count < LargestFarewell && _Wait(POLLIN, std::min(until, Clock::now() + SilentFarewell))) {
        const auto read = ::recv(_descriptor, bytes.data(), bytes.size(), 0);
        if (read <= 0)
            break;
        count += static_cast<std::size_t>(read);
    }
    const TavSDK::MutexLock lock(_closing);
    _isClosed = true;
    ::close(_descriptor);
}

void ClientSocket::Shutdown()
{
    const TavSDK::MutexLock lock(_closing);
    if (!_isClosed)
        ::shutdown(_descriptor, SHUT_RDWR);
}

} // namespace MachineService::MachineManager
