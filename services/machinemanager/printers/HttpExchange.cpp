#include "machinemanager/printers/HttpExchange.h"

#include "machinemanager/printers/ReceivedBytes.h"
#include "tavsdk/Mutex.h"
#include "tavsdk/Text.h"

#include <httplib.h>

#include <algorithm>
#include <array>
#include <condition_variable>
#include <csignal>
#include <exception>
#include <memory>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace MachineService::MachineManager {

namespace {

using std::chrono::steady_clock;

constexpr std::size_t LongestAnswer = 1 << 20;
constexpr std::uint64_t LongestHead = 1 << 20;

/// What is thrown through the library where it asks nobody whether to go on.
struct Ended
{};

/// OpenSSL writes to sockets like to files: who writes to one that was closed would end the process.
class NoBrokenPipe
{
public:
    NoBrokenPipe()
    {
        ::sigemptyset(&_pipe);
        ::sigaddset(&_pipe, SIGPIPE);
        ::pthread_sigmask(SIG_BLOCK, &_pipe, &_before);
    }
    ~NoBrokenPipe()
    {
        constexpr timespec now{0, 0};
        if (::sigismember(&_before, SIGPIPE) == 0)
            ::sigtimedwait(&_pipe, nullptr, &now);
        ::pthread_sigmask(SIG_SETMASK, &_before, nullptr);
    }
    NoBrokenPipe(const NoBrokenPipe&) = delete;
    NoBrokenPipe& operator=(const NoBrokenPipe&) = delete;

private:
    sigset_t _pipe = {};
    sigset_t _before = {};
};

/// Ends a request when somebody asks, when its time is over or when its answer has no end, in every moment of its life:
/// the library knows only how long a connection was silent, and reads a head of any length.
class Watch
{
public:
    enum class Reason
    {
        None,
        Asked,
        Late,
        TooLong,
    };

    Watch(httplib::ClientImpl& io_client, std::stop_token i_stop, steady_clock::time_point i_end)
        : _stop(std::move(i_stop))
        , _end(i_end)
    {
        io_client.set_socket_options([this](int i_socket) { _Note(i_socket); });
        _thread = std::thread([this] { _Run(); });
    }
    ~Watch()
    {
        {
            const TavSDK::MutexLock lock(_mutex);
            _isOver = true;
            _changed.notify_all();
        }
        _thread.join();
        const TavSDK::MutexLock lock(_mutex);
        if (_socket >= 0)
            ::close(_socket);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    Reason GetReason() const
    {
        const TavSDK::MutexLock lock(_mutex);
        return _reason;
    }

private:
    void _Note(int i_socket)
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_reason != Reason::None) {
            ::close(i_socket);
            throw Ended();
        }
        if (_socket >= 0)
            ::close(_socket);
        // A descriptor of our own, because the library's may be somebody else's file by the time it is ended.
        _socket = ::fcntl(i_socket, F_DUPFD_CLOEXEC, 0);
    }
    void _Run()
    {
        const std::stop_callback onStop(_stop, [this] { _HandleStop(); });
        constexpr std::chrono::milliseconds look(100);
        TavSDK::MutexLock lock(_mutex);
        while (!_isOver) {
            _changed.wait_until(lock, steady_clock::now() + look);
            if (_isOver)
                return;
            if (_reason == Reason::None && steady_clock::now() >= _end)
                _reason = Reason::Late;
            else if (_reason == Reason::None && _socket >= 0 &&
                     CountReceivedBytes(_socket) > LongestAnswer + LongestHead)
                _reason = Reason::TooLong;
            // Again and again, because a socket that was not yet connecting took no notice.
            if (_reason != Reason::None && _socket >= 0)
                ::shutdown(_socket, SHUT_RDWR);
        }
    }
    void _HandleStop()
    {
        const TavSDK::MutexLock lock(_mutex);
        if (_reason != Reason::None || _isOver)
            return;
        _reason = Reason::Asked;
        if (_socket >= 0)
            ::shutdown(_socket, SHUT_RDWR);
    }

