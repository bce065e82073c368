#include "hosting/jobs/JobsHttp.h"

#include "hosting/InterruptWatcher.h"
#include "tavsdk/Text.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <httplib.h>

#include <charconv>
#include <exception>
#include <mutex>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Hosting {

namespace {

using Kind = JobsError::Kind;

constexpr const char* Root = "/api/v1";
constexpr std::size_t LongestAnswer = 64 << 20; // 500 jobs with all that they may carry are far below
constexpr std::chrono::seconds ConnectTime(5);
constexpr std::size_t SmallBody = 64 << 10;
constexpr int MostAgain = 5;

// A class, because the translation tools take the context from it.
struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(Hosting::JobsHttp)
};

/// A single request that ends soon after it is asked to, in every moment of its life.
class Call
{
public:
    Call(httplib::Client& io_client, std::stop_token i_stop)
        : _client(io_client)
        , _stop(std::move(i_stop))
    {
        _client.set_socket_options([this](int i_socket) { _Note(i_socket); });
    }
    ~Call()
    {
        if (_socket >= 0)
            ::close(_socket);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    httplib::Result Send(const httplib::Request& i_request)
    {
        const std::stop_callback onStop(_stop, [this] { _End(); });
        return _client.send(i_request);
    }

private:
    /// Called with a lock of the library held; it asks nobody afterwards whether to go on connecting.
    void _Note(int i_socket)
    {
        if (_stop.stop_requested()) {
            ::close(i_socket);
            throw Interruption();
        }
        const std::lock_guard lock(_mutex);
        if (_socket >= 0)
            ::close(_socket);
        // A descriptor of our own, because the library's may be somebody else's file by the time it is asked to stop.
        _socket = ::fcntl(i_socket, F_DUPFD_CLOEXEC, 0);
    }

    void _End()
    {
        {
            const std::lock_guard lock(_mutex);
            // Ends the connecting, during which the library would let stop() wait.
            if (_socket >= 0)
                ::shutdown(_socket, SHUT_RDWR);
        }
        _client.stop();
    }

    httplib::Client& _client;
    const std::stop_token _stop;
    std::mutex _mutex; // guards _socket
    int _socket = -1;
};

std::string ToLower(std::string i_text)
{
    for (char& character : i_text) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return i_text;
}

std::map<std::string, std::string> CollectHeaders(const httplib::Response& i_response)
{
    std::map<std::string, std::string> headers;
    for (const auto& [name, value] : i_response.headers)
        headers.emplace(ToLower(name), value);
    return headers;
}

Kind FindKind(int i_status)
{
    switch (i_status) {
    case 401:
    case 403:
    case 421:
        return Kind::Forbidden;
    case 404:
        return Kind::NotFound;
    case 409:
    case 412:
        return Kind::Conflict;
    default:
        return i_status >= 400 && i_status < 500 && i_status != 429 ? Kind::BadInput : Kind::Server;
    }
}

[[noreturn]] void ThrowRefusal(const std::string& i_address, int i_status, const std::string& i_body)
{
    const auto problem = QJsonDocument::fromJson(QByteArray::fromStdString(i_body)).object();
    auto sentence = problem.value(QLatin1String("detail")).toString();
    if (sentence.isEmpty())
        sentence =
            Texts::tr("What answers at %1 says %2 and no more; a Machine Manager would tell why. Check the address.")
                .arg(QString::fromStdString(TavSDK::Quote(i_address)))
                .arg(i_status);
    throw JobsError(FindKind(i_status), sentence);
}

[[noreturn]] void ThrowNotReached(const std::string& i_address, httplib::Error i_error)
{
    const auto address = QString::fromStdString(TavSDK::Quote(i_address));
    switch (i_error) {
    case httplib::Error::SSLServerVerification:
    case httplib::Error::SSLLoadingCerts:
        throw JobsError(
            Kind::NotReached,
            Texts::tr("The certificate of the Machine Manager at %1 is not vouched for by an authority that "
                      "this computer trusts; name the authority's file by SSL_CERT_FILE.")
                .arg(address));
    case httplib::Error::Read:
    case httplib::Error::Write:
        throw JobsError(
            Kind::NotReached,
            Texts::tr("The connection with the Machine Manager at %1 broke before all was said; see what it "
                      "has done, then try again.")
                .arg(address));
    default:
        throw JobsError(
            Kind::NotReached,
            Texts::tr("No Machine Manager can be reached at %1; start it, or name another address.").arg(address));
    }
}

httplib::Request MakeRequest(const JobsRequest& i_request, bool i_is_local, const std::string& i_token)
{
    httplib::Request request;
    request.method = i_request.method;
    request.path = Root + i_request.path;
    request.body = i_request.body;
    request.headers = {{"Accept", "*/*"}, {"Accept-Encoding", "identity"}};
    // The name of a host would be the path of the socket otherwise, which is none.
    if (i_is_local)
        request.headers.emplace("Host", "localhost");
    else if (!i_token.empty())
        request.headers.emplace("Authorization", "Bearer " + i_token);
    if (!i_request.type.empty())
        request.headers.emplace("Content-Type", i_request.type);
    for (const auto& [name, value] : i_request.headers)
        request.headers.emplace(name, value);
    return request;
}

/// Takes an answer as it comes. What is thrown meanwhile does not go through the library.
class Receiver
{
public:
    Receiver(const JobsRequest& i_request, const std::stop_token& i_stop)
        : _request(i_request)
        , _stop(i_stop)
    {}