    const std::stop_token _stop;
    const steady_clock::time_point _end;
    mutable TavSDK::Mutex _mutex; ///< guards everything below but the thread
    std::condition_variable_any _changed;
    int _socket TAVSDK_GUARDED_BY(_mutex) = -1;
    bool _isOver TAVSDK_GUARDED_BY(_mutex) = false;
    Reason _reason TAVSDK_GUARDED_BY(_mutex) = Reason::None;
    std::thread _thread;
};

/// Lets the library ask for pieces of a body, and keeps what is thrown meanwhile from going through it.
class Body
{
public:
    explicit Body(const HttpRequest& i_request)
        : _request(i_request)
    {}

    std::uint64_t GetSize() const { return _request.body.size() + _request.fileSize + _request.after.size(); }
    bool Write(std::uint64_t i_offset, httplib::DataSink& io_sink)
    {
        try {
            return _Write(i_offset, io_sink);
        } catch (...) {
            failure = std::current_exception();
            return false;
        }
    }

    std::exception_ptr failure;

private:
    bool _Write(std::uint64_t i_offset, httplib::DataSink& io_sink)
    {
        const auto& before = _request.body;
        if (i_offset < before.size())
            return io_sink.write(before.data() + i_offset, before.size() - i_offset);
        const auto end = before.size() + _request.fileSize;
        if (i_offset >= end)
            return io_sink.write(_request.after.data() + (i_offset - end), _request.after.size() - (i_offset - end));
        std::array<char, 65'536> piece;
        const auto wanted = std::min<std::uint64_t>(piece.size(), end - i_offset);
        const auto count = _request.readFile(piece.data(), wanted);
        if (count == 0)
            throw HttpFailure("The machine file became shorter while it was sent; build the job again.", true);
        if (!io_sink.write(piece.data(), count))
            return false;
        if (_request.progress)
            _request.progress(i_offset - before.size() + count);
        return true;
    }

    const HttpRequest& _request;
};

std::unique_ptr<httplib::ClientImpl> MakeClient(const HttpPlace& i_place, const HttpTimes& i_times)
{
    std::unique_ptr<httplib::ClientImpl> client;
    if (i_place.isSecure)
        client = std::make_unique<httplib::SSLClient>(i_place.host, i_place.port);
    else
        client = std::make_unique<httplib::ClientImpl>(i_place.host, i_place.port);
    if (!i_place.authority.empty())
        client->set_ca_cert_path(i_place.authority.native());
    client->set_url_encode(false);
    client->set_decompress(false);
    client->set_follow_location(false);
    client->set_keep_alive(false);
    client->set_connection_timeout(i_times.connect);
    client->set_read_timeout(i_times.silence);
    client->set_write_timeout(i_times.silence);
    return client;
}

httplib::Request MakeRequest(const HttpPlace& i_place, const HttpRequest& i_request, Body& io_body)
{
    httplib::Request request;
    request.method = i_request.method;
    request.path = i_request.path;
    // The library writes the number of an IPv6 address without its brackets.
    request.headers = {{"Host", i_place.GetHostAndPort()}, {"Accept", "*/*"}, {"Accept-Encoding", "identity"}};
    for (const auto& [name, value] : i_request.headers)
        request.headers.emplace(name, value);
    if (!i_request.type.empty())
        request.headers.emplace("Content-Type", i_request.type);
    if (!i_request.readFile) {
        request.body = i_request.body;
        return request;
    }
    request.content_length_ = io_body.GetSize();
    request.content_provider_ = [&io_body](std::size_t i_offset, std::size_t, httplib::DataSink& io_sink) {
        return io_body.Write(i_offset, io_sink);
    };
    return request;
}

/// \return false when the request surely did not go out.
bool MayBeSent(httplib::Error i_error)
{
    switch (i_error) {
    case httplib::Error::Connection:
    case httplib::Error::ConnectionTimeout:
    case httplib::Error::BindIPAddress:
    case httplib::Error::SSLConnection:
    case httplib::Error::SSLLoadingCerts:
    case httplib::Error::SSLServerVerification:
        return false;
    default:
        return true;
    }
}