    void Attach(httplib::Request& io_request)
    {
        io_request.response_handler = [this](const httplib::Response& i_response) {
            return _Try([&] {
                answer.status = i_response.status;
                answer.headers = CollectHeaders(i_response);
                if (_request.begin && answer.status < 300)
                    _request.begin(answer.headers);
                return true;
            });
        };
        io_request.content_receiver = [this](const char* ip_bytes, std::size_t i_count, std::uint64_t, std::uint64_t) {
            return _Try([&] { return _Take({ip_bytes, i_count}); });
        };
    }
    void ThrowIfFailed() const
    {
        if (_failure)
            std::rethrow_exception(_failure);
    }

    JobsAnswer answer;
    bool isTooLong = false;

private:
    bool _Try(const std::function<bool()>& i_do)
    {
        try {
            return i_do();
        } catch (...) {
            _failure = std::current_exception();
            return false;
        }
    }
    bool _Take(std::string_view i_bytes)
    {
        if (_stop.stop_requested())
            return false;
        if (_request.take && answer.status < 300) {
            answer.wasEnded = !_request.take(i_bytes);
            return !answer.wasEnded;
        }
        isTooLong = answer.body.size() + i_bytes.size() > LongestAnswer;
        if (!isTooLong)
            answer.body.append(i_bytes);
        return !isTooLong;
    }

    const JobsRequest& _request;
    const std::stop_token& _stop;
    std::exception_ptr _failure;
};

} // namespace

JobsHttp::JobsHttp(const std::string& i_address, std::string i_token)
    : _address(i_address)
    , _token(std::move(i_token))
{
    constexpr std::string_view unixScheme = "unix:";
    constexpr std::string_view secureScheme = "https://";
    if (i_address.starts_with("unix:/")) {
        _socket = i_address.substr(unixScheme.size());
        return;
    }
    auto place = i_address.starts_with(secureScheme) ? i_address.substr(secureScheme.size()) : std::string();
    if (place.ends_with('/'))
        place.pop_back();
    const auto colon = place.rfind(':');
    const bool hasPort = colon != std::string::npos && place.find(']', colon) == std::string::npos;
    _host = hasPort ? place.substr(0, colon) : place;
    _port = 443;
    bool isGood = !_host.empty() && _host.find_first_of("/@?# ") == std::string::npos;
    if (hasPort) {
        const auto* const end = place.data() + place.size();
        const auto read = std::from_chars(place.data() + colon + 1, end, _port);
        isGood = isGood && read.ec == std::errc() && read.ptr == end && _port > 0 && _port < 65'536;
    }
    if (!isGood)
        throw JobsError(Kind::BadInput,
                        Texts::tr("The address %1 cannot be used; write unix:/PATH or https://HOST:PORT.")
                            .arg(QString::fromStdString(TavSDK::Quote(i_address))));
}

JobsAnswer JobsHttp::Send(const JobsRequest& i_request, const std::stop_token& i_stop) const
{
    if (i_stop.stop_requested())
        throw Interruption();
    auto client = _socket.empty() ? httplib::Client("https://" + _host + ':' + std::to_string(_port))
                                  : httplib::Client(_socket, 80);
    if (!_socket.empty())
        client.set_address_family(AF_UNIX);
    client.set_url_encode(false);
    client.set_decompress(false);
    client.set_connection_timeout(ConnectTime);
    client.set_read_timeout(i_request.patience);
    client.set_write_timeout(i_request.patience);

    auto request = MakeRequest(i_request, !_socket.empty(), _token);
    Receiver receiver(i_request, i_stop);
    receiver.Attach(request);
    Call call(client, i_stop);
    auto result = call.Send(request);
    // A refusal may come, and the connection go, while the body is still written, which hides it. The manager cannot
    // have done what it has not read whole.
    const bool isSmall = !request.body.empty() && request.body.size() <= SmallBody;
    for (int again = 0; isSmall && again < MostAgain && result.error() == httplib::Error::Write; ++again)
        result = call.Send(request);
    if (i_stop.stop_requested())
        throw Interruption();
    receiver.ThrowIfFailed();
    auto& answer = receiver.answer;
    if (answer.wasEnded)
        return answer;
    if (receiver.isTooLong)
        throw JobsError(Kind::Server,
                        Texts::tr("The answer of what is at %1 is too long for a Machine Manager's; check the address.")
                            .arg(QString::fromStdString(TavSDK::Quote(_address))));
    if (!result)
        ThrowNotReached(_address, result.error());
    // Where an answer has no body, nobody was told of its head.
    answer.status = result->status;
    answer.headers = CollectHeaders(*result);
    if (answer.status >= 300)
        ThrowRefusal(_address, answer.status, answer.body);
    return answer;
}

} // namespace Hosting