std::string Describe(const std::string& i_address, httplib::Error i_error, Watch::Reason i_reason)
{
    const auto printer = "The printer at " + TavSDK::Quote(i_address);
    switch (i_reason) {
    case Watch::Reason::Asked:
        return printer + " was not waited for any longer, because somebody asked to stop.";
    case Watch::Reason::Late:
        return printer + " was too slow; look at it and at its network.";
    case Watch::Reason::TooLong:
        return printer + " gave an answer without an end; see whether the address is the printer's.";
    default:
        break;
    }
    switch (i_error) {
    case httplib::Error::Connection:
    case httplib::Error::ConnectionTimeout:
    case httplib::Error::BindIPAddress:
        return printer + " cannot be reached; see whether it is switched on and the address is right.";
    case httplib::Error::SSLLoadingCerts:
        return "The authority's file for " + printer.substr(4) +
               " holds no certificates; name another one by 'authorityFile'.";
    case httplib::Error::SSLServerVerification:
        return "The certificate of " + printer.substr(4) +
               " is another's, or no trusted authority vouches for it; name its authority's file by 'authorityFile'.";
    case httplib::Error::SSLConnection:
        return printer + " does not speak TLS as it should; see whether the address is the printer's.";
    case httplib::Error::Write:
        return printer + " broke the connection before it had all; look at it.";
    default:
        return printer + " broke the connection, was silent too long or gave no proper answer; look at it.";
    }
}

/// What arrives of an answer.
struct Receiver
{
    HttpAnswer answer;
    bool isTooLong = false;

    void Attach(httplib::Request& io_request)
    {
        io_request.response_handler = [this](const httplib::Response& i_response) {
            answer.status = i_response.status;
            return true;
        };
        io_request.content_receiver = [this](const char* ip_bytes, std::size_t i_count, std::uint64_t, std::uint64_t) {
            isTooLong = answer.body.size() + i_count > LongestAnswer;
            if (!isTooLong)
                answer.body.append(ip_bytes, i_count);
            return !isTooLong;
        };
    }
};

std::chrono::milliseconds GetTimeFor(const HttpRequest& i_request, const HttpTimes& i_times)
{
    return i_times.whole + std::chrono::milliseconds(i_request.fileSize * 1000 / i_times.bytesPerSecond);
}

} // namespace

HttpAnswer Exchange(const HttpPlace& i_place, const HttpRequest& i_request, const HttpTimes& i_times,
                    const std::stop_token& i_stop)
{
    const auto address = i_place.GetAddress();
    if (i_stop.stop_requested())
        throw HttpFailure(Describe(address, httplib::Error::Unknown, Watch::Reason::Asked), false);
    const NoBrokenPipe noBrokenPipe;
    const auto client = MakeClient(i_place, i_times);
    Body body(i_request);
    auto request = MakeRequest(i_place, i_request, body);
    Receiver receiver;
    receiver.Attach(request);
    const Watch watch(*client, i_stop, steady_clock::now() + GetTimeFor(i_request, i_times));
    httplib::Result result(nullptr, httplib::Error::Unknown);
    try {
        result = client->send(request);
    } catch (const Ended&) {
        throw HttpFailure(Describe(address, httplib::Error::Unknown, watch.GetReason()), false);
    }
    if (body.failure)
        std::rethrow_exception(body.failure);
    auto& answer = receiver.answer;
    // Where an answer has no body, nobody was told of its head.
    if (result)
        answer.status = result->status;
    if (answer.status == 0)
        throw HttpFailure(Describe(address, result.error(), watch.GetReason()), MayBeSent(result.error()));
    if (receiver.isTooLong)
        answer.fault = Describe(address, result.error(), Watch::Reason::TooLong);
    else if (!result)
        answer.fault = Describe(address, result.error(), watch.GetReason());
    return answer;
}

} // namespace MachineService::MachineManager
